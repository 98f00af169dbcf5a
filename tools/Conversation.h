// What a person says to an instrument and hears from it: opens it, sends one message after the other, reports the
// answers, and complains on the error stream about what went wrong.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Instrument.h"
#include "tools/Interruption.h"
#include "tools/PacketWatch.h"
#include "tools/Report.h"

struct ConversationOptions {
  InstrumentOptions instrument;
  std::chrono::milliseconds answer_timeout{10000};
  bool ask_errors = true;  ///< after each message, for what it left in the error queue
  bool verify = false;     ///< after each message, whether the instrument holds what was asked for
  ReportForm form = ReportForm::kText;
  bool rehearsal = false;  ///< the instrument is a simulated one, for this conversation only
};

class Conversation {
 public:
  /// Opens the instrument; throws ToolError as OpenInstrument does. Watches for interruptions from then on: one that
  /// comes during opening ends the process at once, with a line about the RF output.
  Conversation(const ConversationOptions& options, Interruption& interruption);

  /// Sends one line and reports its answer; an empty line, and one that begins with "#", is passed over. If the message
  /// before it is late, waits for that first and says what it answered. Throws ToolError if nothing more can be said to
  /// the instrument, or the answer cannot be printed. Returns early when the person interrupts. `place`, as "FILE:3",
  /// is put in front of complaints. False if something was wrong with the message.
  bool Say(const std::string& message, const std::string& place = "");

  /// The answer of a query that is not reported; nothing if there was none in time or the person interrupted.
  std::optional<std::string> Ask(const std::string& query);

  /// The answer of a query without which nothing goes on. Throws Interrupted, or ToolError with `consequence` if there
  /// is none in time.
  std::string Demand(const std::string& query, const std::string& consequence);

  /// Sends these without a report, after waiting for what is outstanding, whether the person has interrupted or not.
  /// Says so if one is not done.
  void Conclude(const std::vector<std::string>& messages);

  /// The state in which the instrument is left, for the end of a complaint: whether the RF output is on. Asks for it,
  /// but not for long.
  std::string OutputText();

  /// The same after an interruption, and what becomes of a sweep.
  void SayWhatIsLeft();

  /// True if a message had no answer in time, was refused, or left an error.
  bool Failed() const { return m_failed; }

 private:
  scpi_zlt::Answer Await(std::chrono::milliseconds timeout);
  scpi_zlt::Answer Exchange(const std::string& message, std::chrono::milliseconds timeout);
  void Take(const scpi_zlt::Answer& answer, Said& said);
  void GetInStep(Said& said);
  void ShowErrors(const std::string& message, Said& said);
  std::string WithinTimeout() const;
  void Verify(Said& said);
  void ReadBack(const std::string& message, Said& said);
  void Complain(const std::string& subject, const std::string& what, Said& said);

  ConversationOptions m_options;
  Interruption& m_interruption;
  std::optional<PacketWatch> m_watch;         ///< to verify
  std::vector<std::string> m_pulse_settings;  ///< to verify again when they are sent
  std::unique_ptr<Instrument> m_instrument;
  Report m_report;
  std::string m_place;
  std::string m_late;  ///< the message that is outstanding
  bool m_failed = false;
};

/// True if a line says nothing: it is empty or a comment.
bool IsPassedOver(const std::string& line);
