// One simulated instrument in time: the model behind a lock, the links that talk to it, runs that take their time or
// wait for a trigger, latency and faults.
//
// There is no thread here. A reply is made on the thread that writes the request and lies ready until it is read; a run
// ends when somebody looks after its time has come. Who waits, waits on one condition variable that every reply,
// trigger, clear and change wakes.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/GeneratorModel.h"
#include "simulator/Settings.h"

namespace sim {

inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kErrorInvalidObject = static_cast<std::int32_t>(0xBFFF000E);
inline constexpr std::int32_t kErrorNotFound = static_cast<std::int32_t>(0xBFFF0011);
inline constexpr std::int32_t kErrorInvalidName = static_cast<std::int32_t>(0xBFFF0012);
inline constexpr std::int32_t kErrorTimeout = static_cast<std::int32_t>(0xBFFF0015);
inline constexpr std::int32_t kErrorUnknownAttribute = static_cast<std::int32_t>(0xBFFF001D);
inline constexpr std::int32_t kErrorInputOutput = static_cast<std::int32_t>(0xBFFF003E);
inline constexpr std::int32_t kErrorNotImplemented = static_cast<std::int32_t>(0xBFFF0081);
inline constexpr std::int32_t kErrorConnectionLost = static_cast<std::int32_t>(0xBFFF00A6);

class Instrument {
 public:
  using Clock = std::chrono::steady_clock;

  /// One session's end of the link. Guarded by the instrument's lock.
  class Link {
    friend class Instrument;
    struct Chunk {
      Bytes bytes;
      std::size_t taken = 0;
      Clock::time_point ready;
    };
    struct Run {
      Bytes request;
      std::uint64_t packet = 0;
      std::uint64_t triggers_left = 0;
      std::chrono::nanoseconds length{0};
      Clock::time_point end;
      bool rising = true;
    };
    std::deque<Chunk> m_chunks;
    std::optional<Run> m_run;
    bool m_closed = false;
  };

  Instrument(const Resource& resource);

  int Number() const { return m_number; }
  const std::string& Keys() const { return m_keys; }
  bool IsNarrow() const { return m_narrow; }

  void Attach(Link* link);
  /// Wakes whoever reads from the link; it gets kErrorInvalidObject.
  void Detach(Link* link);

  /// The request is carried out and answered here, unless it starts a run.
  std::int32_t Write(Link& link, View request);

  /// Waits until `buffer` is full or the time is over; `got` is what came in either case.
  std::int32_t Read(Link& link, std::span<std::uint8_t> buffer, std::uint32_t timeout_ms, std::size_t& got);

  /// Drops what has not been read and gives up a run.
  std::int32_t Clear(Link& link);

  /// One word of a control call: "trigger[=n]", "await=...", "mark", or key=value. Empty, or what is wrong.
  std::string Control(std::string_view word);

  /// The answer to a question; `known` is false for one that nobody understands.
  std::string Query(std::string_view what, bool& known);

 private:
  using Lock = std::unique_lock<std::mutex>;

  void StartRun(Link& link, View request, std::uint64_t packet);
  void FinishRun(Link& link, Clock::time_point now);
  void Trigger(std::uint64_t count, bool rising_edge);
  std::string StatusOfSet(std::string_view name, bool& known) const;
  void NoteSet(View request, View reply);
  Bytes AnswerWithFaults(View request, std::uint64_t packet);
  void Deliver(Link& link, Bytes reply, std::uint64_t packet);
  static std::size_t Take(Link& link, std::span<std::uint8_t> buffer, bool& early, Clock::time_point& ready);
  std::string Await(std::string_view what);
  void CountFromNow(std::string_view key);
  std::string StateText() const;
  bool IsHeld() const;

  const int m_number;
  const std::string m_keys;
  const bool m_narrow;
  std::mutex m_lock;
  std::condition_variable m_changed;
  Settings m_settings;
  GeneratorModel m_model;
  std::vector<Link*> m_links;
  std::uint64_t m_packets = 0;
  std::uint64_t m_passes = 0;
  bool m_lost = false;
  std::deque<std::string> m_record;
  std::map<int, std::int16_t> m_set_status;  ///< of the last SK_SET of each parameter
};

}  // namespace sim
