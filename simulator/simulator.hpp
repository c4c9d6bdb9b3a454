// The simulator as tests see it: replace the machine, set faults, see what happened. All values are
// in the forms of the scenario file and its result.
#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulator {

/// Replaces the machine by the one that `mac` describes (the `mac` object of a scenario; missing
/// keys have their defaults), sets the virtual clock to time 0, empties the main queue, and clears
/// calls, faults, notifications, observers and reconfiguration callbacks. The argument list and the
/// bundles become those of a helper in its usual place. A program starts like this.
/// @throws std::invalid_argument naming the key that is wrong
void reset(const nlohmann::json& mac = nlohmann::json::object());

/// Adds a fault, in the form of a scenario's `faults` element.
/// @throws std::invalid_argument naming the key that is wrong
void addFault(const nlohmann::json& fault);
void clearFaults();
/// How many calls have met a fault since the last reset or clearFaults().
std::size_t faultsMet();

/// Performs `work` at the start of every call of `function` from now on, before its fault or its
/// effect, as another process might at that moment. May be used several times for one function.
/// reset() ends it. Calls on files count only if a fault could meet them.
void onCall(const std::string& function, std::function<void()> work);

/// Calls `decide` with the function's name at the start of every call to the outside that a fault
/// could meet; it returns the call's fault ({"result", "effect"}), or null for none. reset() or a
/// null `decide` ends it.
void decideCalls(std::function<nlohmann::json(const std::string& function)> decide);

/// The subject of the call for which `decide` or a hook is running: the path of a file (the new one
/// of a rename; for an open file, the path by which it was opened), the path of a library, the name
/// of a symbol; else empty.
std::string callSubject();

/// Merges any part of `mac` except `displays` into the machine, without notifications.
void set(const nlohmann::json& mac);

/// The machine, every key present.
nlohmann::json machine();
/// Every call that changes the Mac, tries to, or reads a menu bar override or the Dock's live
/// state: {"at", "call", "args", "result"}.
nlohmann::json calls();
/// What was posted on the distributed center: {"at", "name", "userInfo"}.
nlohmann::json notifications();
/// Core Foundation objects, dispatch objects and I/O Kit objects not yet released. Constant
/// strings, booleans and the objects that the simulator itself keeps do not count.
std::size_t liveObjects();
/// Display configurations begun and neither completed nor cancelled.
std::size_t openConfigurations();

/// Sets the argument list that the process appears to have been started with.
void setArguments(std::vector<std::string> arguments);
/// Sets the bundles that the process appears to have loaded; the first is the main bundle.
void setBundlePaths(std::vector<std::string> paths);

/// Performs one timeline event ({"launch": …}, {"exit": pid}, {"wake": true}, …; no "at") now.
/// @throws std::invalid_argument naming the key that is wrong, or impossible on the machine
void perform(const nlohmann::json& event);
/// Lets virtual time pass: performs everything due until then on the main queue, in order.
void advance(double seconds);
/// Seconds since reset.
double now();

/// Whether the process has given itself the activation policy "prohibited".
bool activationIsProhibited();

}  // namespace simulator
