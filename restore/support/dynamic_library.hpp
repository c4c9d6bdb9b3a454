// Functions that some macOS versions have and others lack: looked up by name at run time, so that
// the program starts on a Mac without them as well. Used by the hot corners
// (dock/native_hot_corners) and the menu bar (menubar/per_display_menu_bar_api).
#pragma once

#include <memory>
#include <string>

namespace tolvaran {

/// A library that stays loaded for as long as this lives.
class DynamicLibrary {
  public:
    /// Loads the library at `path`, its functions bound on first use and visible through this
    /// object only. isOpen() tells whether that was possible; nothing is logged.
    explicit DynamicLibrary(const std::string& path);

    bool isOpen() const { return handle_ != nullptr; }

    /// The function of this name, valid as long as this object lives; null when the library is not
    /// open or has no such function.
    /// @tparam Function its type, such as std::int32_t(std::int32_t), which nothing can check
    template <typename Function>
    Function* function(const std::string& name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

    /// The same among the functions that the process has anyway, whatever library they are from.
    template <typename Function>
    static Function* functionOfProcess(const std::string& name) {
        return reinterpret_cast<Function*>(symbolOfProcess(name));
    }

  private:
    void* symbol(const std::string& name) const;
    static void* symbolOfProcess(const std::string& name);

    std::unique_ptr<void, void (*)(void*)> handle_;
};

}  // namespace tolvaran
