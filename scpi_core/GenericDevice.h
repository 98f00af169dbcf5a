// The part of a session that is the same for every instrument: the interpreter thread with its events, the session
// attributes, and the virtual functions that an instrument overrides. All parsing, all handlers and all response text
// run on the interpreter thread; callers only move bytes in and out of the rings of CIOBuffer.
#pragma once

#include <atomic>
#include <memory>
#include <string_view>

#include "scpi_core/ShortWaits.h"
#include "scpi_core/Thread.h"
#include "scpi_core/pcore.h"
#include "scpi_core/pevents.h"
#include "scpi_core/sStatusReg.h"
#include "scpi_core/types.h"

class CIOBuffer;

class CGenericDevice : public IResponseStream, public CThreadObject {
 public:
  /// Without a session: no events, no thread.
  CGenericDevice();
  /// Starts the interpreter thread, which does nothing before the open event.
  explicit CGenericDevice(CIOBuffer* io_buffer);

  // IResponseStream, on the interpreter thread.
  int SendResponse(const char* text, int length) override;
  int RaiseError(int, const char*) override { return 0; }
  int SendEnd() override;

  void ThreadCycle() override;
  /// Stops the thread if it still runs. Before a device with overridden functions is deleted, its thread must be
  /// stopped.
  ~CGenericDevice() override;

  virtual const char* GetDeviceAddress() { return ""; }
  /// 0 for a working connection, or the status that skOpen returns. On the interpreter thread.
  virtual long OpenConnection(const char* /*address*/, unsigned int /*timeout*/) { return 0; }
  /// Must be safe to call after a failed open. On the interpreter thread.
  virtual long CloseConnection() { return 0; }
  /// Ends the threads beside the interpreter, which has left its cycle. May be called again.
  virtual void StopRun() {}
  /// True on a thread of this device: such a thread can't wait for the device to end.
  virtual bool RunsOnThisThread() const { return IsThisThread(); }

  // Session attributes. VI_ATTR_TMO_VALUE is set by value, VI_ATTR_TERMCHAR through a pointer to a 32-bit word; odd,
  // and kept: programs pass a pointer for the one and a number for the other. A state below 4096 can't be a pointer:
  // VI_ERROR_NSUP_ATTR_STATE.
  long GetAttribute(unsigned long id, void* result);
  long SetAttribute(unsigned long id, unsigned long state);

  void SetClsEvent() { neosmart::SetEvent(m_cls_event); }
  /// The caller has refused names that are longer than the field.
  void SetDeviceAddress(std::string_view address);
  static constexpr std::size_t kAddressSize = 256;

 protected:
  neosmart::neosmart_event_t ClsEvent() const { return m_cls_event; }

 private:
  friend class CIOBuffer;

  void CreateEvents();
  void DestroyEvents();
  void Serve();
  void Open();
  void Close();
  void TakeMessage();
  void Interpret(int length);

  char m_device_address[kAddressSize] = {};
  sStatusReg m_status_reg;
  CIOBuffer* m_io_buffer = nullptr;  ///< the owning session
  std::atomic<bool> m_connected{false};
  std::atomic<long> m_open_result{0};
  std::atomic<char> m_termchar{'\n'};
  bool m_answered = false;  ///< the message under way has left a response; guarded by the output lock
  std::atomic<bool> m_message_running{false};
  std::unique_ptr<char[]> m_message;  ///< copy of the message that runs; one byte more than the ring holds
  sUnitCommand m_unit;                ///< the unit of it that runs
  neosmart::neosmart_event_t m_response_event = nullptr;  ///< a complete response may be waiting
  neosmart::neosmart_event_t m_command_event = nullptr;   ///< a complete message waits
  neosmart::neosmart_event_t m_open_event = nullptr;      ///< request: open the connection
  neosmart::neosmart_event_t m_close_event = nullptr;     ///< request: close the connection
  neosmart::neosmart_event_t m_open_done_event = nullptr;
  neosmart::neosmart_event_t m_close_done_event = nullptr;
  neosmart::neosmart_event_t m_idle_event = nullptr;  ///< set after each message once the session is closing
  neosmart::neosmart_event_t m_wait_events[4] = {};   ///< command, open, close, stop: the order is the priority
  ShortWaits m_waits;                                 ///< of the interpreter, for messages
  CSafeObject m_input_lock;                           ///< guards the input ring
  CSafeObject m_output_lock;                          ///< guards the output ring
  std::atomic<int> m_timeout{1000};                   ///< milliseconds
  std::atomic<unsigned int> m_open_timeout{0};        ///< milliseconds

  // Events that nothing waits on.
  neosmart::neosmart_event_t m_ready_event = nullptr;
  neosmart::neosmart_event_t m_cls_event = nullptr;  ///< a written message held "*CLS"
};

/// Makes the instrument of a session. Defined beside the instrument; its first call also fills the command tree.
CGenericDevice* CreateDevice(CIOBuffer* io_buffer);
