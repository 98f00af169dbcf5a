// A provider for unit tests: it defines the eight vi functions, answers them as the test has set and records every call
// as text.
//
// Reads come from a script (exact bytes and status, read by read) or from a responder (request bytes in, reply bytes
// out, read as a stream). A read that finds nothing times out and moves the driven clock on by the session's time-out.
// One per test: while it exists, it is the provider.
//
// Trace: "T500 R16:10/TMO R6 W(SET P_MODE 2.0 [1]) C": attribute set, read wanted:got/status, write, clear. A silent
// slice is "R6" alone, "R16x21" is 21 of them in a row. Lines(): the requests alone, "SET P_MODE 2.0 [1]".
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<unsigned char>;

/// "AA 55 03" as bytes. Skips everything but hexadecimal digits.
Bytes FromHex(const std::string& text);
/// Bytes as "AA 55 03".
std::string ToHex(std::span<const unsigned char> bytes);

/// "TMO" for VI_ERROR_TMO, sign-extended or not; hexadecimal digits for a status that has no name here.
std::string StatusName(long status);

/// A request as a line: command, parameter, format, the values on the wire, the name of a file.
std::string Describe(std::span<const unsigned char> request);

/// The reply of an instrument that takes everything: the request with this status. With `values`: these in the
/// request's format.
Bytes Answer(std::span<const unsigned char> request, std::int16_t status = 0);
Bytes Answer(std::span<const unsigned char> request, std::int16_t status, const std::vector<double>& values);
/// A reply that is a head alone.
Bytes BareAnswer(std::span<const unsigned char> request, std::int16_t status);

class ScriptedProvider {
 public:
  using Responder = std::function<Bytes(std::span<const unsigned char> request)>;

  ScriptedProvider();
  ~ScriptedProvider();
  ScriptedProvider(const ScriptedProvider&) = delete;
  ScriptedProvider& operator=(const ScriptedProvider&) = delete;

  /// The next reads, in order. When they are used up, the responder answers, if there is one.
  void QueueRead(Bytes bytes, long status = 0) { m_script.push_back({std::move(bytes), status}); }
  /// Queues the reads of a trace that have bytes ("R16:10/TMO"), with the bytes of `reply` in order.
  void QueueReadsOf(const std::string& trace, const Bytes& reply);
  /// An empty answer is no answer.
  void Respond(Responder responder) { m_responder = std::move(responder); }

  /// Calls `watcher` with every request as it is written, and with no bytes when the link is cleared.
  void Watch(std::function<void(std::span<const unsigned char> request)> watcher) { m_watcher = std::move(watcher); }

  /// Statuses of the calls, sign-extended or not; `writes` are used up one by one, then writes succeed.
  std::deque<long> writes;
  long clear_status = 0;
  long set_status = 0;
  long open_manager_status = 0;
  long open_status = 0;
  long close_status = 0;
  /// Statuses and out variables have 64 bits; if false only 32, and the rest of a status is rubbish.
  bool wide = true;
  unsigned long time_out = 1000;

  std::string Trace() const;
  std::vector<std::string> Lines() const;
  std::vector<Bytes> Requests() const;
  /// The lines since the last call.
  std::vector<std::string> TakeLines();
  std::size_t WriteCount() const;

  // For the vi functions.
  long Read(std::span<unsigned char> buffer, void* count);
  long Write(std::span<const unsigned char> bytes, void* count);
  long Clear();
  long SetTimeOut(unsigned long milliseconds);
  void Store(void* out, std::uint64_t value) const;
  long Status(long status) const;
  long Note(std::string text, long status);

 private:
  struct ReadStep {
    Bytes bytes;
    long status;
  };
  struct Call {
    std::string text;
    int times;
  };
  void Record(const std::string& text, bool repeats = false);

  mutable std::mutex m_mutex;
  std::deque<ReadStep> m_script;
  Responder m_responder;
  std::function<void(std::span<const unsigned char>)> m_watcher;
  std::deque<unsigned char> m_stream;
  std::vector<Call> m_calls;
  std::vector<Bytes> m_requests;
  std::vector<std::string> m_lines;
  std::size_t m_taken = 0;
};

}  // namespace test
