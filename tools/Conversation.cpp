#include "tools/Conversation.h"

#include <algorithm>
#include <utility>

#include "client/MessageScanner.h"
#include "tools/Lint.h"
#include "tools/ToolError.h"

namespace {

using scpi_zlt::Answer;
using scpi_zlt::Outcome;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// How often a wait for an answer looks whether the person interrupts.
constexpr milliseconds kLook{100};
/// A late message is awaited for at least this long before nothing more is sent.
constexpr milliseconds kLeastPatience{10000};
constexpr milliseconds kPatienceAtTheEnd{2000};

constexpr const char* kOpening =
    "scpi-zlt: interrupted while the instrument was opened; the RF output is off, or as it was before\n";
constexpr const char* kConnecting =
    "scpi-zlt: interrupted before the server answered; nothing was sent, the RF output is as it was before\n";

std::string WithoutLineEnd(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string Quoted(const std::string& message) {
  return "\"" + message + "\"";
}

}  // namespace

bool IsPassedOver(const std::string& line) {
  const std::size_t start = line.find_first_not_of(" \t\r");
  return start == std::string::npos || line[start] == '#';
}

Conversation::Conversation(const ConversationOptions& options, Interruption& interruption)
    : m_options(options),
      m_interruption(interruption),
      m_watch(options.verify ? std::make_optional<PacketWatch>() : std::nullopt),
      m_report(options.form) {
  const LastWords words(options.instrument.server.empty() ? kOpening : kConnecting);
  m_instrument = OpenInstrument(options.instrument);
  m_interruption.Watch();
  // Opening finds out by trying what the firmware refuses.
  if (m_watch) m_watch->Take();
}

bool Conversation::Say(const std::string& message, const std::string& place) {
  if (IsPassedOver(message)) return true;
  m_place = place;
  Said said{message, std::nullopt, {}};
  GetInStep(said);
  if (m_interruption.Happened()) return false;
  Take(Exchange(message, m_options.answer_timeout), said);
  m_report.Finished(said);
  return said.errors.empty() && !m_interruption.Happened();
}

/// Reports the answer of a message, or what came in its place.
void Conversation::Take(const Answer& answer, Said& said) {
  const std::string& message = said.message;
  switch (answer.outcome) {
    case Outcome::kComplete: {
      const std::string text = WithoutLineEnd(scpi_zlt::Tidy(message, answer.response));
      if (scpi_zlt::IsQuery(message) || !text.empty()) said.answer = text;
      if (said.answer) m_report.Answered(text);
      if (m_options.ask_errors) ShowErrors(message, said);
      if (m_options.verify) Verify(said);
      break;
    }
    case Outcome::kTimeout:
      if (m_interruption.Happened()) break;
      Complain(scpi_zlt::IsQuery(message) ? "no answer to " + Quoted(message) : "not done: " + Quoted(message),
               WithinTimeout(), said);
      break;
    case Outcome::kUnfinished:
      Complain("not sent: " + Quoted(message), " ends inside a block of data", said);
      break;
    case Outcome::kTooLong:
      Complain("not sent: a message of " + std::to_string(message.size()) + " bytes",
               ", more than " + std::to_string(scpi_zlt::kMaximumMessage - 1), said);
      break;
    case Outcome::kBusy:
    case Outcome::kFailed:
      throw ToolError(Quoted(message) + ": " + m_instrument->FailureText(answer), kNoInstrument);
  }
}

/// Waits for what is outstanding, in short pieces so that the person can interrupt.
Answer Conversation::Await(milliseconds timeout) {
  const auto end = steady_clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    Answer answer = m_instrument->Await(std::clamp(left, milliseconds(1), kLook));
    if (answer.outcome != Outcome::kTimeout || left <= kLook || m_interruption.Happened()) return answer;
  }
}

Answer Conversation::Exchange(const std::string& message, milliseconds timeout) {
  Answer answer = m_instrument->Begin(message);
  if (answer.outcome != Outcome::kComplete) return answer;
  m_late = message;
  return Await(timeout);
}

std::optional<std::string> Conversation::Ask(const std::string& query) {
  const Answer answer = Exchange(query, m_options.answer_timeout);
  if (answer.outcome == Outcome::kFailed) {
    throw ToolError(Quoted(query) + ": " + m_instrument->FailureText(answer), kNoInstrument);
  }
  if (answer.outcome != Outcome::kComplete) return std::nullopt;
  return WithoutLineEnd(scpi_zlt::Tidy(query, answer.response));
}

std::string Conversation::WithinTimeout() const {
  return " within " + std::to_string(m_options.answer_timeout.count()) + " ms (--timeout gives it longer)";
}

std::string Conversation::Demand(const std::string& query, const std::string& consequence) {
  const std::optional<std::string> answer = Ask(query);
  if (m_interruption.Happened()) throw Interrupted();
  if (!answer) {
    throw ToolError("no answer to " + Quoted(query) + WithinTimeout() + "; " + consequence, kMessageFailed);
  }
  return *answer;
}

void Conversation::GetInStep(Said& said) {
  if (m_instrument->InStep()) return;
  const milliseconds patience = std::max(kLeastPatience, m_options.answer_timeout);
  const Answer answer = Await(patience);
  if (m_interruption.Happened()) return;
  if (answer.outcome != Outcome::kComplete) {
    throw ToolError(Quoted(m_late) + " is still not done after another " + std::to_string(patience.count()) +
                        " ms; nothing more is sent",
                    kNoInstrument);
  }
  const std::string text = WithoutLineEnd(scpi_zlt::Tidy(m_late, answer.response));
  Complain("late: " + Quoted(m_late), text.empty() ? " is done now" : " answered " + text, said);
  if (m_options.ask_errors) ShowErrors(std::string(m_late), said);
}

void Conversation::ShowErrors(const std::string& message, Said& said) {
  while (!m_interruption.Happened()) {
    const std::optional<std::string> error = Ask(":SYST:ERR?");
    if (!error) {
      Complain(Quoted(message), ": no answer to \":SYST:ERR?\"", said);
      return;
    }
    if (error->empty() || error->starts_with("+0,")) return;
    Complain(Quoted(message), ": " + *error, said);
  }
}

void Conversation::Conclude(const std::vector<std::string>& messages) {
  bool done = m_instrument->Await(kLeastPatience).outcome == Outcome::kComplete;
  for (const std::string& message : messages) {
    done = done && m_instrument->Begin(message).outcome == Outcome::kComplete &&
           m_instrument->Await(kLeastPatience).outcome == Outcome::kComplete;
    if (done) continue;
    Warn("not done: " + Quoted(message));
    m_failed = true;
  }
}

/// In two ways, since most refusals queue nothing and queries answer from the session's own model.
void Conversation::Verify(Said& said) {
  for (const std::string& what : m_watch->Take()) Complain(Quoted(said.message), ": " + what, said);
  // What left an error is known to be refused.
  if (!said.errors.empty()) return;
  ReadBack(said.message, said);
  if (IsPulseSetting(said.message)) m_pulse_settings.push_back(said.message);
  if (!SendsPulseSettings(said.message)) return;
  for (const std::string& message : std::exchange(m_pulse_settings, {})) ReadBack(message, said);
}

void Conversation::ReadBack(const std::string& message, Said& said) {
  const std::optional<std::string> difference =
      ReadBackDifference(message, [this](const std::string& query) { return Ask(query); });
  if (difference) Complain(Quoted(message), ": " + *difference, said);
}

std::string Conversation::OutputText() {
  if (m_options.rehearsal) return "no real instrument was touched";
  const char* const unknown = "what the RF output does is not known";
  if (Await(kPatienceAtTheEnd).outcome != Outcome::kComplete) return unknown;
  const Answer answer = Exchange(":OUTP?", kPatienceAtTheEnd);
  if (answer.outcome != Outcome::kComplete) return unknown;
  return answer.response == "ON\n" ? "the RF output stays on" : "the RF output is off";
}

void Conversation::SayWhatIsLeft() {
  const char* sweep = m_instrument->EndsSweep() ? "interrupted; a sweep ends, " : "interrupted; the server goes on, ";
  Warn((m_options.rehearsal ? "interrupted; " : sweep) + OutputText());
}

void Conversation::Complain(const std::string& subject, const std::string& what, Said& said) {
  const std::string text = subject + what;
  Warn(m_place.empty() ? text : m_place + ": " + text);
  said.errors.push_back(text.starts_with(Quoted(said.message) + ": ") ? what.substr(2) : text);
  m_failed = true;
}
