// The session functions that client/ calls, passed on to the loaded library. They are in the program itself, so the
// linker looks for them no further and the program does not name the library as one that it needs.
#include "tools/Library.h"

#include <dlfcn.h>
#include <string>

#include "scpi_zlt/scpi_zlt.h"

#include "tools/ToolError.h"

namespace {

constexpr const char* kName = "libscpi_zlt.so.2";

/// Never closed: sessions that are open at the exit are closed by the library then.
void* g_library = nullptr;

template <typename Function>
Function* Find(const char* name) {
  return g_library != nullptr ? reinterpret_cast<Function*>(dlsym(g_library, name)) : nullptr;
}

}  // namespace

void LoadLibrary(const std::string& resource) {
  if (g_library != nullptr) return;
  // Once it is loaded the library takes it by its name, and looks for no other.
  if (resource.starts_with("SIM")) dlopen(SCPI_ZLT_SIMULATOR, RTLD_NOW);
  g_library = dlopen(kName, RTLD_NOW);
  if (g_library != nullptr) return;
  const char* const reason = dlerror();
  throw ToolError(std::string("cannot load ") + kName + ": " + (reason != nullptr ? reason : "no reason given") +
                      "; install the VISA provider (libSkVisa.so.2), or put its folder into LD_LIBRARY_PATH",
                  kNoInstrument);
}

long skOpen(unsigned long manager, const char* name, unsigned long access_mode, unsigned long open_timeout,
            unsigned long* session) {
  static const auto open = Find<decltype(skOpen)>("skOpen");
  return open != nullptr ? open(manager, name, access_mode, open_timeout, session) : VI_ERROR_SYSTEM_ERROR;
}

long skClose(unsigned long session) {
  static const auto close = Find<decltype(skClose)>("skClose");
  return close != nullptr ? close(session) : VI_ERROR_INV_OBJECT;
}

long skWrite(unsigned long session, unsigned char* text, unsigned long count, unsigned long* written) {
  static const auto write = Find<decltype(skWrite)>("skWrite");
  return write != nullptr ? write(session, text, count, written) : VI_ERROR_INV_OBJECT;
}

long skRead(unsigned long session, unsigned char* buffer, unsigned long size, unsigned long* count) {
  static const auto read = Find<decltype(skRead)>("skRead");
  return read != nullptr ? read(session, buffer, size, count) : VI_ERROR_INV_OBJECT;
}

long skSetAttribute(unsigned long session, unsigned long attribute, unsigned long state) {
  static const auto set = Find<decltype(skSetAttribute)>("skSetAttribute");
  return set != nullptr ? set(session, attribute, state) : VI_ERROR_INV_OBJECT;
}
