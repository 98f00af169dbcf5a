// The instrument of the session tests: a handful of commands, and an open and a message that a test can hold up.
//
//   *IDN?   answers "fake" and what came before        HOLD    keeps the interpreter until Release
//   LONG?   answers 10 bytes with the line end          BOOM    throws
//   BIG?    answers more than the ring holds            SET     does nothing but count
//   WIDE?   answers half a ring of "#"
#pragma once

#include <atomic>
#include <string>

#include "scpi_core/ResourceManager.h"

namespace test {

struct World {
  World() = default;
  ~World() {
    neosmart::DestroyEvent(entered);
    neosmart::DestroyEvent(release);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  std::atomic<long> open_result{0};
  std::atomic<bool> no_memory{false};  ///< no device can be made
  std::atomic<bool> hold_open{false};  ///< the next opens wait for Release, or for a stop
  std::atomic<int> opened{0};
  std::atomic<int> closed{0};
  std::atomic<int> deleted{0};
  std::atomic<int> sets{0};
  std::atomic<int> errors{0};
  std::atomic<int> last_error{0};
  std::atomic<bool> stopped{false};  ///< a stop released a held message or open
  neosmart::neosmart_event_t entered = neosmart::CreateEvent(false, false);
  neosmart::neosmart_event_t release = neosmart::CreateEvent(false, false);

  /// Blocks until a HOLD or a held open is running.
  void AwaitEntered() { neosmart::WaitForEvent(entered, neosmart::kInfinite); }
  void Release() { neosmart::SetEvent(release); }
};

/// What the devices of one test share. A fresh one for each test, by Reset.
World& TheWorld();
void ResetWorld();

class FakeDevice : public CGenericDevice {
 public:
  explicit FakeDevice(CIOBuffer* io_buffer) : CGenericDevice(io_buffer) {}
  ~FakeDevice() override { ++TheWorld().deleted; }
  long OpenConnection(const char* address, unsigned int timeout) override;
  long CloseConnection() override;
  int RaiseError(int code, const char*) override;
  /// Waits for Release or a stop.
  void Hold();
  bool ClsSeen() const { return neosmart::WaitForEvent(ClsEvent(), 0) == 0; }

  std::string address;
};

}  // namespace test
