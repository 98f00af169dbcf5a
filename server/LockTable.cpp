#include "server/LockTable.h"

namespace server {

LockTable::Request LockTable::AskExclusive(ClientId client) {
  if (m_exclusive == client) return Request::kHeld;
  if (m_exclusive != 0 || !(m_shared.empty() || m_shared.contains(client))) return Request::kWaiting;
  m_exclusive = client;
  return Request::kGranted;
}

LockTable::Request LockTable::AskShared(ClientId client, std::string_view key) {
  if (HoldsAny(client)) return Request::kHeld;
  // If the holder of the exclusive lock shares too, others may still join the shared lock with its key.
  if (m_shared.empty() ? m_exclusive != 0 : m_key != key) return Request::kWaiting;
  m_key = key;
  m_shared.insert(client);
  return Request::kGranted;
}

LockTable::Release LockTable::GiveUp(ClientId client) {
  if (m_exclusive == client) {
    m_exclusive = 0;
    return Release::kExclusive;
  }
  return m_shared.erase(client) > 0 ? Release::kShared : Release::kNone;
}

bool LockTable::Drop(ClientId client) {
  const bool held = HoldsAny(client);
  if (m_exclusive == client) m_exclusive = 0;
  m_shared.erase(client);
  return held;
}

bool LockTable::MayUse(ClientId client) const {
  if (m_exclusive != 0) return m_exclusive == client;
  return m_shared.empty() || m_shared.contains(client);
}

}  // namespace server
