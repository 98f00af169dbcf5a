// The generator as the tool sees it: one message and its answer, over a session of its own or a running server.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "client/MessageExchange.h"

/// Begin, Await and InStep are those of scpi_zlt::MessageExchange.
class Instrument {
 public:
  virtual ~Instrument() = default;
  virtual scpi_zlt::Answer Begin(const std::string& message) = 0;
  virtual scpi_zlt::Answer Await(std::chrono::milliseconds timeout) = 0;
  virtual bool InStep() const = 0;
  /// What an answer with Outcome::kFailed means.
  virtual std::string FailureText(const scpi_zlt::Answer& answer) const = 0;
  /// True if a sweep ends with this object.
  virtual bool EndsSweep() const = 0;
};

struct InstrumentOptions {
  std::string resource;  ///< a VISA resource name followed by ::ZLT
  std::string server;    ///< HOST[:PORT] of a running server, in place of a resource
  std::chrono::milliseconds open_timeout{60000};
};

/// Opens the instrument, and says so on a terminal if that takes longer than a second and a half. Throws ToolError with
/// a reason and a remedy.
std::unique_ptr<Instrument> OpenInstrument(const InstrumentOptions& options);
