#include "tools/Instrument.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "scpi_zlt/scpi_zlt.h"

#include "client/Session.h"
#include "client/SocketExchange.h"
#include "tools/Library.h"
#include "tools/ToolError.h"

namespace {

using scpi_zlt::Answer;
using std::chrono::milliseconds;

/// A failed open takes a little over a second by design; only what takes longer is worth a word.
constexpr milliseconds kOpensWithoutAWord{1500};

/// On a terminal, says what is waited for if it lives for too long.
class OpeningNotice {
 public:
  OpeningNotice(const std::string& name, milliseconds timeout)
      : m_thread([this, &name, timeout](const std::stop_token& stop) {
          std::unique_lock lock(m_mutex);
          if (m_stopped.wait_for(lock, stop, kOpensWithoutAWord, [&stop] { return stop.stop_requested(); })) return;
          if (ShowsProgress())
            Warn("still opening \"" + name + "\", for at most " + std::to_string(timeout.count()) + " ms");
        }) {}

 private:
  std::mutex m_mutex;
  std::condition_variable_any m_stopped;
  std::jthread m_thread;
};

class SessionInstrument : public Instrument {
 public:
  explicit SessionInstrument(const InstrumentOptions& options) {
    LoadLibrary(options.resource);
    const OpeningNotice notice(options.resource, options.open_timeout);
    const long status = m_session.Open(options.resource, options.open_timeout);
    if (status != VI_SUCCESS) {
      throw ToolError(scpi_zlt::OpenFailureText(options.resource, status, options.open_timeout), kNoInstrument);
    }
    m_exchange = scpi_zlt::MessageExchange(m_session.Handle());
  }

  Answer Begin(const std::string& message) override { return m_exchange.Begin(message); }
  Answer Await(milliseconds timeout) override { return m_exchange.Await(timeout); }
  bool InStep() const override { return m_exchange.InStep(); }
  std::string FailureText(const Answer& answer) const override { return scpi_zlt::StatusText(answer.status); }
  bool EndsSweep() const override { return true; }

 private:
  scpi_zlt::Session m_session;
  scpi_zlt::MessageExchange m_exchange{0};
};

class ServedInstrument : public Instrument {
 public:
  explicit ServedInstrument(const InstrumentOptions& options) {
    const OpeningNotice notice(options.server, options.open_timeout);
    const std::string failure = m_exchange.Connect(options.server, options.open_timeout);
    if (failure.empty()) return;
    throw ToolError("cannot reach a server at \"" + options.server + "\": " + failure +
                        "; start one with: scpi-zlt serve RESOURCE --raw",
                    kNoInstrument);
  }

  Answer Begin(const std::string& message) override { return m_exchange.Begin(message); }
  Answer Await(milliseconds timeout) override { return m_exchange.Await(timeout); }
  bool InStep() const override { return m_exchange.InStep(); }
  std::string FailureText(const Answer&) const override { return m_exchange.LossText(); }
  bool EndsSweep() const override { return false; }

 private:
  scpi_zlt::SocketExchange m_exchange;
};

}  // namespace

std::unique_ptr<Instrument> OpenInstrument(const InstrumentOptions& options) {
  if (!options.server.empty()) return std::make_unique<ServedInstrument>(options);
  return std::make_unique<SessionInstrument>(options);
}
