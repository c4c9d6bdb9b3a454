#include "simulator/host/dynamic_library.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "simulator/faults/faults.hpp"
#include "simulator/host/host_calls.hpp"
#include "simulator/machine/machine.hpp"

namespace simulator {
namespace {

struct Library {
    std::string name;
    std::string_view path;
    std::map<std::string, void*, std::less<>> symbols;
    int openings = 0;
};

// The first one is linked already.
std::array<Library, 2>& libraries() {
    static auto& list = *new std::array<Library, 2>{{
        {"HIServices",
         "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/"
         "HIServices.framework/HIServices",
         {},
         0},
        {"SkyLight",
         "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight",
         {},
         0},
    }};
    return list;
}

template <typename Predicate>
Library* findLibrary(Predicate predicate) {
    const auto found = std::find_if(libraries().begin(), libraries().end(), predicate);
    return found == libraries().end() ? nullptr : &*found;
}

Library* libraryOf(const void* handle) {
    return findLibrary([handle](const Library& library) { return &library == handle; });
}

bool isAvailable(const std::string& name) {
    return !mac().unavailable.contains(name);
}

void* find(const Library& library, std::string_view name) {
    const auto symbol = library.symbols.find(name);
    const bool isThere =
        symbol != library.symbols.end() && isAvailable(library.name) && isAvailable(symbol->first);
    return isThere ? symbol->second : nullptr;
}

bool succeeds(std::string_view function, const char* subject) {
    return !beginCall(function, subject).isNull();
}

}  // namespace

/// False until the program's own initialisers run.
static bool hasSymbols = false;

void registerSymbol(const std::string& library, const std::string& name, void* function) {
    hasSymbols = true;
    findLibrary([&](const Library& known) { return known.name == library; })->symbols[name] =
        function;
}

static void* look(void* handle, const char* name) {
    Library& linked = libraries().front();
    if (handle == RTLD_DEFAULT && linked.symbols.contains(name)) {
        return succeeds("dlsym", name) ? find(linked, name) : nullptr;
    }
    const Library* const library = libraryOf(handle);
    if (library == nullptr) {
        return __real_dlsym(handle, name);
    }
    return library->openings > 0 && succeeds("dlsym", name) ? find(*library, name) : nullptr;
}

bool isKnownToLibraries(const std::string& name) {
    return findLibrary([&](const Library& library) {
               return library.name == name || library.symbols.contains(name);
           }) != nullptr;
}

}  // namespace simulator

using simulator::Library;

extern "C" {

void* __wrap_dlopen(const char* path, int mode);
void* __wrap_dlsym(void* handle, const char* name);
int __wrap_dlclose(void* handle);

void* __wrap_dlopen(const char* path, int mode) {
    Library* const library =
        path == nullptr
            ? nullptr
            : simulator::findLibrary([path](const Library& known) { return known.path == path; });
    if (library == nullptr) {
        return __real_dlopen(path, mode);
    }
    if (!simulator::succeeds("dlopen", path) || !simulator::isAvailable(library->name)) {
        return nullptr;
    }
    ++library->openings;
    return library;
}

// A statically linked sanitizer calls this while it starts, before it can check anything.
__attribute__((no_sanitize("address", "undefined"))) void* __wrap_dlsym(void* handle,
                                                                        const char* name) {
    const bool isHostsOwn = handle == RTLD_NEXT || !simulator::hasSymbols;
    return isHostsOwn ? __real_dlsym(handle, name) : simulator::look(handle, name);
}

int __wrap_dlclose(void* handle) {
    Library* const library = simulator::libraryOf(handle);
    if (library == nullptr) {
        return __real_dlclose(handle);
    }
    if (library->openings == 0) {
        return -1;
    }
    const simulator::CallFault fault = simulator::beginCall("dlclose", library->path);
    library->openings -= fault.performs ? 1 : 0;
    return fault.resultOr(0);
}

}  // extern "C"
