#include "restore/support/dynamic_library.hpp"

#include <dlfcn.h>

namespace tolvaran {

DynamicLibrary::DynamicLibrary(const std::string& path)
    : handle_(::dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL),
              [](void* handle) { ::dlclose(handle); }) {}

void* DynamicLibrary::symbol(const std::string& name) const {
    return isOpen() ? ::dlsym(handle_.get(), name.c_str()) : nullptr;
}

void* DynamicLibrary::symbolOfProcess(const std::string& name) {
    return ::dlsym(RTLD_DEFAULT, name.c_str());
}

}  // namespace tolvaran
