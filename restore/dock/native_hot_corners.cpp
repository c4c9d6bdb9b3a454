#include "restore/dock/native_hot_corners.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "restore/support/dynamic_library.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran::NativeHotCorners {
namespace {

using Getter = void(std::int32_t* actions, std::int32_t* modifiers);
using Setter = std::int32_t(std::int32_t action, std::int32_t corner, std::int32_t modifier);

constexpr const char* libraryPath =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/HIServices.framework/"
    "HIServices";

constexpr const char* getterName = "CoreDockGetExposeCornerActionsWithModifiers";
constexpr const char* setterName = "CoreDockSetExposeCornerActionWithModifier";

template <typename Function>
Function* find(const DynamicLibrary& library, const std::string& name) {
    return library.isOpen() ? library.function<Function>(name)
                            : DynamicLibrary::functionOfProcess<Function>(name);
}

/// The library and what was found in it; a function that this Mac lacks is null.
struct Functions {
    DynamicLibrary library{libraryPath};
    Getter* getter = find<Getter>(library, getterName);
    Setter* setter = find<Setter>(library, setterName);
};

const Functions& functions() {
    static ProcessWide<Functions> cached;
    return cached.get();
}

// The getter reports no failure; a value that it did not fill in still holds this.
constexpr std::int32_t unfilled = std::numeric_limits<std::int32_t>::min();

using Buffer = std::array<std::int32_t, hotCornerCount>;

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
        names.emplace_back(getterName);
    }
    if (found.setter == nullptr) {
        names.emplace_back(setterName);
    }
    return names;
}

std::optional<State> read() {
    Getter* const getter = functions().getter;
    if (getter == nullptr) {
        return std::nullopt;
    }
    Buffer actions;
    Buffer modifiers;
    actions.fill(unfilled);
    modifiers.fill(unfilled);
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
