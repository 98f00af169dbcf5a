#include "visa/Provider.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <dlfcn.h>
#include <mutex>
#include <set>

namespace visa {
namespace {

constexpr const char* kProviderFile = "libSkVisa.so.2";
/// Installed beside this library.
constexpr const char* kInstalledSimulator = "$ORIGIN/scpi-zlt/simulator/libSkVisa.so.2";

/// What the library calls, by the widths that it calls with: it takes counts and handles of 32 and 64 bits. Until the
/// provider is loaded each says that it is missing.
struct Functions {
  long (*open_manager)(void*) = [](void*) -> long { return kLibraryNotFound; };
  long (*open)(unsigned long, const char*, unsigned long, unsigned long, void*) =
      [](unsigned long, const char*, unsigned long, unsigned long, void*) -> long { return kLibraryNotFound; };
  long (*close)(unsigned long) = [](unsigned long) -> long { return kLibraryNotFound; };
  long (*clear)(unsigned long) = [](unsigned long) -> long { return kLibraryNotFound; };
  long (*read)(unsigned long, unsigned char*, unsigned long, void*) = [](unsigned long, unsigned char*, unsigned long,
                                                                         void*) -> long { return kLibraryNotFound; };
  long (*write)(unsigned long, const unsigned char*, unsigned long, void*) =
      [](unsigned long, const unsigned char*, unsigned long, void*) -> long { return kLibraryNotFound; };
  long (*get)(unsigned long, unsigned long, void*) = [](unsigned long, unsigned long, void*) -> long {
    return kLibraryNotFound;
  };
  long (*set)(unsigned long, unsigned long, unsigned long) = [](unsigned long, unsigned long, unsigned long) -> long {
    return kLibraryNotFound;
  };
  // A provider need not have these two.
  long (*find)(unsigned long, const char*, void*, void*, char*) = nullptr;
  long (*find_next)(unsigned long, char*) = nullptr;
};

struct Provider {
  std::mutex lock;
  bool loaded = false;
  Functions call;
};

/// Never destroyed: the library closes its sessions when the process ends.
Provider& TheProvider() {
  static auto* const provider = new Provider;
  return *provider;
}

template <typename Function>
bool Take(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

bool TakeAll(void* library, Functions& call) {
  Take(library, "viFindRsrc", call.find);
  Take(library, "viFindNext", call.find_next);
  return Take(library, "viOpenDefaultRM", call.open_manager) && Take(library, "viOpen", call.open) &&
         Take(library, "viClose", call.close) && Take(library, "viClear", call.clear) &&
         Take(library, "viRead", call.read) && Take(library, "viWrite", call.write) &&
         Take(library, "viGetAttribute", call.get) && Take(library, "viSetAttribute", call.set);
}

std::string LoaderMessage() {
  const char* const text = dlerror();
  return text != nullptr ? text : "no reason given";
}

/// The library that holds `address`.
void* LibraryOf(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

/// True if a library that is loaded now would find the front's functions before its own.
bool FrontIsGlobal() {
  void* const program = dlopen(nullptr, RTLD_NOW);
  const void* const found = program != nullptr ? dlsym(program, "viOpen") : nullptr;
  return found != nullptr && LibraryOf(found) == LibraryOf(reinterpret_cast<const void*>(&LibraryOf));
}

void* FindProvider(std::string_view resource) {
  const bool has_one = dlopen(kProviderFile, RTLD_NOW | RTLD_NOLOAD) != nullptr;
  if (resource.starts_with("SIM") && !has_one) {
    if (void* const simulator = LoadVisaLibrary(kInstalledSimulator)) return simulator;
  }
  return LoadVisaLibrary(kProviderFile);
}

/// What the linker puts in the place of the library's calls is only reached after a session began to open.
const Functions& Call() {
  LoadProvider();
  return TheProvider().call;
}

}  // namespace

void SayOnce(const std::string& text) {
  static std::mutex lock;
  static auto* const said = new std::set<std::string>;
  const std::lock_guard hold(lock);
  if (said->insert(text).second) std::fprintf(stderr, "libzlt_visa: %s\n", text.c_str());
}

void* LoadVisaLibrary(const char* file) {
  int mode = RTLD_NOW | RTLD_LOCAL;
  // The sanitizers end a program that asks for such a scope.
  const bool sanitized = dlsym(RTLD_DEFAULT, "__asan_init") != nullptr || dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr;
  if (FrontIsGlobal() && !sanitized) mode |= RTLD_DEEPBIND;
  return dlopen(file, mode);
}

bool LoadProvider(std::string_view resource) {
  Provider& provider = TheProvider();
  const std::lock_guard hold(provider.lock);
  if (provider.loaded) return true;
  void* const library = FindProvider(resource);
  if (library == nullptr) {
    SayOnce("the VISA provider can't be loaded: " + LoaderMessage() +
            ". Install it, or name its folder in LD_LIBRARY_PATH before the program starts.");
    return false;
  }
  Functions found;
  if (!TakeAll(library, found)) {
    SayOnce("the VISA provider " + std::string(kProviderFile) + " lacks a function: " + LoaderMessage() +
            ". Put the right one first in LD_LIBRARY_PATH.");
    return false;
  }
  provider.call = found;
  provider.loaded = true;
  return true;
}

std::vector<std::string> ListProviderNames() {
  std::vector<std::string> names;
  if (!LoadProvider()) return names;
  const Functions& call = Call();
  if (call.find == nullptr || call.find_next == nullptr) return names;
  std::uint64_t manager = 0;
  if (static_cast<ViStatus>(call.open_manager(&manager)) < kSuccess) return names;
  std::uint64_t list = 0;
  std::uint64_t count = 0;
  std::array<char, kFindLength> name{};
  auto status = static_cast<ViStatus>(call.find(manager, "?*", &list, &count, name.data()));
  while (status >= kSuccess && names.size() < count) {
    names.emplace_back(name.data());
    status = static_cast<ViStatus>(call.find_next(list, name.data()));
  }
  if (list != 0) call.close(list);
  call.close(manager);
  return names;
}

}  // namespace visa

// The linker's --wrap sends the library's calls here.
extern "C" {

long __wrap_viOpenDefaultRM(void* session_out);
long __wrap_viOpen(unsigned long manager, const char* name, unsigned long access_mode, unsigned long timeout_ms,
                   void* session_out);
long __wrap_viClose(unsigned long session);
long __wrap_viClear(unsigned long session);
long __wrap_viRead(unsigned long session, unsigned char* buffer, unsigned long count, void* count_out);
long __wrap_viWrite(unsigned long session, const unsigned char* buffer, unsigned long count, void* count_out);
long __wrap_viGetAttribute(unsigned long session, unsigned long attribute, void* value_out);
long __wrap_viSetAttribute(unsigned long session, unsigned long attribute, unsigned long value);

long __wrap_viOpenDefaultRM(void* session_out) {
  if (!visa::LoadProvider()) return visa::kLibraryNotFound;
  return visa::Call().open_manager(session_out);
}

long __wrap_viOpen(unsigned long manager, const char* name, unsigned long access_mode, unsigned long timeout_ms,
                   void* session_out) {
  return visa::TheProvider().call.open(manager, name, access_mode, timeout_ms, session_out);
}

long __wrap_viClose(unsigned long session) {
  return visa::TheProvider().call.close(session);
}

long __wrap_viClear(unsigned long session) {
  return visa::TheProvider().call.clear(session);
}

long __wrap_viRead(unsigned long session, unsigned char* buffer, unsigned long count, void* count_out) {
  return visa::TheProvider().call.read(session, buffer, count, count_out);
}

long __wrap_viWrite(unsigned long session, const unsigned char* buffer, unsigned long count, void* count_out) {
  return visa::TheProvider().call.write(session, buffer, count, count_out);
}

long __wrap_viGetAttribute(unsigned long session, unsigned long attribute, void* value_out) {
  return visa::TheProvider().call.get(session, attribute, value_out);
}

long __wrap_viSetAttribute(unsigned long session, unsigned long attribute, unsigned long value) {
  return visa::TheProvider().call.set(session, attribute, value);
}

}  // extern "C"
