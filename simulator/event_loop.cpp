#include "simulator/event_loop.hpp"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>

#include "simulator/core_foundation/object.hpp"
#include "simulator/processes.hpp"

namespace simulator {
namespace {

// When something is due, and its place among what is due at that time.
using Place = std::pair<clock::Time, std::uint64_t>;

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
    bool running = false;  // queued work runs
    std::function<void(LoopMoment)> observer;
    // Work that was dropped may hold the only pointers to what it was to free, as in any process
    // that is killed. Kept, so that this does not look like a leak.
    std::deque<Work> abandoned;
};

State& state() {
    static State& instance = *new State;
    return instance;
}

/// Marks that work runs, also when it ends by an exception.
struct Running {
    Running() { state().running = true; }
    ~Running() { state().running = false; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
};

template <typename List>
clock::Time nextDue(const List& list) {
    return list.empty() ? clock::never : list.begin()->first.first;
}

WorkID add(clock::Time due, Work work) {
    State& all = state();
    const WorkID id = ++all.lastNumber;
    const Place place{std::max(due, clock::now()), id};
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
    next.mapped()();
    tellObserver(LoopMoment::afterEvent);
}

void runNextWork() {
    auto next = state().queue.extract(state().queue.begin());
    state().places.erase(next.key().second);
    tellObserver(LoopMoment::beforeWork);
    const Running running;
    next.mapped().run();
}

/// Lets time pass until `time`, or less when a process ends before.
void waitUntil(clock::Time time) {
    if (clock::isVirtual()) {
        clock::moveTo(time);
    } else {
        waitForProcesses(time);
    }
}

}  // namespace

void planEvent(clock::Time due, std::function<void()> event) {
    state().events.emplace(Place{due, ++state().lastNumber}, std::move(event));
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
    while (true) {
        const clock::Time next = std::min({nextDue(state().events), nextDue(state().queue), end});
        if (clock::now() < next) {
            waitUntil(next);
        } else if (isDue(state().events, end)) {
            runNextEvent();
        } else if (isDue(state().queue, end)) {
            runNextWork();
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

void clearEventLoop() {
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

}  // namespace simulator
