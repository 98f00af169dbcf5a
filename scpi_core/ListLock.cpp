#include "scpi_core/ListLock.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kOthersWait = 0x80000000U;

__attribute__((tls_model("initial-exec"))) constinit thread_local std::uint32_t this_thread = 0;

std::uint32_t ThisThread() {
  if (this_thread == 0) this_thread = static_cast<std::uint32_t>(syscall(SYS_gettid));
  return this_thread;
}

}  // namespace

bool ListLock::Lock(std::int64_t deadline_ns) {
  std::uint32_t owner = 0;
  if (m_owner.compare_exchange_strong(owner, ThisThread())) return true;
  for (;;) {
    owner = 0;
    if (m_owner.compare_exchange_strong(owner, ThisThread() | kOthersWait)) return true;
    const std::uint32_t awaited = owner | kOthersWait;
    if (owner != awaited && !m_owner.compare_exchange_strong(owner, awaited)) continue;
    if (!support::WaitWhile(m_owner, awaited, deadline_ns)) return false;
  }
}

void ListLock::Unlock() {
  if ((m_owner.exchange(0) & kOthersWait) != 0) support::Wake(m_owner, 1);
}

bool ListLock::IsMine() const {
  return (m_owner & ~kOthersWait) == ThisThread();
}
