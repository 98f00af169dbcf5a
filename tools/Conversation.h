// What a person says to an instrument and hears from it: opens a session, sends one message after the other, prints the
// answers, and complains on the error stream about what went wrong.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

#include "client/MessageExchange.h"
#include "client/Session.h"
#include "tools/Interruption.h"

/// What ends the program, in words for the terminal.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ConversationOptions {
  std::string resource;
  std::chrono::milliseconds answer_timeout{10000};
  std::chrono::milliseconds open_timeout{60000};
  bool ask_errors = true;  ///< after each message, for what it left in the error queue
};

class Conversation {
 public:
  /// Opens the instrument, and says so if that takes longer than a second and a half. Throws ToolError with a reason
  /// and a remedy. Watches for interruptions from then on: one that comes during opening ends the process at once.
  Conversation(const ConversationOptions& options, Interruption& interruption);

  /// Sends one line and prints its answer; an empty line, and one that begins with "#", is passed over. If the message
  /// before it is late, waits for that first and says what it answered. Throws ToolError if nothing more can be said to
  /// the instrument, or the answer cannot be printed. Returns early when the person interrupts.
  void Say(const std::string& message);

  /// What an interrupted conversation leaves behind: whether the RF output is on.
  void SayWhatIsLeft();

  /// True if a message had no answer in time, was refused, or left an error.
  bool Failed() const { return m_failed; }

 private:
  scpi_zlt::Answer Await(std::chrono::milliseconds timeout);
  scpi_zlt::Answer Ask(const std::string& message, std::chrono::milliseconds timeout);
  void GetInStep();
  void ShowErrors(const std::string& message);
  void Complain(const std::string& text);

  ConversationOptions m_options;
  Interruption& m_interruption;
  scpi_zlt::Session m_session;
  scpi_zlt::MessageExchange m_exchange;
  std::string m_late;  ///< the message that is outstanding
  bool m_failed = false;
};
