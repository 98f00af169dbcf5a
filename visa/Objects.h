// The handles that a program holds: one table for managers, sessions, lists and the sessions of other libraries, so
// that each number is one object only, whichever library it belongs to.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "visa/VisaTypes.h"

namespace visa {

/// What a handle stands for.
class Object {
 public:
  explicit Object(ViObject manager) : m_manager(manager) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  /// The manager that opened it; 0 for a manager.
  ViObject Manager() const { return m_manager; }
  /// Ends what it stands for. Called once, when the handle is gone already.
  virtual ViStatus Close() { return kSuccess; }

 private:
  ViObject m_manager;
};

class Objects {
 public:
  /// 0 if the manager that opened it was closed meanwhile: nobody would close the object then.
  ViObject Add(std::shared_ptr<Object> object);
  /// Null for a number that is no handle, or one of another kind.
  template <typename Kind>
  std::shared_ptr<Kind> Find(ViObject handle) {
    const std::lock_guard hold(m_lock);
    const auto found = m_objects.find(handle);
    return found == m_objects.end() ? nullptr : std::dynamic_pointer_cast<Kind>(found->second);
  }
  /// Takes the object out of the table; one caller wins. Null for a number that is no handle.
  std::shared_ptr<Object> Remove(ViObject handle);
  /// Takes out all that `manager` opened.
  std::vector<std::shared_ptr<Object>> RemoveOf(ViObject manager);

 private:
  std::mutex m_lock;
  ViObject m_next = 1;
  std::unordered_map<ViObject, std::shared_ptr<Object>> m_objects;
};

}  // namespace visa
