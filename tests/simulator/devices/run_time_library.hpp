// Functions that are looked up at run time, as the product looks them up.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace tolvaran::tests {

/// A library opened for as long as this lives; `handle` is null if it cannot be opened.
struct RunTimeLibrary {
    explicit RunTimeLibrary(const char* path) : handle(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {}
    ~RunTimeLibrary() {
        if (handle != nullptr) {
            dlclose(handle);
        }
    }
    RunTimeLibrary(const RunTimeLibrary&) = delete;
    RunTimeLibrary& operator=(const RunTimeLibrary&) = delete;

    /// The function of this name, or null.
    template <typename Function>
    Function* find(const char* name) const {
        return handle == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(handle, name));
    }

    void* handle;
};

}  // namespace tolvaran::tests
