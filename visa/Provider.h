// The VISA provider libSkVisa.so.2 behind the front.
//
// Both the front and the provider define viOpen and seven more, and the library's link calls them. So the front is a
// build of its own of the library's objects, and the linker turns their calls (--wrap) into calls of the functions in
// Provider.cpp, which ask the provider that dlopen found. No lookup by name is left that could meet the front's own
// viOpen, whichever libraries the program has linked or preloaded. A scope of its own (RTLD_DEEPBIND) around the shared
// library would do for most programs, but the sanitizers refuse it, it takes malloc from a program that has one of
// its own, and it does nothing for a library that is loaded already.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "visa/VisaTypes.h"

namespace visa {

/// Loads `file` for use by dlsym only. Its own calls of vi functions stay in it, also where the program shows the front
/// to all libraries. Null after a failure; dlerror has the reason.
void* LoadVisaLibrary(const char* file);

/// False, after a line on the error stream that says what to do, when the provider can't be loaded. If nothing has
/// loaded a provider yet, a resource of the simulated generator ("SIM...") gets the installed simulator; all others get
/// the one that the loader finds.
bool LoadProvider(std::string_view resource = {});

/// The names of all instruments that the provider lists; none if it can list none.
std::vector<std::string> ListProviderNames();

/// Prints one line on the error stream, each text once in a process.
void SayOnce(const std::string& text);

}  // namespace visa
