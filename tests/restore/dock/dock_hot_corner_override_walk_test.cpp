// Every sequence of operations on the hot-corner leases, up to a length, instead of examples.
//
// A depth-first search goes through all sequences over the letters below. It does not start over
// for each of them: it copies the moment that a prefix leads to (the Mac, the file, the memory of
// the process) and returns to it for every letter that may follow. After each step, what the
// operation returned, logged and left behind is compared with a model that knows the corners only
// as the user's or suppressed, and one rule is checked on the Mac and the file themselves: the
// user's corners are never lost. A letter that leads to a moment that is known, as does one that
// changes nothing, is not followed further if as many letters have been followed from there:
// whatever may follow has followed.
//
// The first test follows sequences of up to ten letters, more than a thousand million. The second
// has no such limit: it goes on until no letter leads to a new moment, with more letters, and it
// also compares the calls to the Mac.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/hot_corner_lease_state.hpp"
#include "simulator/devices/dock.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Owner = DockHotCornerLeaseOwner;

enum class Kind {
    enter,
    exit,
    restoreIfPending,
    restart,  // the process ends; what it had in memory is gone
    // Throughout the next operation:
    synchronizeFails,
    writeFails,
    removeFails,
    dockRefuses,  // the Dock's setter does nothing
    // At once:
    loseFile,     // the snapshot's file is removed
    dockForgets,  // the Dock's live corners are the user's again, as after its restart
};

struct Letter {
    Kind kind;
    Owner owner = Owner::gameMode;  // of enter and exit

    bool hasOwner() const { return kind == Kind::enter || kind == Kind::exit; }
    bool isOperation() const { return hasOwner() || kind == Kind::restoreIfPending; }

    std::string text() const {
        const std::array names = {
            "enter",      "exit",        "restoreIfPending", "restart",  "synchronizeFails",
            "writeFails", "removeFails", "dockRefuses",      "loseFile", "dockForgets"};
        const std::string name = names.at(static_cast<std::size_t>(kind));
        return hasOwner() ? name + " " + rawValue(owner) : name;
    }
};

const std::vector<Letter> letters = {
    {Kind::enter, Owner::gameMode},
    {Kind::enter, Owner::customHotCorners},
    {Kind::enter, Owner::displayTransition},
    {Kind::exit, Owner::gameMode},
    {Kind::exit, Owner::customHotCorners},
    {Kind::exit, Owner::displayTransition},
    {Kind::restoreIfPending},
    {Kind::restart},
    {Kind::synchronizeFails},
    {Kind::writeFails},
};

const std::vector<Letter> furtherLetters = {
    {Kind::removeFails},
    {Kind::dockRefuses},
    {Kind::loseFile},
    {Kind::dockForgets},
};

/// What makes the next operation fail, as a fault of the Mac.
const std::map<Kind, json> faults = {
    {Kind::synchronizeFails, {{"call", "CFPreferencesAppSynchronize"}, {"result", false}}},
    {Kind::writeFails, {{"call", "rename"}, {"result", "EIO"}}},
    {Kind::removeFails, {{"call", "unlink"}, {"result", "EIO"}}},
    {Kind::dockRefuses, {{"call", "CoreDockSetExposeCornerActionWithModifier"}, {"effect", false}}},
};

/// What an operation returns, as text: an outcome, an error, or how it ended.
struct Answer {
    std::string result;
    Lines log;
    std::vector<const Lines*> calls;  // those that are expected, in parts
};

// The calls that writing the corners causes, in parts: their preferences, whether the system
// synchronises them, and then the Dock's own functions.
const Lines readsDock = {readsCorners};
const Lines announced = announces(true);
const Lines refused = announces(false);
const Lines storesSuppression = writesDisabledPreferences();
const Lines storesUsersCorners = writesUsersPreferences();
const Lines setsSuppression = setsCorners(suppressedCorners);
const Lines setsUsersCorners = setsCorners(usersCorners);

Lines joined(const std::vector<const Lines*>& parts) {
    Lines lines;
    for (const Lines* part : parts) {
        lines.insert(lines.end(), part->begin(), part->end());
    }
    return lines;
}

// --- The model.

/// What is expected of the system. It knows only whether the corners are suppressed.
class Model {
  public:
    explicit Model(std::string path) : path_(std::move(path)) {}

    bool operator==(const Model&) const = default;

    std::set<Owner> owners;
    bool inMemory = false;  // the user's corners, as a snapshot
    bool onDisk = false;
    bool preferencesSuppressed = false;
    bool dockSuppressed = false;
    std::set<Kind> troubles;  // of the next operation

    bool suppressed() const { return preferencesSuppressed || dockSuppressed; }

    Answer perform(const Letter& letter) {
        Answer answer;
        answer.result = performed(letter, answer);
        if (letter.isOperation()) {
            troubles.clear();
        }
        return answer;
    }

  private:
    std::string performed(const Letter& letter, Answer& answer) {
        switch (letter.kind) {
            case Kind::enter:
                return enter(letter.owner, answer);
            case Kind::exit:
                return exit(letter.owner, answer);
            case Kind::restoreIfPending:
                return restoreIfPending(answer) ? "true" : "false";
            case Kind::restart:
                owners.clear();
                inMemory = false;
                return "";
            case Kind::loseFile:
                onDisk = false;
                return "";
            case Kind::dockForgets:
                dockSuppressed = false;
                return "";
            default:
                troubles.insert(letter.kind);
                return "";
        }
    }

    /// Writes the corners. @return whether that is known to have worked
    bool write(bool suppress, Answer& answer) {
        preferencesSuppressed = suppress;
        answer.calls.push_back(suppress ? &storesSuppression : &storesUsersCorners);
        if (troubles.contains(Kind::synchronizeFails)) {
            answer.calls.push_back(&refused);
            return false;
        }
        answer.calls.insert(
            answer.calls.end(),
            {&announced, suppress ? &setsSuppression : &setsUsersCorners, &readsDock});
        if (!troubles.contains(Kind::dockRefuses)) {
            dockSuppressed = suppress;
        }
        return dockSuppressed == suppress;
    }

    bool suppress(Answer& answer) { return write(true, answer); }
    bool restore(Answer& answer) { return write(false, answer); }
    bool ensureSuppressed(Answer& answer) {
        answer.calls.push_back(&readsDock);
        return (preferencesSuppressed && dockSuppressed) || suppress(answer);
    }

    /// Puts the snapshot on disk. @return whether it is there
    bool save() {
        onDisk = onDisk || !troubles.contains(Kind::writeFails);
        return onDisk;
    }

    void forget() {
        onDisk = onDisk && troubles.contains(Kind::removeFails);
        inMemory = false;
    }

    std::string writeError() const {
        return "could not persist hot-corner snapshot: write " + path_ + ": rename " + path_ +
               ": Input/output error";
    }

    /// Keeps the snapshot in both places; a failure is logged as one of `operation`.
    void retain(const std::string& operation, Answer& answer) {
        inMemory = true;
        if (!save()) {
            answer.log.push_back("warn: hot-corner " + operation +
                                 " could not re-persist its recovery snapshot: " + writeError());
        }
    }

    std::string enter(Owner owner, Answer& answer) {
        const std::string syncFailed =
            "could not sync com.apple.dock prefs after writing wvous-*-corner";
        if (owners.empty()) {
            if ((inMemory || onDisk) && !restoreIfPending(answer)) {
                answer.log.push_back("warn: hot-corner enter: pending snapshot at " + path_ +
                                     " could not be restored (corrupt file or Dock sync failed); "
                                     "refusing to overwrite with fresh snapshot");
                return syncFailed;
            }
            answer.calls.push_back(&readsDock);
            if (troubles.contains(Kind::writeFails)) {
                return writeError();
            }
            onDisk = true;
            inMemory = true;
            if (!suppress(answer)) {
                if (restore(answer)) {
                    forget();
                }
                return syncFailed;
            }
        } else {
            inMemory = true;
            if (!save()) {
                return writeError();
            }
            if (!(owners.contains(owner) ? ensureSuppressed(answer) : suppress(answer))) {
                return syncFailed;
            }
        }
        owners.insert(owner);
        return "entered";
    }

    std::string exit(Owner owner, Answer& answer) {
        if (owners.erase(owner) == 0) {
            return "noLease";
        }
        retain("release", answer);
        if (owners.empty()) {
            if (restore(answer)) {
                forget();
                return "restored";
            }
            answer.log.push_back(kept("exit"));
            return "restoreFailed";
        }
        if (!onDisk) {
            return "suppressionReassertFailed";
        }
        if (!ensureSuppressed(answer)) {
            answer.log.push_back(
                "warn: hot-corner release could not refresh native suppression while other owners "
                "remain");
            return "suppressionReassertFailed";
        }
        return "suppressionMaintained";
    }

    bool restoreIfPending(Answer& answer) {
        if (!owners.empty()) {
            answer.log.push_back(
                "warn: hot-corner restoreIfPending refused while suppression leases remain active");
            return false;
        }
        if (!inMemory && !onDisk) {
            return false;
        }
        retain("restoreIfPending", answer);
        if (!restore(answer)) {
            answer.log.push_back(kept("restoreIfPending"));
            return false;
        }
        forget();
        return true;
    }

    std::string kept(const std::string& operation) const {
        return "warn: hot-corner " + operation +
               ": CFPreferencesAppSynchronize failed; snapshot kept at " + path_ + " for retry";
    }

    std::string path_;
};

// --- The system.

const char* name(DockHotCornerLeaseExitOutcome outcome) {
    constexpr std::array names = {"restored",
                                  "suppressionMaintained",
                                  "noLease",
                                  "snapshotUnavailable",
                                  "restoreFailed",
                                  "suppressionReassertFailed",
                                  "snapshotPersistenceFailed",
                                  "dockSyncFailed"};
    return names.at(static_cast<std::size_t>(outcome));
}

/// Everything that the future depends on.
struct Moment {
    simulator::Machine mac;
    std::optional<std::string> file;
    DockHotCornerOverride::LeaseState memory;
    Model model;
    std::string sequence;  // the letters that lead here
};

bool haveSameCorners(const simulator::Machine& a, const simulator::Machine& b) {
    const simulator::Dock& dockOfA = simulator::dockOf(a);
    const simulator::Dock& dockOfB = simulator::dockOf(b);
    return a.preferences == b.preferences && dockOfA.cornerActions == dockOfB.cornerActions &&
           dockOfA.cornerModifiers == dockOfB.cornerModifiers;
}

bool areSame(const Moment& a, const Moment& b) {
    return a.model == b.model && a.file == b.file && a.memory == b.memory &&
           haveSameCorners(a.mac, b.mac);
}

/// A directory in memory if the host has one: flushing to a real disk is pointless here.
const char* fastDirectory() {
    return std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
}

/// What is compared after each step: everything that the future depends on, or also the calls and
/// every question that the leases answer, which takes longer.
enum class Scrutiny { state, everything };

class Walk {
  public:
    explicit Walk(Scrutiny scrutiny) : scrutiny_(scrutiny) {}

    const Moment& start() const { return start_; }
    std::size_t steps() const { return steps_; }

    /// Follows one letter from a moment. Fails the test if the system differs from the model.
    Moment step(const Moment& before, const Letter& letter) {
        ++steps_;
        const std::string sequence = before.sequence + " / " + letter.text();
        SCOPED_TRACE(sequence);
        goBackTo(before);
        Model model = before.model;
        const Answer expected = model.perform(letter);
        const Answer answer = performed(letter, before.model);
        simulator::clearFaults();
        Moment after{simulator::mac(), readFile(path_), DockHotCornerOverride::leaseState(), model,
                     sequence};
        file_ = after.file;
        EXPECT_EQ(answer.result, expected.result);
        EXPECT_EQ(answer.log, expected.log);
        compare(after);
        if (scrutiny_ == Scrutiny::everything) {
            EXPECT_EQ(callLines(), joined(expected.calls));
            compareFurther(after);
        }
        return after;
    }

    /// Follows every sequence of up to `length` letters from a moment, those that follow from the
    /// same moment only once.
    /// @return how many there are
    std::size_t explore(const Moment& before, int length) {
        if (length == 0) {
            return 0;
        }
        const bool isFollowed = std::ranges::any_of(followed_, [&](const auto& followed) {
            return followed.second >= length && areSame(followed.first, before);
        });
        if (isFollowed) {
            return sequenceCount(length);
        }
        followed_.emplace_back(before, length);
        std::size_t sequences = 0;
        for (const Letter& letter : letters) {
            const Moment after = step(before, letter);
            if (testing::Test::HasFailure()) {
                break;  // one failure says enough
            }
            sequences += 1 + explore(after, length - 1);
        }
        return sequences;
    }

    /// How many sequences of up to `length` letters there are.
    static std::size_t sequenceCount(int length) {
        return length == 0 ? 0 : letters.size() * (1 + sequenceCount(length - 1));
    }

  private:
    void goBackTo(const Moment& moment) {
        simulator::reset();  // for what is not part of a moment, such as the list of calls
        simulator::mac() = moment.mac;
        DockHotCornerOverride::leaseState() = moment.memory;
        if (file_ == moment.file) {
            return;
        }
        if (moment.file) {
            writeFile(path_, *moment.file);
        } else {
            std::filesystem::remove(path_);
        }
        file_ = moment.file;
    }

    Answer performed(const Letter& letter, const Model& before) {
        if (letter.isOperation()) {
            for (const Kind trouble : before.troubles) {
                simulator::addFault(faults.at(trouble));
            }
        }
        std::string result = performed(letter);
        return {std::move(result), process_.takeLog(), {}};
    }

    std::string performed(const Letter& letter) {
        switch (letter.kind) {
            case Kind::enter:
                return entered(letter.owner);
            case Kind::exit:
                return name(DockHotCornerOverride::exit(letter.owner, path_, theDock));
            case Kind::restoreIfPending:
                return DockHotCornerOverride::restoreIfPending(path_, theDock) ? "true" : "false";
            case Kind::restart:
                process_.restart();
                return "";
            case Kind::loseFile:
                std::filesystem::remove(path_);
                return "";
            case Kind::dockForgets:
                simulator::set({{"dock", usersMac()["dock"]}});
                return "";
            default:
                return "";
        }
    }

    std::string entered(Owner owner) {
        try {
            const auto snapshot = DockHotCornerOverride::enter(owner, path_, theDock);
            return snapshot == usersSnapshot() ? "entered" : "entered with another snapshot";
        } catch (const DockHotCornerOverride::OverrideError& error) {
            return error.what();
        }
    }

    void compare(const Moment& after) {
        const Model& model = after.model;
        const simulator::Machine& mac = after.mac;
        EXPECT_EQ(mac.preferences,
                  (model.preferencesSuppressed ? suppressed_ : start_.mac).preferences);
        const simulator::Dock& found = simulator::dockOf(mac);
        const simulator::Dock& dock =
            simulator::dockOf(model.dockSuppressed ? suppressed_ : start_.mac);
        EXPECT_EQ(found.cornerActions, dock.cornerActions);
        EXPECT_EQ(found.cornerModifiers, dock.cornerModifiers);
        EXPECT_EQ(after.file, model.onDisk ? std::optional(usersSnapshotText) : std::nullopt);
        for (const Owner owner : allDockHotCornerLeaseOwners) {
            EXPECT_EQ(DockHotCornerOverride::isHeld(owner), model.owners.contains(owner));
        }
        const auto recoverable = DockHotCornerOverride::recoverableSnapshot(path_);
        EXPECT_EQ(recoverable,
                  model.inMemory || model.onDisk ? std::optional(usersSnapshot()) : std::nullopt);
        // The one rule, without the model's help.
        EXPECT_TRUE(haveSameCorners(mac, start_.mac) || recoverable == usersSnapshot())
            << "the user's corners are lost";
    }

    void compareFurther(const Moment& after) {
        const Model& model = after.model;
        EXPECT_EQ(DockHotCornerOverride::isActive(), !model.owners.empty());
        EXPECT_EQ(DockHotCornerOverride::hasRecoveryState(path_), model.inMemory || model.onDisk);
    }

    simulator::Machine machine(const json& mac) {
        process_.start(mac);
        return simulator::mac();
    }

    Scrutiny scrutiny_;
    ScopedEnvironment temporary_{"TMPDIR", fastDirectory()};
    SimulatedProcess process_;
    std::string path_ = process_.state("hot-corners-snapshot.json");
    simulator::Machine suppressed_ = machine(suppressedMac());
    Moment start_{machine(usersMac()), std::nullopt, {}, Model(path_), ""};
    std::optional<std::string> file_;  // what the file holds now
    std::size_t steps_ = 0;
    std::vector<std::pair<Moment, int>> followed_;  // up to how many letters from each moment
};

// --- The tests.

TEST(HotCornerLeaseWalk, NeverLosesTheUsersCornersInAnySequence) {
    constexpr int length = 10;
    Walk walk(Scrutiny::state);
    EXPECT_EQ(walk.explore(walk.start(), length), Walk::sequenceCount(length));
    RecordProperty("steps", std::to_string(walk.steps()));
}

/// One accident is enough: nothing can bring back a snapshot once both copies are lost while it is
/// needed.
bool takesTheLastCopy(const Model& model, const Letter& letter) {
    const bool fromDisk = letter.kind == Kind::loseFile && !model.inMemory;
    const bool fromMemory = letter.kind == Kind::restart && !model.onDisk;
    return model.suppressed() && (fromDisk || fromMemory);
}

TEST(HotCornerLeaseStates, NeverLoseTheUsersCornersInASequenceOfAnyLength) {
    std::vector<Letter> all = letters;
    all.insert(all.end(), furtherLetters.begin(), furtherLetters.end());
    Walk walk(Scrutiny::everything);
    std::vector<Moment> moments = {walk.start()};
    for (std::size_t next = 0; next < moments.size() && !HasFailure(); ++next) {
        const Moment before = moments[next];
        for (const Letter& letter : all) {
            if (takesTheLastCopy(before.model, letter)) {
                continue;
            }
            Moment after = walk.step(before, letter);
            const bool isKnown = std::ranges::any_of(
                moments, [&](const Moment& known) { return areSame(known, after); });
            if (!isKnown) {
                moments.push_back(std::move(after));
            }
        }
    }
    EXPECT_GT(moments.size(), 500U);
    RecordProperty("moments", std::to_string(moments.size()));
}

}  // namespace
}  // namespace tolvaran::tests
