// One simulated instrument in time: the model under a lock, the links that talk to it, runs that take their time or
// wait for a trigger, latency and faults.
//
// There is no thread here. A reply is made on the thread that writes the request, and kept until it is read. A run is
// ended by the first look at it after its time has come. All waits are on one condition variable; every reply, trigger,
// clear and change wakes it.
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
  /// Wakes a blocked Read of the link; it returns VI_ERROR_INV_OBJECT.
  void Detach(Link* link);

  // Each of these three returns a VISA status (scpi_zlt.h, protocol/visa.h).

  /// Carries the request out and answers it, unless it starts a run.
  long Write(Link& link, View request);

  /// Waits until `buffer` is full or the time is over; `got` is the number of bytes that came in either case.
  long Read(Link& link, std::span<std::uint8_t> buffer, std::uint32_t timeout_ms, std::size_t& got);

  /// Drops what has not been read and gives up a run.
  long Clear(Link& link);

  /// One word of a control call: "trigger[=n]", "await=...", "mark", or key=value. Returns what is wrong, else empty.
  std::string Control(std::string_view word);

  /// The answer to a question; `known` is false if there is no such question.
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
  std::map<int, std::int16_t> m_set_status;  ///< by parameter: the reply's status to its last SK_SET
};

}  // namespace sim
