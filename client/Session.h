// A session of scpi_zlt.h with an owner, and what its statuses mean in words for a person.
#pragma once

#include <chrono>
#include <string>

namespace scpi_zlt {

/// Closes its session when it is destroyed, which takes a second or more.
class Session {
 public:
  Session() = default;
  ~Session() { Close(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Opens `resource`, a VISA resource name followed by ::ZLT. A VISA status as skOpen has it. A session that was open
  /// is closed first.
  long Open(const std::string& resource, std::chrono::milliseconds timeout);
  void Close();

  bool IsOpen() const { return m_handle != 0; }
  /// For the functions of scpi_zlt.h; 0 if none is open.
  unsigned long Handle() const { return m_handle; }

 private:
  unsigned long m_handle = 0;
};

/// A status of skWrite, skRead or an attribute in words, with a remedy where there is one. No full stop.
std::string StatusText(long status);

/// Why skOpen failed: "cannot open "SIM0::INSTR": a resource name has to end in ::ZLT, as in SIM0::INSTR::ZLT".
std::string OpenFailureText(const std::string& resource, long status, std::chrono::milliseconds timeout);

}  // namespace scpi_zlt
