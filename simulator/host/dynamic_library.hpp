// The two libraries that the product opens at run time, SkyLight and HIServices. The linker
// redirects dlopen, dlsym and dlclose to here; they serve these two from the functions registered
// here and everything else from the host.
//
// A library opens under its full path in /System/Library, unless its name is in the machine's
// `unavailable`. A symbol is found through its library's handle, and those of HIServices, which
// every process has loaded, also through RTLD_DEFAULT, unless its own or its library's name is in
// `unavailable`. A handle is valid until it has been closed as often as it was opened.
#pragma once

#include <string>

namespace simulator {

/// Registers `function` as `name` in the library ("SkyLight" or "HIServices"), for the whole run of
/// the program. Registering a name again replaces its function.
void registerSymbol(const std::string& library, const std::string& name, void* function);

/// Whether `name` is one of the two libraries or a symbol registered in one.
bool isKnownToLibraries(const std::string& name);

}  // namespace simulator
