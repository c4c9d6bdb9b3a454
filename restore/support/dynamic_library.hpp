// Looks up, by name at run time, functions that some macOS versions lack, so that the program
// starts on a Mac without them too. Used by the hot corners (dock/native_hot_corners) and the menu
// bar (menubar/per_display_menu_bar_api).
#pragma once

#include <memory>
#include <string>

#include "platform/private_interfaces.hpp"

namespace tolvaran {

/// A library that stays loaded for as long as this lives.
class DynamicLibrary {
  public:
    /// Loads the library at `path`; its functions are bound on first use and visible through this
    /// object only. isOpen() says whether that worked; nothing is logged.
    explicit DynamicLibrary(const std::string& path);

    bool isOpen() const { return handle_ != nullptr; }

    /// Looks up a function, which is valid as long as this object lives; null if the library is not
    /// open or has no such function.
    template <typename Function>
    Function* function(const RunTimeFunction<Function>& wanted) const {
        return reinterpret_cast<Function*>(symbol(wanted.name));
    }

    /// Looks up a function in all libraries that the process has loaded; null if there is none.
    template <typename Function>
    static Function* functionOfProcess(const RunTimeFunction<Function>& wanted) {
        return reinterpret_cast<Function*>(symbolOfProcess(wanted.name));
    }

  private:
    void* symbol(const std::string& name) const;
    static void* symbolOfProcess(const std::string& name);

    std::unique_ptr<void, void (*)(void*)> handle_;
};

}  // namespace tolvaran
