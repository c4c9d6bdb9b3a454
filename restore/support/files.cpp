#include "restore/support/files.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "restore/support/process_wide.hpp"
#include "restore/support/sleep.hpp"

namespace tolvaran::files {

// Calls to the file system.

namespace {

// An interrupted call is made again, but not forever: a file system that keeps interrupting must
// not hang the helper.
constexpr int maximumAttempts = 100;

/// Makes a call that returns a negative number on failure until it is no longer interrupted.
template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    for (int attempt = 1; result < 0 && errno == EINTR && attempt < maximumAttempts; ++attempt) {
        result = call();
    }
    return result;
}

/// An open file descriptor, closed at the end of the scope.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (isOpen()) {
            ::close(number_);
        }
    }
    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

  private:
    int number_;
};

int openFile(const std::string& path, int flags) {
    return uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC); });
}

/// Opens a file to read it or to identify it.
int openToLook(const std::string& path) {
    // Without O_NONBLOCK, opening a named pipe would wait for a writer that may never come.
    return openFile(path, O_RDONLY | O_NONBLOCK);
}

/// Keeps later writes from reaching the disk before earlier ones. F_BARRIERFSYNC is the cheapest
/// call that keeps a rename from reaching the disk before the data it names. Waiting for the disk's
/// own cache (F_FULLFSYNC) would also save the very last write from a power cut, but at tens of
/// milliseconds a write; an older record that is whole is good enough. Volumes without barriers get
/// the ordinary flush.
int flush(int descriptor) {
    const int barrier = uninterrupted([&] { return ::fcntl(descriptor, F_BARRIERFSYNC); });
    return barrier == 0 ? 0 : uninterrupted([&] { return ::fsync(descriptor); });
}

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written =
            uninterrupted([&] { return ::write(descriptor, content.data(), content.size()); });
        if (written <= 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::optional<struct stat> status(const std::string& path) {
    struct stat result {};
    if (uninterrupted([&] { return ::stat(path.c_str(), &result); }) != 0) {
        return std::nullopt;
    }
    return result;
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string directoryOf(const std::string& path) {
    return path.substr(0, path.size() - lastComponent(path).size());
}

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using OpenDirectory = std::unique_ptr<DIR, CloseDirectory>;

/// The names in a directory; none if they cannot all be read.
std::optional<std::vector<std::string>> namesIn(const std::string& directory) {
    const OpenDirectory entries(::opendir(directory.empty() ? "." : directory.c_str()));
    if (!entries) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    errno = 0;
    while (const struct dirent* const entry = ::readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
        errno = 0;
    }
    return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

/// Flushes changes to a directory's entries, if the volume can do that. Many network volumes
/// cannot; the change is made anyway, so this does not count as a failure.
void flushDirectory(const std::string& path) {
    const Descriptor opened(openFile(path.empty() ? "." : path, O_RDONLY | O_DIRECTORY));
    if (opened.isOpen()) {
        flush(opened.number());
    }
}

/// Removes a name, without flushing: a power cut may bring it back. 0, or -1 with errno.
int unlinkFile(const std::string& path) noexcept {
    return uninterrupted([&] { return ::unlink(path.c_str()); });
}

}  // namespace

// Errors.

Error::Error(const std::string& operation, const std::string& path, int code)
    : std::runtime_error(operation + " " + path + ": " + std::generic_category().message(code)),
      code_(code) {}

Error::Error(const std::string& description) : std::runtime_error(description), code_(0) {}

Error Error::changedByAnother(const std::string& operation, const std::string& path) {
    return Error(operation + " " + path + ": another process has changed it");
}

bool Error::isNoSuchFile() const {
    return code_ == ENOENT;
}

bool Error::isChangedByAnother() const {
    return code_ == 0;
}

// The hidden files beside a record that is being changed.

namespace {

// While a record is being changed, hidden files lie beside it. Their names consist of ".", the
// record's name, one of these markers, the process ID, "-", and something that makes the name
// unique. Only unfinished files with "claim-" in their names are removed by other writers: an older
// main application does not expect to lose its own.
constexpr std::string_view unfinishedMarker = ".unfinished-";  // new content
constexpr std::string_view asideMarker = ".removing-";         // the record, about to be removed
constexpr std::string_view claim = "claim-";                   // behind the process ID

std::string hiddenName(const std::string& path, std::string_view marker) {
    return "." + lastComponent(path) + std::string(marker);
}

/// The process that made the hidden file with this name; none if the name has no such marker.
std::optional<pid_t> makerOf(const std::string& name, std::string_view hiddenMarker) {
    const auto marker = name.rfind(hiddenMarker);
    if (name.empty() || name.front() != '.' || marker == std::string::npos) {
        return std::nullopt;
    }
    const char* const digits = name.c_str() + marker + hiddenMarker.size();
    char* end = nullptr;
    errno = 0;
    const long pid = std::strtol(digits, &end, 10);
    if (end == digits || *end != '-' || errno != 0 || pid <= 0 || !std::in_range<pid_t>(pid)) {
        return std::nullopt;
    }
    return static_cast<pid_t>(pid);
}

/// Whether the process that made a hidden file may still need it. This process needs none while it
/// looks, so a file with its ID was left by an earlier process with the same ID, for example before
/// a restart of the Mac.
bool mayStillNeedIt(pid_t maker) {
    return maker != ::getpid() && (::kill(maker, 0) == 0 || errno != ESRCH);
}

/// Puts back a record that was moved aside, unless there is a newer one.
void putBack(const std::string& aside, const std::string& path) {
    const bool isBack = uninterrupted([&] { return ::link(aside.c_str(), path.c_str()); }) == 0;
    if (isBack || errno == EEXIST) {
        // A power cut must not undo the one without the other.
        flushDirectory(parentDirectory(path));
        unlinkFile(aside);
    } else if (!status(path)) {
        // A volume without hard links: this would replace a record written at this moment.
        uninterrupted([&] { return ::rename(aside.c_str(), path.c_str()); });
    } else {
        unlinkFile(aside);
    }
}

/// Removes or puts back what processes that have ended left in the directory. Whether there was
/// anything.
/// @param names what is in the directory
bool cleanUp(const std::string& directory, const std::vector<std::string>& names) {
    bool found = false;
    for (const std::string& name : names) {
        const auto remover = makerOf(name, asideMarker);
        const auto maker = remover ? remover : makerOf(name, unfinishedMarker);
        if (!maker || mayStillNeedIt(*maker)) {
            continue;
        }
        found = true;
        const std::string path = directory + "/" + name;
        if (remover) {
            putBack(path, directory + "/" + name.substr(1, name.rfind(asideMarker) - 1));
        } else {
            unlinkFile(path);
        }
    }
    return found;
}

/// Puts back the record if another process has moved it aside. Until that process has looked at
/// what it has moved, this may be a newer record than the one that it is removing.
void putBackFromAside(const std::string& path) {
    const std::string prefix = hiddenName(path, asideMarker);
    for (const std::string& name :
         namesIn(parentDirectory(path)).value_or(std::vector<std::string>())) {
        const std::optional<pid_t> remover = makerOf(name, asideMarker);
        if (remover && *remover != ::getpid() && name.starts_with(prefix)) {
            putBack(directoryOf(path) + name, path);
        }
    }
}

/// To be called while errno says why a record was not found: puts it back if another process has
/// moved it aside, and says whether to look again. A helper's run does neither: what is aside has
/// changed since it began, and is left to the next run.
bool mayBeBack(const std::string& path) {
    if (errno != ENOENT || Recovery::ofDirectory() != nullptr) {
        return false;
    }
    putBackFromAside(path);
    return true;
}

/// Opens a record as openToLook() does, even if another process has moved it aside.
int openRecord(const std::string& path) {
    const int descriptor = openToLook(path);
    return descriptor < 0 && mayBeBack(path) ? openToLook(path) : descriptor;
}

}  // namespace

// Reading, and looking at what there is.

namespace {

// No record comes near this size. Only the beginning of a larger file is read, which then does not
// decode; reading all of it could use up the memory that the other records need.
constexpr std::size_t maximumContent = std::size_t{64} * 1024 * 1024;

}  // namespace

std::optional<std::string> read(const std::string& path) {
    const Descriptor file(openRecord(path));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string content;
    std::vector<char> buffer(std::size_t{64} * 1024);
    while (true) {
        const ssize_t count =
            uninterrupted([&] { return ::read(file.number(), buffer.data(), buffer.size()); });
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0 || content.size() > maximumContent) {
            return content;
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

bool exists(const std::string& path) {
    return status(path) || (mayBeBack(path) && status(path));
}

bool mayExist(const std::string& path) {
    return exists(path) || (errno != ENOENT && errno != ENOTDIR);
}

std::optional<std::int64_t> size(const std::string& path) {
    const std::optional<struct stat> existing = status(path);
    return existing ? std::optional<std::int64_t>(existing->st_size) : std::nullopt;
}

// Directories.

namespace {

/// Creates the parent directory; if that fails, the write that follows fails too and says why.
void createParentDirectoryIfPossible(const std::string& path) {
    try {
        createParentDirectory(path);
    } catch (const Error&) {
    }
}

/// Creates one directory and flushes its name: if a power cut loses that, everything below is lost
/// too. 0, or -1 with errno.
int createDirectory(const std::string& path) {
    if (uninterrupted([&] { return ::mkdir(path.c_str(), 0777); }) != 0) {
        return -1;
    }
    flushDirectory(parentDirectory(path));
    return 0;
}

}  // namespace

std::string parentDirectory(const std::string& path) {
    const auto end = path.find_last_not_of('/');
    const auto slash = end == std::string::npos ? end : path.rfind('/', end);
    if (slash == std::string::npos) {
        return path.empty() || path.front() != '/' ? "" : "/";
    }
    const auto last = path.find_last_not_of('/', slash);
    return last == std::string::npos ? "/" : path.substr(0, last + 1);
}

void createDirectories(const std::string& path) {
    if (createDirectory(path) == 0) {
        return;
    }
    int failure = errno;
    const std::string parent = parentDirectory(path);
    if (failure == ENOENT && !parent.empty() && parent != path) {
        createDirectories(parent);
        if (createDirectory(path) == 0) {
            return;
        }
        failure = errno;
    }
    const std::optional<struct stat> existing = status(path);
    if (!existing || !S_ISDIR(existing->st_mode)) {
        throw Error("create directory", path, failure);
    }
}

void createParentDirectory(const std::string& path) {
    const std::string parent = parentDirectory(path);
    if (!parent.empty()) {
        createDirectories(parent);
    }
}

// Presence: which directories this process has written records in, outside a helper's run.

namespace {

/// Each such directory, locked (shared, with flock) for as long as this process lives.
std::map<std::string, Descriptor>& presence() {
    static ProcessWide<std::map<std::string, Descriptor>> directories;
    return directories.get();
}

/// Never waits. 0, or -1 with errno.
int lock(const Descriptor& directory, int kind) {
    return uninterrupted([&] { return ::flock(directory.number(), kind | LOCK_NB); });
}

/// Shows later runs of the helper that this process is at work, unless this is such a run. Fails
/// while a run is asking, and on a volume without locks. So it is called before a record is written
/// and again after it, in case a run was asking the first time; that run looked before the write,
/// and so notices it.
void showPresence(const std::string& directory) {
    if (Recovery::ofDirectory() != nullptr || presence().contains(directory)) {
        return;
    }
    Descriptor opened(openFile(directory, O_RDONLY | O_DIRECTORY));
    if (opened.isOpen() && lock(opened, LOCK_SH) == 0) {
        presence().emplace(directory, std::move(opened));
    }
}

/// Whether another process that is still running has shown its presence. The lock that answers this
/// is held only between two adjacent calls, and nobody waits for it.
bool isAnotherPresent(const std::string& directory) {
    const auto own = presence().find(directory);
    const bool isPresent = own != presence().end();
    const Descriptor opened(isPresent ? -1 : openFile(directory, O_RDONLY | O_DIRECTORY));
    const Descriptor& asked = isPresent ? own->second : opened;
    if (!asked.isOpen()) {
        return false;
    }
    const bool isShared = lock(asked, LOCK_EX) != 0 && errno == EWOULDBLOCK;
    lock(asked, isPresent ? LOCK_SH : LOCK_UN);
    return isShared;
}

}  // namespace

// Versions: which file is at a path.

namespace {

/// What distinguishes one file from another, and a file from its earlier state.
struct Identity {
    dev_t device;
    ino_t file;
    off_t size;
    time_t seconds;  // when it was changed
    long nanoseconds;

    bool operator==(const Identity&) const = default;
};

}  // namespace

struct Version::State {
    std::shared_ptr<const Descriptor> file;  // keeps another file from getting the same identity
    std::optional<Identity> identity;        // none if the file system cannot say
};

namespace {

Identity identityOf(const struct stat& status) {
    return {.device = status.st_dev,
            .file = status.st_ino,
            .size = status.st_size,
            .seconds = status.st_mtimespec.tv_sec,
            .nanoseconds = status.st_mtimespec.tv_nsec};
}

Version versionOf(Descriptor file, const struct stat& status) {
    return Version(std::make_shared<Version::State>(
        Version::State{std::make_shared<const Descriptor>(std::move(file)), identityOf(status)}));
}

/// A version that no file has.
Version noFilesVersion() {
    return Version(
        std::make_shared<Version::State>(Version::State{.file = nullptr, .identity = Identity{}}));
}

/// The version without its open file: another file may later get the same identity.
Version withoutFile(const Version& version) {
    return version.state() == nullptr
               ? version
               : Version(std::make_shared<Version::State>(
                     Version::State{.file = nullptr, .identity = version.state()->identity}));
}

/// The version of the same file after changing its modification time; none if that cannot be set.
std::optional<Version> touch(const Version& version) {
    if (version.state() == nullptr || !version.state()->file || !version.state()->file->isOpen()) {
        return std::nullopt;
    }
    // No volume stores times more coarsely than in steps of two seconds.
    const Identity& identity = *version.state()->identity;
    const struct timespec times[] = {{0, UTIME_OMIT}, {identity.seconds + 2, identity.nanoseconds}};
    const auto& file = version.state()->file;
    struct stat status {};
    if (uninterrupted([&] { return ::futimens(file->number(), times); }) != 0 ||
        ::fstat(file->number(), &status) != 0) {
        return std::nullopt;
    }
    return Version(std::make_shared<Version::State>(Version::State{file, identityOf(status)}));
}

}  // namespace

Version Version::at(const std::string& path) {
    Descriptor file(openRecord(path));
    struct stat status {};
    if (file.isOpen() && ::fstat(file.number(), &status) == 0) {
        return versionOf(std::move(file), status);
    }
    if (uninterrupted([&] { return ::stat(path.c_str(), &status); }) == 0) {
        return versionOf(Descriptor(-1), status);
    }
    return errno == ENOENT || errno == ENOTDIR ? Version() : Version(std::make_shared<State>());
}

bool Version::isAt(const std::string& path) const {
    struct stat now {};
    if (uninterrupted([&] { return ::stat(path.c_str(), &now); }) != 0) {
        return state_ == nullptr && (errno == ENOENT || errno == ENOTDIR);
    }
    return state_ != nullptr && (!state_->identity || *state_->identity == identityOf(now));
}

// Recoveries: which version of a record this thread expects.

namespace {

// How many files a recovery keeps open. The directory holds little but records.
constexpr std::size_t maximumRecords = 64;

thread_local Recovery* innermostRecovery = nullptr;

}  // namespace

Recovery::Recovery(const std::string& path, Scope scope) noexcept : outer_(innermostRecovery) {
    try {
        if (scope == Scope::directory) {
            lookAtDirectory(path);
        } else if (!expected(path)) {
            versions_[path] = Version::at(path);
        }
    } catch (const std::bad_alloc&) {
        // Out of memory: it covers nothing, so each step has to look after its own record.
        directory_.clear();
        versions_.clear();
    }
    innermostRecovery = this;
}

Recovery::~Recovery() {
    innermostRecovery = outer_;
}

void Recovery::lookAtDirectory(const std::string& path) {
    const Recovery* const outer = ofDirectory();
    if (outer != nullptr && outer->directory_ == path) {
        return;
    }
    const bool isThere = status(path).has_value();  // if not, all that appears in it is new
    std::optional<std::vector<std::string>> names = namesIn(path);
    if (names && cleanUp(path, *names)) {
        names = namesIn(path);
    }
    if (!names && isThere) {
        return;
    }
    noteVersions(path, names.value_or(std::vector<std::string>()));
    // Asked after looking, so that a process that appears later changes what has been seen.
    noteOthers(path);
    directory_ = path;
}

void Recovery::noteVersions(const std::string& directory, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (!makerOf(name, unfinishedMarker)) {
            const std::string path = directory + "/" + name;
            const Version version = Version::at(path);
            versions_[path] = versions_.size() < maximumRecords ? version : withoutFile(version);
        }
    }
}

void Recovery::noteOthers(const std::string& directory) {
    const Version none = noFilesVersion();
    metAnother_ = !versions_.empty() && isAnotherPresent(directory);
    if (metAnother_) {
        for (auto& [name, version] : versions_) {
            version = none;
        }
    }
}

const Recovery* Recovery::ofDirectory() {
    const Recovery* recovery = innermostRecovery;
    while (recovery != nullptr && recovery->directory_.empty()) {
        recovery = recovery->outer_;
    }
    return recovery;
}

bool Recovery::concerns(const std::string& path) const {
    return versions_.contains(path) || (!directory_.empty() && parentDirectory(path) == directory_);
}

std::optional<Version> Recovery::expected(const std::string& path) {
    std::optional<Version> oldest;
    for (const Recovery* recovery = innermostRecovery; recovery != nullptr;
         recovery = recovery->outer_) {
        if (recovery->concerns(path)) {
            const auto found = recovery->versions_.find(path);
            oldest = found == recovery->versions_.end() ? Version() : found->second;
        }
    }
    return oldest;
}

void Recovery::note(const std::string& path, const Version& version) {
    for (Recovery* recovery = innermostRecovery; recovery != nullptr; recovery = recovery->outer_) {
        if (recovery->concerns(path)) {
            recovery->versions_[path] = version;
        }
    }
}

std::string leftToNextRun(const std::string& path) {
    return lastComponent(path) + " was changed by another process meanwhile; left to the next run";
}

bool isChangedByAnother(const std::string& path) {
    const std::optional<Version> expected = Recovery::expected(path);
    return expected && !expected->isAt(path);
}

// Replacing a record.

namespace {

std::string unfinishedTemplate(const std::string& path) {
    return directoryOf(path) + hiddenName(path, unfinishedMarker) + std::to_string(::getpid()) +
           "-" + std::string(claim) + "XXXXXX";
}

/// Makes every other process that is changing the record fail and start over, even one that is
/// stopped. Does nothing in a directory that cannot be listed: there two processes may get in each
/// other's way, but one alone can still change its records.
void overtakeOthers(const std::string& path, const std::string& own = "") {
    const std::string prefix = hiddenName(path, unfinishedMarker);
    for (const std::string& name :
         namesIn(parentDirectory(path)).value_or(std::vector<std::string>())) {
        const bool isClaim =
            name.starts_with(prefix) && name.find(claim, prefix.size()) != name.npos;
        if (isClaim && name != lastComponent(own)) {
            unlinkFile(directoryOf(path) + name);
        }
    }
}

/// A record's new content on its way into place; removed unless it gets there.
class UnfinishedFile {
  public:
    explicit UnfinishedFile(const std::string& path)
        : path_(path), file_(uninterrupted([&] {
              name_ = unfinishedTemplate(path);
              return ::mkostemp(name_.data(), O_CLOEXEC);
          })) {
        if (!file_.isOpen()) {
            throw Error("create", path, errno);
        }
    }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() {
        if (!name_.empty()) {
            unlinkFile(name_);
        }
    }

    const std::string& name() const { return name_; }

    void write(std::string_view content) {
        errno = 0;
        if (!writeAll(file_.number(), content)) {
            throw Error("write", path_, errno == 0 ? ENOSPC : errno);
        }
    }

    void flushToDisk() {
        if (flush(file_.number()) != 0) {
            throw Error("flush", path_, errno);
        }
    }

    /// Replaces the record. False if another process has removed this file.
    bool replaceRecord() {
        if (uninterrupted([&] { return ::rename(name_.c_str(), path_.c_str()); }) == 0) {
            name_.clear();
            return true;
        }
        if (errno != ENOENT) {
            throw Error("rename", path_, errno);
        }
        return false;
    }

    /// The version of the record that this file has become.
    Version version() && {
        struct stat status {};
        return ::fstat(file_.number(), &status) == 0 ? versionOf(std::move(file_), status)
                                                     : Version::at(path_);
    }

  private:
    std::string path_;
    std::string name_;
    Descriptor file_;
};

/// Replaces the record. False if another process has overtaken this one, or if the record is no
/// longer the `expected` one.
bool tryToReplace(const std::string& path, std::string_view content,
                  const std::optional<Version>& expected) {
    showPresence(parentDirectory(path));
    UnfinishedFile unfinished(path);
    unfinished.write(content);
    unfinished.flushToDisk();
    overtakeOthers(path, unfinished.name());
    if ((expected && !expected->isAt(path)) || !unfinished.replaceRecord()) {
        return false;
    }
    showPresence(parentDirectory(path));
    flushDirectory(parentDirectory(path));
    Recovery::note(path, std::move(unfinished).version());
    return true;
}

// Another process that is changing the same record is done within milliseconds; only several that
// keep overtaking each other could need all of this time.
constexpr int maximumTries = 20;
constexpr double longestPause = 0.005;  // seconds

/// Waits until another process may be done. The lengths of a process's pauses are the digits of its
/// ID in base 7, so no two processes keep pausing alike.
/// @param n how often it has waited before
void pause(int n) {
    constexpr int lengths = 7;
    constexpr int digits = 6;  // of the largest ID on a Mac
    int id = ::getpid();
    for (int digit = n % digits; digit > 0; --digit) {
        id /= lengths;
    }
    sleepFor(longestPause * (id % lengths + 1) / lengths);
}

/// Repeats `attempt` while it returns false because another process has come in between.
template <typename Attempt>
void untilUndisturbed(const std::string& operation, const std::string& path, Attempt attempt) {
    for (int n = 0; !attempt(); ++n) {
        if (isChangedByAnother(path)) {
            throw Error::changedByAnother(operation, path);
        }
        if (n == maximumTries) {
            throw Error(operation, path, EBUSY);
        }
        pause(n);
    }
}

}  // namespace

void writeAtomically(const std::string& path, std::string_view content) {
    untilUndisturbed("replace", path,
                     [&] { return tryToReplace(path, content, Recovery::expected(path)); });
}

void writeCreatingDirectory(const std::string& path, std::string_view content) {
    createParentDirectoryIfPossible(path);
    writeAtomically(path, content);
}

void writeUnflushed(const std::string& path, std::string_view content) {
    createParentDirectoryIfPossible(path);
    UnfinishedFile unfinished(path);
    unfinished.write(content);
    if (!unfinished.replaceRecord()) {
        throw Error("rename", path, ENOENT);
    }
}

// Removing a record.

namespace {

std::string asidePath(const std::string& path) {
    const std::string name =
        directoryOf(path) + hiddenName(path, asideMarker) + std::to_string(::getpid()) + "-";
    // An earlier process with the same ID may have left some.
    int number = 0;
    while (status(name + std::to_string(number)) && number < maximumAttempts) {
        ++number;
    }
    return name + std::to_string(number);
}

void removeUnconditionally(const std::string& path) {
    // Before, for processes that have already looked at the record; after, for those looking now.
    overtakeOthers(path);
    if (unlinkFile(path) != 0) {
        throw Error("remove", path, errno);
    }
    overtakeOthers(path);
    flushDirectory(parentDirectory(path));
}

/// Removes the record that was moved aside; false if another process has already taken it. If it
/// cannot be removed, it is put back.
bool removeAside(const std::string& aside, const std::string& path) {
    if (unlinkFile(aside) == 0) {
        return true;
    }
    const int failure = errno;
    const bool isTaken = failure == ENOENT && !status(aside);
    putBack(aside, path);
    if (isTaken) {
        return false;
    }
    // Not ENOENT, which callers take for success: the record is back at its place.
    throw Error("remove", path, failure == ENOENT ? EIO : failure);
}

/// Removes the record if it is still the expected one; false if it is not, or if another process
/// has put it back because it was looking for it.
bool tryToRemove(const std::string& path, const Version& expected) {
    const std::string aside = asidePath(path);
    if (!expected.isAt(path)) {
        return false;
    }
    if (uninterrupted([&] { return ::rename(path.c_str(), aside.c_str()); }) != 0) {
        if (!expected.isAt(path)) {
            return false;
        }
        // If it cannot be moved, it is removed where it is, if possible.
        removeUnconditionally(path);
        Recovery::note(path, Version());
        return true;
    }
    overtakeOthers(path);
    if (!expected.isAt(aside)) {
        putBack(aside, path);
        return false;
    }
    if (!removeAside(aside, path) || expected.isAt(path)) {
        return false;
    }
    flushDirectory(parentDirectory(path));
    Recovery::note(path, Version());
    return true;
}

}  // namespace

void remove(const std::string& path) {
    const std::optional<Version> expected = Recovery::expected(path);
    if (!expected) {
        removeUnconditionally(path);
    } else if (!exists(path)) {
        throw Error("remove", path, errno);
    } else {
        untilUndisturbed("remove", path, [&] { return tryToRemove(path, *expected); });
    }
}

bool removeIfPossible(const std::string& path) {
    try {
        remove(path);
        return false;
    } catch (const Error& error) {
        return error.isChangedByAnother();
    }
}

// Changing a record according to its content.

namespace {

/// Changes the record's modification time and thus its version; any process that is changing it has
/// to start over. False if it cannot be touched or is no longer the expected one.
bool tryToTouch(const std::string& path, const Version& expected) {
    showPresence(parentDirectory(path));
    const std::optional<Version> touched = touch(expected);
    if (!touched) {
        return false;
    }
    overtakeOthers(path);
    if (!touched->isAt(path)) {
        return false;
    }
    showPresence(parentDirectory(path));
    Recovery::note(path, *touched);
    return true;
}

/// Carries out what was decided on a record of this version; false if another process has changed
/// the record since.
bool tryTo(const Change& change, const std::string& path, const Version& version,
           const std::optional<std::string>& content) {
    switch (change.kind) {
        case Change::Kind::nothing:
            return true;
        case Change::Kind::reliedOn:
            return tryToTouch(path, version) ||
                   (version.isAt(path) && tryToReplace(path, content.value_or(""), version));
        case Change::Kind::replacement:
            createParentDirectoryIfPossible(path);
            return tryToReplace(path, change.content, version);
        case Change::Kind::removal:
            break;
    }
    return tryToRemove(path, version);
}

}  // namespace

Change::Kind update(const std::string& path,
                    const std::function<Change(const std::optional<std::string>&)>& decide) {
    Change change;
    untilUndisturbed("replace", path, [&] {
        const Version version = Recovery::expected(path).value_or(Version::at(path));
        const std::optional<std::string> content = read(path);
        change = decide(content);
        return change.kind == Change::Kind::nothing ||
               (version.isAt(path) && tryTo(change, path, version, content));
    });
    return change.kind;
}

// Moving files, and cleaning up after other processes.

namespace {

/// Copies the file, and removes the original once the copy is complete.
void moveToOtherVolume(const std::string& from, const std::string& to) {
    const std::optional<std::string> content = read(from);
    if (!content || content->size() > maximumContent) {
        return;
    }
    try {
        writeAtomically(to, *content);
        removeIfPossible(from);
    } catch (const Error&) {
        // It stays where it is.
    }
}

}  // namespace

void moveIfPossible(const std::string& from, const std::string& to) {
    if (uninterrupted([&] { return ::rename(from.c_str(), to.c_str()); }) != 0 && errno == EXDEV) {
        moveToOtherVolume(from, to);
    }
}

void removeAbandonedFiles(const std::string& directory) {
    cleanUp(directory, namesIn(directory).value_or(std::vector<std::string>()));
}

// The standard streams.

void openStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // Gets the lowest free number, which is this one. Stays open until the process ends.
            static_cast<void>(::open("/dev/null", O_RDWR));
        }
    }
}

void writeToStandardError(std::string_view text) noexcept {
    writeAll(STDERR_FILENO, text);
}

// Files that are only added to.

std::optional<Appender> Appender::open(const std::string& path) {
    const int descriptor = openFile(path, O_WRONLY | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    Appender appender(descriptor);
    appender.offset_ = ::lseek(descriptor, 0, SEEK_END);
    return appender;
}

void Appender::create(const std::string& path, Existing existing) {
    const int flags = O_CREAT | O_WRONLY | O_NONBLOCK | O_CLOEXEC |
                      (existing == Existing::kept ? O_EXCL : O_TRUNC);
    const Descriptor created(uninterrupted([&] { return ::open(path.c_str(), flags, 0666); }));
}

Appender::Appender(Appender&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), offset_(other.offset_) {}

Appender& Appender::operator=(Appender&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(offset_, other.offset_);
    return *this;
}

Appender::~Appender() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool Appender::append(std::string_view text) {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end < 0 || !writeAll(descriptor_, text)) {
        return false;
    }
    offset_ = end + static_cast<std::int64_t>(text.size());
    return true;
}

}  // namespace tolvaran::files
