#include "restore/dock/native_hot_corners.hpp"

#include <algorithm>
#include <array>
#include <limits>

#include "platform/private_interfaces.hpp"
#include "restore/support/dynamic_library.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran::NativeHotCorners {
namespace {

/// Looks the function up in the library or, if that cannot be opened, in the process.
template <typename Function>
Function* find(const DynamicLibrary& library, const RunTimeFunction<Function>& wanted) {
    return library.isOpen() ? library.function(wanted) : DynamicLibrary::functionOfProcess(wanted);
}

/// The library and its functions. A function that this Mac lacks is null.
struct Functions {
    DynamicLibrary library{hi_services::path};
    decltype(hi_services::getCornerActions)::Pointer getter =
        find(library, hi_services::getCornerActions);
    decltype(hi_services::setCornerAction)::Pointer setter =
        find(library, hi_services::setCornerAction);
};

const Functions& functions() {
    static ProcessWide<Functions> cached;
    return cached.get();
}

// The getter reports no failures; a value that it did not fill in still holds this.
constexpr std::int32_t unfilled = std::numeric_limits<std::int32_t>::min();

using Buffer = std::array<std::int32_t, hotCornerCount>;

constexpr Buffer unfilledBuffer = [] {
    Buffer values{};
    values.fill(unfilled);
    return values;
}();

bool isFilled(const Buffer& values) {
    return std::ranges::find(values, unfilled) == values.end();
}

}  // namespace

bool areAvailable() {
    return functions().getter != nullptr && functions().setter != nullptr;
}

std::vector<std::string> missing() {
    const Functions& found = functions();
    if (!found.library.isOpen() && found.getter == nullptr && found.setter == nullptr) {
        return {"HIServices"};
    }
    std::vector<std::string> names;
    if (found.getter == nullptr) {
        names.emplace_back(hi_services::getCornerActions.name);
    }
    if (found.setter == nullptr) {
        names.emplace_back(hi_services::setCornerAction.name);
    }
    return names;
}

std::optional<State> read() {
    auto* const getter = functions().getter;
    if (getter == nullptr) {
        return std::nullopt;
    }
    Buffer actions = unfilledBuffer;
    Buffer modifiers = unfilledBuffer;
    getter(actions.data(), modifiers.data());
    if (!isFilled(actions) || !isFilled(modifiers)) {
        return std::nullopt;
    }
    return State{.actions = {actions.begin(), actions.end()},
                 .modifiers = {modifiers.begin(), modifiers.end()}};
}

void set(std::int32_t action, std::int32_t corner, std::int32_t modifier) {
    functions().setter(action, corner, modifier);
}

}  // namespace tolvaran::NativeHotCorners
