// The two libraries that a Mac offers for loading at run time, SkyLight and HIServices. dlopen,
// dlsym and dlclose reach this through the linker; they serve these two from the functions
// registered here and everything else from the host.
//
// A library opens under its full path in /System/Library, unless its name is among the machine's
// `unavailable`. A symbol is found through its library's handle, and HIServices's
// symbols, which the system has linked already, through RTLD_DEFAULT as well, unless its name or
// its library's is among the machine's `unavailable`. A handle is valid from dlopen until
// it has been closed as often as it was opened.
#pragma once

#include <string>

namespace simulator {

/// Offers `function` as `name` in the library ("SkyLight" or "HIServices"), for the whole run of
/// the program. Offering a name again replaces its function.
void registerSymbol(const std::string& library, const std::string& name, void* function);

/// Whether `name` is one of the two libraries or a symbol registered in one.
bool isKnownToLibraries(const std::string& name);

}  // namespace simulator
