// Who may use the instrument: the one table of locks over all doors, as IVI-6.1 clause 2.2 and VXI-11 clause B.5.3 have
// define them. Plain state: no waiting, no clock; the broker adds both.
//
//   no lock      every client may use it
//   exclusive    only its holder
//   shared       only clients that hold the lock of this key
//   both         of the holders of the shared lock, only the one that holds the exclusive lock too
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace server {

/// A client of the broker; never 0, never used twice.
using ClientId = std::uint64_t;

class LockTable {
 public:
  enum class Request {
    kGranted,
    kHeld,     ///< an error: the client holds this kind already, or asks for a shared lock on top of its exclusive one
    kWaiting,  ///< others hold locks that exclude it
  };
  enum class Release { kExclusive, kShared, kNone };

  Request AskExclusive(ClientId client);
  Request AskShared(ClientId client, std::string_view key);
  /// Releases the exclusive lock if the client holds it, else the shared one; returns which it was.
  Release GiveUp(ClientId client);
  /// Releases all locks of the client. True if it held any.
  bool Drop(ClientId client);

  /// False while other clients' locks keep this one out.
  bool MayUse(ClientId client) const;
  bool HoldsAny(ClientId client) const { return client == m_exclusive || m_shared.contains(client); }
  bool Exclusive() const { return m_exclusive != 0; }
  /// How many clients hold a lock of either kind.
  std::size_t Holders() const { return m_shared.size() + (Exclusive() && !m_shared.contains(m_exclusive) ? 1 : 0); }

 private:
  ClientId m_exclusive = 0;  ///< 0: no client
  std::set<ClientId> m_shared;
  std::string m_key;  ///< key of the shared lock; unused while nobody holds it
};

}  // namespace server
