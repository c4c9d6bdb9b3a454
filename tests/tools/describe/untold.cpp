#include "tests/tools/describe/untold.hpp"

#include <algorithm>
#include <cctype>
#include <set>

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Names = std::set<std::string>;

bool lacks(const json& mac, const Names& names) {
    return std::ranges::any_of(mac["unavailable"],
                               [&](const json& name) { return names.contains(name); });
}

const Names dockNames = {"HIServices", "CoreDockGetExposeCornerActionsWithModifiers"};

Names windowServerNames(const std::string& function) {
    return {"SkyLight", "CGSMainConnectionID", function};
}

void keepOnly(json& object, const Names& keys) {
    json kept = json::object();
    for (const auto& [key, value] : object.items()) {
        if (keys.contains(key)) {
            kept[key] = value;
        }
    }
    object = kept;
}

/// Removes the key from an object of the Mac, or from every display, if the Mac lacks one of these.
std::function<void(json&)> withoutWhenLacking(const std::string& object, const std::string& key,
                                              const Names& names) {
    return [=](json& mac) {
        if (!lacks(mac, names)) {
            return;
        }
        if (!mac[object].is_array()) {
            mac[object].erase(key);
            return;
        }
        for (json& element : mac[object]) {
            element.erase(key);
        }
    };
}

void forgetSpacesWithoutPort(json& mac) {
    for (json& display : mac["displays"]) {
        if (display["portUUID"].is_null()) {
            display.erase("spaceType");
        }
    }
}

void forgetSpellingOfPorts(json& mac) {
    for (json& display : mac["displays"]) {
        if (display["portUUID"].is_string()) {
            std::ranges::transform(display["portUUID"].get<std::string>(),
                                   display["portUUID"].get_ref<std::string&>().begin(),
                                   [](unsigned char c) { return std::toupper(c); });
        }
    }
}

void forgetOtherPreferences(json& mac) {
    const std::map<std::string, Names> read = {
        {"com.apple.dock",
         {"wvous-tl-corner", "wvous-tl-modifier", "wvous-tr-corner", "wvous-tr-modifier",
          "wvous-bl-corner", "wvous-bl-modifier", "wvous-br-corner", "wvous-br-modifier"}},
        {"global", {"_HIHideMenuBar", "AppleMenuBarVisibleInFullscreen"}},
    };
    json kept = json::object();
    for (const auto& [domain, keys] : read) {
        if (mac["preferences"].contains(domain)) {
            kept[domain] = mac["preferences"][domain];
            keepOnly(kept[domain], keys);
        }
    }
    std::erase_if(kept.get_ref<json::object_t&>(),
                  [](const auto& domain) { return domain.second.empty(); });
    mac["preferences"] = kept;
}

void forgetOtherProperties(json& mac) {
    for (json& service : mac["registry"]) {
        keepOnly(service, {"DisplayVendorID", "DisplayProductID", "DisplaySerialString",
                           "DisplayProductName"});
    }
}

void forgetOtherApplications(json& mac) {
    std::erase_if(mac["applications"].get_ref<json::array_t&>(), [](const json& application) {
        return application["bundle"] != "com.morvelli.Tolvaran";
    });
}

void forgetFunctionsOfLackingLibraries(json& mac) {
    const auto eraseAll = [&](const std::string& library, const std::string& prefix) {
        if (lacks(mac, {library})) {
            std::erase_if(mac["unavailable"].get_ref<json::array_t&>(), [&](const json& name) {
                return name != library && name.get<std::string>().starts_with(prefix);
            });
        }
    };
    eraseAll("HIServices", "CoreDock");
    eraseAll("SkyLight", "SLS");
    eraseAll("SkyLight", "CGS");
}

}  // namespace

const std::vector<Untold>& untold() {
    static const std::vector<Untold> list = {
        {"cursorAssociated", "macOS only lets it be set",
         [](json& mac) { mac.erase("cursorAssociated"); }},
        {"applications", "whatever else a user runs is the user's own affair",
         forgetOtherApplications},
        {"preferences", "whatever this system does not read is the user's own affair",
         forgetOtherPreferences},
        {"registry", "whatever this system does not read is the user's own affair",
         forgetOtherProperties},
        {"displays[].portUUID",
         "Core Graphics gives it as a number, which has no upper and lower "
         "case",
         forgetSpellingOfPorts},
        {"displays[].spaceType", "the window server lists spaces by port UUID",
         forgetSpacesWithoutPort},
        {"displays[].spaceType", "unknown without its function",
         withoutWhenLacking("displays", "spaceType",
                            windowServerNames("SLSCopyManagedDisplaySpaces"))},
        {"displays[].menuBarOverride", "unknown without its function",
         withoutWhenLacking("displays", "menuBarOverride",
                            windowServerNames("SLSGetMenuBarVisibilityOverrideOnDisplay"))},
        {"menuBar.autoHide", "unknown without its function",
         withoutWhenLacking("menuBar", "autoHide",
                            windowServerNames("SLSGetMenuBarAutohideEnabled"))},
        {"menuBar.activeDisplay", "unknown without its function",
         withoutWhenLacking("menuBar", "activeDisplay",
                            windowServerNames("SLSCopyActiveMenuBarDisplayIdentifier"))},
        {"dock.cornerActions", "unknown without its function",
         withoutWhenLacking("dock", "cornerActions", dockNames)},
        {"dock.cornerModifiers", "unknown without its function",
         withoutWhenLacking("dock", "cornerModifiers", dockNames)},
        {"unavailable", "a library that is missing does not say which functions it has",
         forgetFunctionsOfLackingLibraries},
    };
    return list;
}

}  // namespace tolvaran::tests
