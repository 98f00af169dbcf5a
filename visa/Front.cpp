#include "visa/Front.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>

#include "visa/Provider.h"

namespace visa {
namespace {

std::atomic<bool> forked{false};

__attribute__((constructor)) void WatchForks() {
  pthread_atfork(nullptr, nullptr, [] { forked.store(true, std::memory_order_relaxed); });
}

std::string LoaderMessage() {
  const char* const text = dlerror();
  return text != nullptr ? text : "it has no viOpen";
}

/// True if the library that has `address` is this one.
bool IsThisLibrary(const void* address) {
  Dl_info other{};
  Dl_info own{};
  return dladdr(address, &other) != 0 && dladdr(reinterpret_cast<const void*>(&WatchForks), &own) != 0 &&
         other.dli_fbase == own.dli_fbase;
}

/// The next library's handlers come here; `user` is our record.
ViStatus CallHandler(ViSession, ViUInt32 type, ViObject event, void* user) {
  const auto& handler = *static_cast<const ForeignObject::Handler*>(user);
  return Guarded([&]() -> ViStatus {
    const NextLibrary* const library = NextLibrary::Get();
    if (library == nullptr) return kSystemError;
    // The library that made the event closes it when the handler has returned.
    const ViObject number = Handles().Add(std::make_shared<ForeignObject>(handler.manager, *library, event));
    if (number == 0) return kSuccess;  // the program closed its manager: it has no more use for events
    const ViStatus status = handler.function(handler.session, type, number, handler.user);
    Handles().Remove(number);
    return status;
  });
}

}  // namespace

Objects& Handles() {
  static auto* const handles = new Objects;
  return *handles;
}

ViStatus HandOut(std::shared_ptr<Object> object, ViObject& handle) {
  handle = Handles().Add(object);
  if (handle != 0) return kSuccess;
  object->Close();
  return kInvalidObject;
}

bool Forked() {
  return forked.load(std::memory_order_relaxed);
}

const NextLibrary* NextLibrary::Get() {
  static std::mutex lock;
  static NextLibrary library;
  const std::lock_guard hold(lock);
  if (library.m_library != nullptr) return &library;
  const char* const file = std::getenv("ZLT_VISA_NEXT");
  if (file == nullptr || *file == '\0') return nullptr;
  void* const loaded = LoadVisaLibrary(file);
  const void* const open = loaded != nullptr ? dlsym(loaded, "viOpen") : nullptr;
  if (open == nullptr) {
    SayOnce("ZLT_VISA_NEXT can't be loaded: " + LoaderMessage() +
            ". Name the file of the VISA library that has your other instruments.");
    return nullptr;
  }
  if (IsThisLibrary(open)) {
    SayOnce(
        "ZLT_VISA_NEXT names this library itself. Name the file of the VISA library that has your other "
        "instruments.");
    return nullptr;
  }
  library.m_library = loaded;
  return &library;
}

void* NextLibrary::Find(const char* function) const {
  return dlsym(m_library, function);
}

ViStatus ForeignObject::InstallHandler(ViSession session, ViUInt32 event, ViHandler function, void* user) {
  const std::lock_guard hold(m_lock);
  m_handlers.push_back(std::make_unique<Handler>(Handler{session, Manager(), event, function, user}));
  return Call("viInstallHandler", event, &CallHandler, static_cast<void*>(m_handlers.back().get()));
}

/// A record stays until the session ends: its handler may be running.
ViStatus ForeignObject::UninstallHandler(ViUInt32 event, ViHandler function, void* user) {
  ViStatus status = Error(0x29);  // INV_HNDLR_REF
  const std::lock_guard hold(m_lock);
  for (const std::unique_ptr<Handler>& handler : m_handlers) {
    // No function stands for all that have the same user's value (VPP-4.3 section 3.7.3.4).
    const bool meant = function == nullptr || handler->function == function;
    if (!meant || handler->event != event || handler->user != user) continue;
    status = Call("viUninstallHandler", event, &CallHandler, static_cast<void*>(handler.get()));
  }
  return status;
}

ViStatus ManagerSession::Close() {
  const std::lock_guard hold(m_lock);
  if (m_next != nullptr) m_next->Close();
  m_next = nullptr;
  return kSuccess;
}

std::string ManagerSession::Generator(const std::string& name) const {
  if (std::string own = GeneratorName(name); !own.empty()) return own;
  const Aliases::Alias* const alias = m_aliases.Find(name);
  return alias != nullptr ? alias->generator : std::string();
}

std::shared_ptr<ForeignObject> ManagerSession::Next() {
  const std::lock_guard hold(m_lock);
  if (m_asked) return m_next;
  m_asked = true;
  const NextLibrary* const library = NextLibrary::Get();
  StoredNumber manager;
  if (library != nullptr && library->Call("viOpenDefaultRM", manager.Place()) >= kSuccess) {
    m_next = std::make_shared<ForeignObject>(0, *library, manager.Value());
  }
  return m_next;
}

bool FindList::Next(std::string& name) {
  const std::lock_guard hold(m_lock);
  if (m_at == m_names.size()) return false;
  name = m_names[m_at++];
  return true;
}

}  // namespace visa
