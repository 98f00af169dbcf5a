#include "visa/Objects.h"

#include <utility>

namespace visa {

ViObject Objects::Add(std::shared_ptr<Object> object) {
  const std::lock_guard hold(m_lock);
  if (object->Manager() != 0 && !m_objects.contains(object->Manager())) return 0;
  while (m_next == 0 || m_objects.contains(m_next)) ++m_next;
  m_objects.emplace(m_next, std::move(object));
  return m_next++;
}

std::shared_ptr<Object> Objects::Remove(ViObject handle) {
  const std::lock_guard hold(m_lock);
  auto node = m_objects.extract(handle);
  return node.empty() ? nullptr : std::move(node.mapped());
}

std::vector<std::shared_ptr<Object>> Objects::RemoveOf(ViObject manager) {
  const std::lock_guard hold(m_lock);
  std::vector<std::shared_ptr<Object>> removed;
  for (auto entry = m_objects.begin(); entry != m_objects.end();) {
    if (entry->second->Manager() == manager) {
      removed.push_back(std::move(entry->second));
      entry = m_objects.erase(entry);
    } else {
      ++entry;
    }
  }
  return removed;
}

}  // namespace visa
