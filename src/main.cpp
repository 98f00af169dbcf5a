// Load and unload. The session manager exists from load to unload. Sessions that are still open at exit, or when the
// library is unloaded, are closed side by side. A forked child marks itself and closes nothing.
#include <pthread.h>

#include "scpi_core/ResourceManager.h"

namespace {

/// An object and not std::atexit, because the compiler ties its destructor to this library: it runs at exit, or at
/// dlclose and then never again. This also holds when a tool (a sanitizer, say) registers an atexit of its own in
/// between.
struct ExitHook {
  ExitHook() = default;
  ExitHook(const ExitHook&) = delete;
  ExitHook& operator=(const ExitHook&) = delete;
  ~ExitHook() { EndResManager(); }
};

__attribute__((constructor)) void Initializer() {
  CreateResManager();
  pthread_atfork(nullptr, nullptr, MarkForked);
  // Runs before the destructors of objects that were made before this library was loaded.
  static const ExitHook exit_hook;
}

__attribute__((destructor)) void Finalizer() {
  EndResManager();
  DeleteResManager();
}

}  // namespace
