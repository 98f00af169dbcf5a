// The provider's functions with one width for everything. Statuses are the low 32 bits, sign-extended. Sessions, counts
// and attributes go through zeroed variables of 8 bytes, so a provider may store 32 or 64 bits.
//
// Nothing else calls the vi functions. A count never exceeds the number of bytes asked for.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "protocol/visa.h"

namespace provider {

/// Sign-extended from 32 bits, as all statuses are.
constexpr long ToStatus(unsigned long raw) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(raw));
}

inline long OpenDefaultRM(unsigned long& manager) {
  std::uint64_t stored = 0;
  const long status = ToStatus(static_cast<unsigned long>(viOpenDefaultRM(&stored)));
  manager = stored;
  return status;
}

inline long Open(unsigned long manager, const char* name, unsigned long access_mode, unsigned long timeout_ms,
                 unsigned long& session) {
  std::uint64_t stored = 0;
  const long status = ToStatus(static_cast<unsigned long>(viOpen(manager, name, access_mode, timeout_ms, &stored)));
  session = stored;
  return status;
}

inline long Close(unsigned long session) {
  return ToStatus(static_cast<unsigned long>(viClose(session)));
}

inline long Clear(unsigned long session) {
  return ToStatus(static_cast<unsigned long>(viClear(session)));
}

/// `got` is set on every outcome: a time-out may come with bytes.
inline long Read(unsigned long session, std::span<unsigned char> buffer, unsigned int& got) {
  std::uint64_t stored = 0;
  const long status = ToStatus(static_cast<unsigned long>(viRead(session, buffer.data(), buffer.size(), &stored)));
  got = static_cast<unsigned int>(std::min<std::uint64_t>(stored, buffer.size()));
  return status;
}

inline long Write(unsigned long session, std::span<const unsigned char> bytes) {
  std::uint64_t stored = 0;
  return ToStatus(static_cast<unsigned long>(viWrite(session, bytes.data(), bytes.size(), &stored)));
}

inline long GetTimeOut(unsigned long session, unsigned long& milliseconds) {
  std::uint64_t stored = 0;
  const long status = ToStatus(static_cast<unsigned long>(viGetAttribute(session, VI_ATTR_TMO_VALUE, &stored)));
  milliseconds = stored;
  return status;
}

inline long SetTimeOut(unsigned long session, unsigned long milliseconds) {
  return ToStatus(static_cast<unsigned long>(viSetAttribute(session, VI_ATTR_TMO_VALUE, milliseconds)));
}

}  // namespace provider
