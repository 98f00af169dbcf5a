#include "tools/Conversation.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <iostream>
#include <mutex>
#include <thread>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageScanner.h"

namespace {

using scpi_zlt::Answer;
using scpi_zlt::Outcome;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// A failed open takes a little over a second by design; only what takes longer is worth a word.
constexpr milliseconds kOpensWithoutAWord{1500};
/// How often a wait for an answer looks whether the person interrupts.
constexpr milliseconds kLook{100};
/// A late message is awaited for at least this long before nothing more is sent.
constexpr milliseconds kLeastPatience{10000};
constexpr milliseconds kPatienceAfterInterruption{2000};

/// Says what is waited for if it lives for too long.
class OpeningNotice {
 public:
  explicit OpeningNotice(const ConversationOptions& options)
      : m_thread([this, &options](const std::stop_token& stop) {
          std::unique_lock lock(m_mutex);
          if (m_stopped.wait_for(lock, stop, kOpensWithoutAWord, [&stop] { return stop.stop_requested(); })) return;
          std::cerr << "scpi-zlt: still opening \"" + options.resource + "\", for at most " +
                           std::to_string(options.open_timeout.count()) + " ms\n";
        }) {}

 private:
  std::mutex m_mutex;
  std::condition_variable_any m_stopped;
  std::jthread m_thread;
};

std::string WithoutLineEnd(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

void Print(const std::string& text) {
  errno = 0;
  if (!(std::cout << text << std::flush)) {
    throw ToolError(std::string("cannot write the answer: ") + std::strerror(errno));
  }
}

}  // namespace

Conversation::Conversation(const ConversationOptions& options, Interruption& interruption)
    : m_options(options), m_interruption(interruption), m_exchange(0) {
  long status = VI_SUCCESS;
  {
    const OpeningNotice notice(m_options);
    status = m_session.Open(m_options.resource, m_options.open_timeout);
  }
  if (status != VI_SUCCESS) {
    throw ToolError(scpi_zlt::OpenFailureText(m_options.resource, status, m_options.open_timeout));
  }
  m_interruption.Watch();
  m_exchange = scpi_zlt::MessageExchange(m_session.Handle());
}

void Conversation::Say(const std::string& message) {
  const std::size_t start = message.find_first_not_of(" \t\r");
  if (start == std::string::npos || message[start] == '#') return;
  GetInStep();
  if (m_interruption.Happened()) return;

  const Answer answer = Ask(message, m_options.answer_timeout);
  switch (answer.outcome) {
    case Outcome::kComplete: {
      const std::string text = WithoutLineEnd(scpi_zlt::Tidy(message, answer.response));
      if (scpi_zlt::IsQuery(message) || !text.empty()) Print(text + "\n");
      if (m_options.ask_errors) ShowErrors(message);
      break;
    }
    case Outcome::kTimeout:
      if (m_interruption.Happened()) break;
      Complain((scpi_zlt::IsQuery(message) ? "no answer to \"" : "not done: \"") + message + "\" within " +
               std::to_string(m_options.answer_timeout.count()) + " ms");
      break;
    case Outcome::kUnfinished:
      Complain("not sent: \"" + message + "\" ends inside a block of data");
      break;
    case Outcome::kTooLong:
      Complain("not sent: a message of " + std::to_string(message.size()) + " bytes, more than " +
               std::to_string(scpi_zlt::kMaximumMessage - 1));
      break;
    case Outcome::kBusy:
    case Outcome::kFailed:
      throw ToolError("\"" + message + "\": " + scpi_zlt::StatusText(answer.status));
  }
}

/// Waits for what is outstanding, in short pieces so that the person can interrupt.
Answer Conversation::Await(milliseconds timeout) {
  const auto end = steady_clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    Answer answer = m_exchange.Await(std::clamp(left, milliseconds(1), kLook));
    if (answer.outcome != Outcome::kTimeout || left <= kLook || m_interruption.Happened()) return answer;
  }
}

Answer Conversation::Ask(const std::string& message, milliseconds timeout) {
  Answer answer = m_exchange.Begin(message);
  if (answer.outcome != Outcome::kComplete) return answer;
  m_late = message;
  return Await(timeout);
}

void Conversation::GetInStep() {
  if (m_exchange.InStep()) return;
  const milliseconds patience = std::max(kLeastPatience, m_options.answer_timeout);
  const Answer answer = Await(patience);
  if (m_interruption.Happened()) return;
  if (answer.outcome != Outcome::kComplete) {
    throw ToolError("\"" + m_late + "\" is still not done after another " + std::to_string(patience.count()) +
                    " ms; nothing more is sent");
  }
  const std::string text = WithoutLineEnd(scpi_zlt::Tidy(m_late, answer.response));
  Complain(text.empty() ? "late: \"" + m_late + "\" is done now" : "late: \"" + m_late + "\" answered " + text);
  if (m_options.ask_errors) ShowErrors(std::string(m_late));
}

void Conversation::ShowErrors(const std::string& message) {
  while (!m_interruption.Happened()) {
    const Answer answer = Ask(":SYST:ERR?", m_options.answer_timeout);
    if (answer.outcome != Outcome::kComplete) {
      Complain("\"" + message + "\": no answer to \":SYST:ERR?\"");
      return;
    }
    const std::string error = WithoutLineEnd(answer.response);
    if (error.empty() || error.starts_with("+0,")) return;
    Complain(std::string("\"").append(message).append("\": ").append(error));
  }
}

void Conversation::SayWhatIsLeft() {
  std::string output = "what the RF output does is not known";
  if (Await(kPatienceAfterInterruption).outcome == Outcome::kComplete) {
    const Answer answer = Ask(":OUTP?", kPatienceAfterInterruption);
    if (answer.outcome == Outcome::kComplete) {
      output = answer.response == "ON\n" ? "the RF output stays on" : "the RF output is off";
    }
  }
  std::cerr << "scpi-zlt: interrupted; a sweep ends, " + output << std::endl;
}

void Conversation::Complain(const std::string& text) {
  std::cerr << "scpi-zlt: " + text << std::endl;
  m_failed = true;
}
