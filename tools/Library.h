// The library, loaded when the first session is opened and not before: help, data files, tables and a client of a
// server then need neither it nor a VISA provider.
#pragma once

#include <string>

/// Throws ToolError with what to do if libscpi_zlt.so.2, or the provider that it needs, cannot be loaded. Every verb
/// that opens a session calls this first; without it the session functions fail. A resource of the simulated generator
/// ("SIM…") gets the installed simulator as its provider; all others get the one that the loader finds.
void LoadLibrary(const std::string& resource);
