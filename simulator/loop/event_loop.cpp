#include "simulator/loop/event_loop.hpp"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

#include "simulator/core_foundation/object.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

// When something is due, and its place among things due at the same time: first those that an
// outside event has caused, then by number.
struct Place {
    clock::Time due;
    bool isOwn;  // the process's own: not caused by an event
    std::uint64_t number;

    auto operator<=>(const Place&) const = default;
};

// How much work may run while the virtual clock stands still. A process that reacts to everything
// it does itself, such as its own display reconfigurations, would otherwise never reach the end of
// its run; a process that comes to rest needs far less.
constexpr int mostWorkAtOnce = 1000;

struct Work {
    std::function<void()> run;
    bool lasting = false;
};

struct State {
    std::map<Place, std::function<void()>> events;
    std::map<Place, Work> queue;
    std::map<WorkID, Place> places;  // of the queued work
    std::uint64_t lastNumber = 0;
    clock::Time endOfRun = 0;
    bool running = false;  // queued work is running
    bool isEvent = false;  // an event is being performed
    int workAtOnce = 0;    // how much has run since time last moved
    std::function<void(LoopMoment)> observer;
    // Dropped work may hold the only pointers to what it would have freed, as in any killed
    // process. Kept so that this does not look like a leak.
    std::deque<Work> abandoned;
};

State& state() {
    static State& instance = *new State;
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
    State& all = state();
    const WorkID id = ++all.lastNumber;
    const Place place{std::max(due, clock::now()), !all.isEvent, id};
    all.queue.emplace(place, std::move(work));
    all.places.emplace(id, place);
    return id;
}

template <typename List>
bool isDue(const List& list, clock::Time end) {
    return !list.empty() && nextDue(list) <= std::min(clock::now(), end);
}

void tellObserver(LoopMoment moment) {
    if (state().observer) {
        state().observer(moment);
    }
}

void runNextEvent() {
    auto next = state().events.extract(state().events.begin());
    tellObserver(LoopMoment::beforeEvent);
    performEvent(next.mapped());
    tellObserver(LoopMoment::afterEvent);
}

void runNextWork() {
    auto next = state().queue.extract(state().queue.begin());
    state().places.erase(next.key().number);
    tellObserver(LoopMoment::beforeWork);
    const Marked running(state().running);
    const ApplicationsHold hold;
    next.mapped().run();
}

/// Lets time pass until `time`, or until a process ends.
void waitUntil(clock::Time time) {
    state().workAtOnce = 0;
    if (clock::isVirtual()) {
        clock::moveTo(time);
    } else {
        waitForProcesses(time);
    }
}

/// Makes the work that has just run take time: none, unless there was too much of it at once.
/// @return whether that time is over by `end`
bool takeTime(clock::Time end) {
    if (!clock::isVirtual() || ++state().workAtOnce <= mostWorkAtOnce) {
        return true;
    }
    const int workAtOnce = state().workAtOnce;
    const clock::Time over = clock::now() + clock::second;
    sleepUntil(std::min(over, end));
    state().workAtOnce = workAtOnce;
    return over <= end;
}

/// Drops everything planned and queued, except lasting work, which it runs.
void clear() {
    State& all = state();
    all.observer = nullptr;
    all.events.clear();
    all.places.clear();
    all.endOfRun = 0;
    std::map<Place, Work> dropped = std::exchange(all.queue, {});
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
    state().events.emplace(Place{due, false, ++state().lastNumber}, std::move(event));
}

void performEvent(const std::function<void()>& event) {
    const Marked marked(state().isEvent);
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
    State& all = state();
    const auto place = all.places.find(work);
    if (place != all.places.end()) {
        all.queue.erase(place->second);
        all.places.erase(place);
    }
}

void runUntil(clock::Time end) {
    if (state().running) {
        cf::misuse("event loop", "it must not be run from within its own work");
    }
    state().workAtOnce = 0;
    while (true) {
        const clock::Time next = std::min({nextDue(state().events), nextDue(state().queue), end});
        if (clock::now() < next) {
            waitUntil(next);
        } else if (isDue(state().events, end)) {
            runNextEvent();
        } else if (isDue(state().queue, end)) {
            runNextWork();
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
        const clock::Time next = std::min(nextDue(state().events), end);
        if (clock::now() < next) {
            waitUntil(next);
        } else if (isDue(state().events, end)) {
            runNextEvent();
        } else {
            return;
        }
    }
}

void setEndOfRun(clock::Time end) {
    state().endOfRun = end;
}

clock::Time endOfRun() {
    return state().endOfRun;
}

void observeLoop(std::function<void(LoopMoment)> observer) {
    state().observer = std::move(observer);
}

}  // namespace simulator
