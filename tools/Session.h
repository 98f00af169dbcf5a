// A session of the tool: a thin owner over the C functions that speaks in texts and in errors a person can act on.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// What went wrong, in words for the terminal.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Session {
 public:
  /// Opens `resource`; throws ToolError with a reason and a remedy.
  Session(const std::string& resource, unsigned open_timeout_ms, unsigned answer_timeout_ms);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Sends one message (a line end is added). Throws ToolError if it was not taken whole.
  void Send(std::string_view message);

  /// Sends a query and returns its answer without line end and zero byte, empty for a query that has none (a mistaken
  /// one, say). Line ends that earlier messages left behind are passed over. Nothing if no answer came in time.
  std::optional<std::string> Ask(std::string_view query);

 private:
  /// One response, without its line end; nothing if none came.
  std::optional<std::string> Read();

  unsigned long m_session = 0;
};

/// True if a message asks for an answer: it holds a question mark outside quotes.
bool IsQuery(std::string_view message);
