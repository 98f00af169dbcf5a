// What all exported functions share: the table of handles, the way to the object or to the other library, and the rule
// that no exception leaves.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "visa/GeneratorSession.h"
#include "visa/Names.h"
#include "visa/Objects.h"
#include "visa/VisaTypes.h"

#define VISA_EXPORT extern "C" __attribute__((visibility("default")))

namespace visa {

/// All handles of the process. Never destroyed: threads may still be in it when the process ends.
Objects& Handles();

/// Gives `object` its handle, or closes it if its manager was closed meanwhile.
ViStatus HandOut(std::shared_ptr<Object> object, ViObject& handle);

/// True in a forked child: the library has no threads there, and locks may be held by threads that are not there.
bool Forked();

/// Runs an exported function's body.
template <typename Body>
ViStatus Guarded(Body body) {
  if (Forked()) return kSystemError;
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  } catch (...) {
    return kSystemError;
  }
}

/// The VISA library that ZLT_VISA_NEXT names, which has all other instruments.
class NextLibrary {
 public:
  /// Null without that variable, or, after a line on the error stream, if the library can't be used.
  static const NextLibrary* Get();

  /// Calls one of its functions; kUnknownOperation if it has none of that name.
  template <typename... Arguments>
  ViStatus Call(const char* function, Arguments... arguments) const {
    const auto address = reinterpret_cast<ViStatus (*)(Arguments...)>(Find(function));
    return address != nullptr ? address(arguments...) : kUnknownOperation;
  }

 private:
  void* Find(const char* function) const;

  void* m_library = nullptr;
};

/// Room for a handle or a count that another library stores. The generator's provider may be that library, for a
/// program that has the front among its own libraries and loads the generator's library too; it may store 64 bits.
class StoredNumber {
 public:
  ViUInt32* Place() { return reinterpret_cast<ViUInt32*>(&m_value); }
  ViUInt32 Value() const { return static_cast<ViUInt32>(m_value); }

 private:
  std::uint64_t m_value = 0;
};

/// A session, list or event of the next library, which has a number of its own there.
class ForeignObject : public Object {
 public:
  /// A handler that a program installed; the next library gets one of ours that brings its numbers to ours.
  struct Handler {
    ViSession session;
    ViObject manager;
    ViUInt32 event;
    ViHandler function;
    void* user;
  };

  ForeignObject(ViObject manager, const NextLibrary& library, ViObject handle)
      : Object(manager), m_library(library), m_handle(handle) {}

  ViStatus Close() override { return m_library.Call("viClose", m_handle); }
  template <typename... Arguments>
  ViStatus Call(const char* function, Arguments... arguments) const {
    return m_library.Call(function, m_handle, arguments...);
  }
  const NextLibrary& Library() const { return m_library; }

  ViStatus InstallHandler(ViSession session, ViUInt32 event, ViHandler function, void* user);
  ViStatus UninstallHandler(ViUInt32 event, ViHandler function, void* user);

 private:
  const NextLibrary& m_library;
  const ViObject m_handle;
  std::mutex m_lock;
  std::vector<std::unique_ptr<Handler>> m_handlers;
};

/// A session of the resource manager. Knows the aliases as they were when it was opened.
class ManagerSession : public Object {
 public:
  ManagerSession() : Object(0), m_aliases(Aliases::Read()) {}

  ViStatus Close() override;
  const Aliases& Names() const { return m_aliases; }
  /// The generator that `name` means, by its own name or an alias; empty for all other names.
  std::string Generator(const std::string& name) const;
  /// The next library's manager; null if there is none.
  std::shared_ptr<ForeignObject> Next();
  /// The status of a name that nobody knows.
  ViStatus NotFound() const { return m_aliases.HasMistakes() ? kInvalidSetup : kResourceNotFound; }

 private:
  const Aliases m_aliases;
  std::mutex m_lock;
  bool m_asked = false;
  std::shared_ptr<ForeignObject> m_next;
};

/// What viFindNext still has to give.
class FindList : public Object {
 public:
  FindList(ViObject manager, std::vector<std::string> names) : Object(manager), m_names(std::move(names)) {}
  /// False past the end.
  bool Next(std::string& name);

 private:
  std::mutex m_lock;
  std::vector<std::string> m_names;
  std::size_t m_at = 0;
};

/// Runs `own` if `handle` is a session on a generator, or calls the function of that name of the next library.
template <typename Own, typename... Arguments>
ViStatus OnSession(const char* function, ViObject handle, Own own, Arguments... arguments) {
  return Guarded([&]() -> ViStatus {
    const std::shared_ptr<Object> object = Handles().Find<Object>(handle);
    if (auto* const session = dynamic_cast<GeneratorSession*>(object.get())) return own(*session);
    if (const auto* const foreign = dynamic_cast<ForeignObject*>(object.get())) {
      return foreign->Call(function, arguments...);
    }
    return kInvalidObject;
  });
}

}  // namespace visa
