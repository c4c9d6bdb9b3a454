#include "tools/describe/describe.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <optional>

#include "helper/main_application.hpp"
#include "platform/private_interfaces.hpp"
#include "platform/workspace.hpp"
#include "restore/arrangement/display_connections.hpp"
#include "restore/dock/hot_corner_control.hpp"
#include "restore/dock/native_hot_corners.hpp"
#include "restore/menubar/global_preferences.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/per_display_menu_bar_api.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/preferences.hpp"
#include "tools/describe/displays.hpp"
#include "tools/describe/json_text.hpp"
#include "tools/describe/property_list.hpp"
#include "tools/describe/section.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;

const std::string noJSON = "JSON cannot hold the value";

std::string element(const std::string& list, std::size_t index) {
    return list + "[" + std::to_string(index) + "]";
}

void putDisplays(Section& mac) {
    mac.put("mainDisplay", CGMainDisplayID());
    const auto displays = listedDisplays();
    if (!displays) {
        mac.leaveOut("displays", "the window server did not list them");
        return;
    }
    json list = json::array();
    for (const CGDirectDisplayID display : *displays) {
        list.push_back(describeDisplay(display, mac.below(element("displays", list.size()))));
    }
    mac.put("displays", list);
}

/// Read only by the report page, to show the display's usual name.
CFStringRef productNameProperty() {
    return CFSTR("DisplayProductName");
}

/// What this system and its reports read from one display-connect service.
json describeConnection(CFDictionaryRef properties, Section section) {
    for (CFStringRef name :
         {vendorProperty(), modelProperty(), serialProperty(), productNameProperty()}) {
        if (const CFTypeRef value = cf::value(properties, name)) {
            section.put(*cf::string(name), propertyList(value), noJSON);
        }
    }
    return section.object();
}

void putRegistry(Section& mac) {
    json list = json::array();
    std::size_t index = 0;
    const bool isListed = visitDisplayConnections([&](CFDictionaryRef properties) {
        const std::string name = element("registry", index++);
        if (properties == nullptr) {
            mac.leaveOut(name, "the registry did not give its properties");
        } else {
            list.push_back(describeConnection(properties, mac.below(name)));
        }
        return true;
    });
    mac.put("registry", isListed ? std::optional(list) : std::nullopt,
            "the registry did not list the display connections");
}

void putPreferences(const std::string& name, const PreferenceDomain& domain,
                    const std::vector<std::string>& keys, Section& preferences) {
    Section values = preferences.below(name);
    for (const std::string& key : keys) {
        if (const auto value = domain.value(key)) {
            values.put(key, propertyList(value.get()), noJSON);
        }
    }
    if (!values.object().empty()) {
        preferences.put(name, values.object());
    }
}

void putPreferences(Section& mac) {
    std::vector<std::string> corners;
    std::ranges::transform(hotCornerFields, std::back_inserter(corners),
                           &HotCornerField::preference);
    Section preferences = mac.below("preferences");
    putPreferences(DockHotCornerOverride::dockAppID,
                   PreferenceDomain(DockHotCornerOverride::dockAppID), corners, preferences);
    putPreferences("global", PreferenceDomain::anyApplication(),
                   {MenuBarAutohide::hideKey, MenuBarAutohide::visibleInFullscreenKey},
                   preferences);
    mac.put("preferences", preferences.object());
}

void putDock(Section& mac) {
    Section dock = mac.below("dock");
    const std::string why = "the running Dock could not be asked for its hot corners";
    const std::optional<NativeHotCorners::State> corners = NativeHotCorners::read();
    using Values = std::optional<HotCornerValues>;
    dock.put("autoHide", CoreDockGetAutoHideEnabled() != 0);
    dock.put("cornerActions", corners ? Values(corners->actions) : std::nullopt, why);
    dock.put("cornerModifiers", corners ? Values(corners->modifiers) : std::nullopt, why);
    mac.put("dock", dock.object());
}

void putActiveDisplay(Section& menuBar) {
    const std::string key = "activeDisplay";
    if (PerDisplayMenuBarAPI::shared().copyActiveDisplay == nullptr ||
        PerDisplayMenuBarAPI::shared().mainConnection == nullptr) {
        menuBar.leaveOut(key, "this Mac lacks functions of the window server");
        return;
    }
    const auto display = MenuBarAutohide::activeMenuBarDisplayIdentifier();
    if (display && !isUUID(*display)) {
        menuBar.leaveOut(key, "the window server names it \"" + *display + "\", not by a UUID");
    } else {
        menuBar.put(key, display ? json(*display) : json(nullptr));
    }
}

void putMenuBar(Section& mac) {
    Section menuBar = mac.below("menuBar");
    menuBar.put("autoHide", MenuBarAutohide::runtimeAutohideEnabled(),
                "the window server did not say");
    putActiveDisplay(menuBar);
    mac.put("menuBar", menuBar.object());
}

/// Only instances of Tolvaran: the helper ignores all other applications.
void putApplications(Section& mac) {
    json list = json::array();
    for (const workspace::RunningApplication& application : workspace::runningApplications()) {
        if (isMainApp(application)) {
            list.push_back({{"bundle", mainAppBundleID},
                            {"pid", application.processIdentifier},
                            {"terminated", application.terminated}});
        }
    }
    mac.put("applications", list);
}

void putUnavailable(Section& mac) {
    const PerDisplayMenuBarAPI& menuBar = PerDisplayMenuBarAPI::shared();
    std::vector<std::string> names = NativeHotCorners::missing();
    if (menuBar.handle.isOpen()) {
        names.insert(names.end(), menuBar.missing.begin(), menuBar.missing.end());
    } else {
        names.emplace_back("SkyLight");
    }
    std::ranges::sort(names);
    mac.put("unavailable", names);
}

}  // namespace

Description describeMac() {
    Description description;
    Section mac("", description.notes);
    putDisplays(mac);
    putRegistry(mac);
    putPreferences(mac);
    putDock(mac);
    putMenuBar(mac);
    // macOS offers no way to read it; a scenario without the key has the usual value.
    mac.leaveOut("cursorAssociated", "macOS does not say; a scenario then assumes true");
    putApplications(mac);
    putUnavailable(mac);
    description.mac = mac.object();
    return description;
}

int writeDescription(std::ostream& out, std::ostream& errors) {
    Description description;
    workspace::withAutoreleasePool([&] { description = describeMac(); });
    for (const std::string& note : description.notes) {
        errors << note << "\n";
    }
    out << written(description.mac) << std::endl;
    return out.good() ? 0 : 1;
}

}  // namespace tolvaran::describe
