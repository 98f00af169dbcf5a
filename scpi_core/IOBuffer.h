// One session: two rings of characters and their instrument. The bodies of skRead and skWrite are here.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include "scpi_core/CharBuff.h"
#include "scpi_core/GenericDevice.h"
#include "scpi_core/ShortWaits.h"
#include "scpi_core/types.h"

class CIOBuffer : public IResponseStream {
 public:
  /// Creates the instrument, whose interpreter thread runs from then on. May throw.
  CIOBuffer();
  /// Stops the interpreter if it still runs, and only then touches the instrument. This closes the connection too.
  virtual ~CIOBuffer();
  CIOBuffer(const CIOBuffer&) = delete;
  CIOBuffer& operator=(const CIOBuffer&) = delete;

  // The parser always gets the device as its stream; these do nothing.
  int SendResponse(const char*, int) override { return 0; }
  int RaiseError(int, const char*) override { return 0; }
  int SendEnd() override { return 0; }

  unsigned long GetID() const { return m_id; }
  void SetID(unsigned long id) { m_id = id; }
  CGenericDevice& Device() { return *m_device; }

  /// Stores bytes; a complete message wakes the interpreter. Statuses as skWrite has them.
  long Write(const unsigned char* text, unsigned long count, unsigned long* written);
  /// Waits for a response and takes at most `size` bytes of it. Statuses as skRead has them.
  long Read(unsigned char* buffer, unsigned long size, unsigned long* got);

  /// Has the interpreter open the connection, and waits for it as long as `timeout` (milliseconds, unsigned) says.
  long OpenConnection(const char* address, unsigned int timeout);
  /// Has the interpreter close the connection, and waits for it up to the time-out of the open. 0, or the wait's
  /// result. A stop ends both waits.
  int CloseConnection();

  /// From here on no call is let in; a blocked Read returns.
  void BeginClose();
  bool IsClosing() const { return m_closing; }
  /// Waits until no complete message is left and none runs, or until the deadline (of support/Clock.h).
  void Drain(std::int64_t deadline_ns);

  /// Looks for common commands in the bytes of one write. "*CLS" directly before the line end sets the device's event
  /// at once. False if there is none, or if the first known one comes last; nothing uses the result.
  bool CheckIEEECommand(const char* text, int length);

  /// Stops the interpreter (one second) and then the run; no thread calls the provider after that.
  void StopThreads();
  /// Closes the connection on the caller's thread, when the threads have been stopped.
  void CloseLink();

  /// The stage of its life; ResourceManager.h says what holds in each.
  enum Stage : std::uint32_t { kOpening, kOpen, kClosing, kDraining, kAtRest, kGone, kAbandoned };
  support::Word stage{kOpening};
  support::Word users{0};           ///< calls under way; changed under the list lock
  bool freed_by_last_user = false;  ///< guarded by the list lock
  std::thread closer;               ///< brings it to rest

 private:
  friend class CGenericDevice;

  /// Under the output lock, so that a running message cannot end between the two tests.
  bool IsIdle() const { return !m_input.CommandComplete() && !m_device->m_message_running; }
  long Classify(const unsigned char* buffer, unsigned long size, unsigned long got) const;

  unsigned long m_id = 0;
  std::atomic<bool> m_closing{false};
  ShortWaits m_reads;
  CCharBuff m_output;  ///< the interpreter writes, callers read
  CCharBuff m_input;   ///< callers write, the interpreter reads
  CGenericDevice* m_device = nullptr;
};
