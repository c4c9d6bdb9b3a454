#include "simulator/loop/event_loop.hpp"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <utility>

#include "simulator/core_foundation/object.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

// When something is due, and its place among things due at the same time: first those that an
// outside event has caused, then by number.
struct QueuePlace {
    clock::Time due;
    bool isOwn;  // the process's own: not caused by an event
    std::uint64_t number;

    auto operator<=>(const QueuePlace&) const = default;
};

// How much work may run while the virtual clock stands still. A process that reacts to everything
// it does itself, such as its own display reconfigurations, would otherwise never reach the end of
// its run; a process that comes to rest needs far less.
constexpr int mostWorkAtOnce = 1000;

struct Work {
    std::function<void()> run;
    bool lasting = false;
};

struct LoopState {
    std::map<QueuePlace, std::function<void()>> events;
    std::map<QueuePlace, Work> queue;
    std::map<WorkID, QueuePlace> places;  // of the queued work
    std::uint64_t lastNumber = 0;
    clock::Time endOfRun = 0;
    bool running = false;  // queued work is running
    bool isEvent = false;  // an event is being performed
    int workAtOnce = 0;    // how much has run since time last moved
    std::uint64_t turns = 0;
    std::function<void(LoopMoment)> observer;
    // Dropped work may hold the only pointers to what it would have freed, as in any killed
    // process. Kept so that this does not look like a leak.
    std::deque<Work> abandoned;
};

LoopState& loopState() {
    static LoopState& instance = *new LoopState;
    return instance;
}

/// Sets a flag for the length of a scope.
class Marked {
  public:
    explicit Marked(bool& mark) : mark_(mark), before_(std::exchange(mark, true)) {}
    ~Marked() { mark_ = before_; }
    Marked(const Marked&) = delete;
    Marked& operator=(const Marked&) = delete;

  private:
    bool& mark_;
    bool before_;
};

template <typename List>
clock::Time nextDue(const List& list) {
    return list.empty() ? clock::never : list.begin()->first.due;
}

WorkID add(clock::Time due, Work work) {
    LoopState& all = loopState();
    const WorkID id = ++all.lastNumber;
    const QueuePlace place{std::max(due, clock::now()), !all.isEvent, id};
    all.queue.emplace(place, std::move(work));
    all.places.emplace(id, place);
    return id;
}

template <typename List>
bool isDue(const List& list, clock::Time end) {
    return !list.empty() && nextDue(list) <= std::min(clock::now(), end);
}

void tellObserver(LoopMoment moment) {
    if (loopState().observer) {
        loopState().observer(moment);
    }
}

void runNextEvent() {
    auto next = loopState().events.extract(loopState().events.begin());
    tellObserver(LoopMoment::beforeEvent);
    performEvent(next.mapped());
    tellObserver(LoopMoment::afterEvent);
}

void runWork(const QueuePlace& place) {
    auto next = loopState().queue.extract(place);
    loopState().places.erase(next.key().number);
    tellObserver(LoopMoment::beforeWork);
    const Marked running(loopState().running);
    next.mapped().run();
}

/// One turn of the main queue after the other.
class Turns {
  public:
    /// The place of the work that is to be done next; begins a turn if the present one is over. The
    /// queue must not be empty.
    QueuePlace next() {
        if (hold_) {
            for (const auto& [place, work] : loopState().queue) {
                if (place.due > began_) {
                    break;
                }
                if (place.number <= lastNumber_) {
                    return place;
                }
            }
        }
        end();
        hold_.emplace();
        began_ = clock::now();
        lastNumber_ = loopState().lastNumber;
        ++loopState().turns;
        return loopState().queue.begin()->first;
    }

    void end() { hold_.reset(); }

  private:
    std::optional<ApplicationsHold> hold_;
    clock::Time began_ = 0;
    std::uint64_t lastNumber_ = 0;  // of what had been queued when the turn began
};

/// Lets time pass until `time`, or until a process ends.
void waitUntil(clock::Time time) {
    loopState().workAtOnce = 0;
    if (clock::isVirtual()) {
        clock::moveTo(time);
    } else {
        waitForProcesses(time);
    }
}

/// Makes the work that has just run take time: none, unless there was too much of it at once.
/// @return whether that time is over by `end`
bool takeTime(clock::Time end) {
    if (!clock::isVirtual() || ++loopState().workAtOnce <= mostWorkAtOnce) {
        return true;
    }
    const int workAtOnce = loopState().workAtOnce;
    const clock::Time over = clock::now() + clock::second;
    sleepUntil(std::min(over, end));
    loopState().workAtOnce = workAtOnce;
    return over <= end;
}

/// Drops everything planned and queued, except lasting work, which it runs.
void clear() {
    LoopState& all = loopState();
    all.observer = nullptr;
    all.events.clear();
    all.places.clear();
    all.endOfRun = 0;
    std::map<QueuePlace, Work> dropped = std::exchange(all.queue, {});
    for (auto& [place, work] : dropped) {
        if (work.lasting) {
            work.run();
        } else {
            all.abandoned.push_back(std::move(work));
        }
    }
}

const OnReset clearLoop(clear);

}  // namespace

void planEvent(clock::Time due, std::function<void()> event) {
    loopState().events.emplace(QueuePlace{due, false, ++loopState().lastNumber}, std::move(event));
}

void performEvent(const std::function<void()>& event) {
    const Marked marked(loopState().isEvent);
    event();
}

WorkID queueWork(clock::Time due, std::function<void()> work) {
    return add(due, {std::move(work), false});
}

void queueLastingWork(std::function<void()> work) {
    add(clock::now(), {std::move(work), true});
}

void onMainQueue(std::function<void()> work) {
    queueWork(clock::now(), std::move(work));
}

void dropWork(WorkID work) {
    LoopState& all = loopState();
    const auto place = all.places.find(work);
    if (place != all.places.end()) {
        all.queue.erase(place->second);
        all.places.erase(place);
    }
}

void runUntil(clock::Time end) {
    if (loopState().running) {
        cf::misuse("event loop", "it must not be run from within its own work");
    }
    loopState().workAtOnce = 0;
    Turns turns;
    while (true) {
        const clock::Time next =
            std::min({nextDue(loopState().events), nextDue(loopState().queue), end});
        if (clock::now() < next) {
            turns.end();
            waitUntil(next);
        } else if (isDue(loopState().events, end)) {
            runNextEvent();
        } else if (isDue(loopState().queue, end)) {
            runWork(turns.next());
            if (!takeTime(end)) {
                return;
            }
        } else {
            return;
        }
    }
}

void sleepUntil(clock::Time end) {
    while (true) {
        const clock::Time next = std::min(nextDue(loopState().events), end);
        if (clock::now() < next) {
            waitUntil(next);
        } else if (isDue(loopState().events, end)) {
            runNextEvent();
        } else {
            return;
        }
    }
}

std::uint64_t turnsOfMainQueue() {
    return loopState().turns;
}

void setEndOfRun(clock::Time end) {
    loopState().endOfRun = end;
}

clock::Time endOfRun() {
    return loopState().endOfRun;
}

void observeLoop(std::function<void(LoopMoment)> observer) {
    loopState().observer = std::move(observer);
}

}  // namespace simulator
