// scpi-zlt: sends SCPI text to a generator and prints its answers; shows and converts data files.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <readline/history.h>
#include <readline/readline.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "tools/DataFilesCommands.h"
#include "tools/ServeCommand.h"
#include "tools/Session.h"

namespace {

struct Options {
  std::string resource;
  std::vector<std::string> messages;
  unsigned answer_timeout_ms = 10000;
  unsigned open_timeout_ms = 60000;
  bool show_errors = false;
};

/// Sends messages and counts what went wrong.
class Conversation {
 public:
  Conversation(Session& session, const Options& options) : m_session(session), m_options(options) {}

  /// One line of SCPI text.
  void Say(const std::string& message) {
    if (message.find_first_not_of(" \t\r") == std::string::npos) return;
    if (IsQuery(message)) {
      const std::optional<std::string> answer = m_session.Ask(message);
      if (answer) {
        std::cout << *answer << std::endl;
      } else {
        Complain("no answer to \"" + message + "\" within " + std::to_string(m_options.answer_timeout_ms) + " ms");
      }
    } else {
      m_session.Send(message);
    }
    if (m_options.show_errors) ShowErrors(message);
  }

  int ExitStatus() const { return m_failed ? EXIT_FAILURE : EXIT_SUCCESS; }

 private:
  void ShowErrors(const std::string& message) {
    for (;;) {
      const std::optional<std::string> error = m_session.Ask(":SYST:ERR?");
      if (!error || error->starts_with("+0,") || error->empty()) return;
      Complain("\"" + message + "\": " + *error);
    }
  }

  void Complain(const std::string& text) {
    std::cerr << "scpi-zlt: " << text << std::endl;
    m_failed = true;
  }

  Session& m_session;
  const Options& m_options;
  bool m_failed = false;
};

/// The next line that a person or a pipe gives; nothing at the end.
std::optional<std::string> NextLine() {
  if (isatty(STDIN_FILENO) == 1) {
    const std::unique_ptr<char, void (*)(void*)> line(readline("scpi> "), std::free);
    if (!line) return std::nullopt;
    if (*line != '\0') add_history(line.get());
    return line.get();
  }
  std::string line;
  if (!std::getline(std::cin, line)) return std::nullopt;
  return line;
}

int Talk(const Options& options) {
  Session session(options.resource, options.open_timeout_ms, options.answer_timeout_ms);
  Conversation conversation(session, options);
  if (options.messages.empty()) {
    while (const std::optional<std::string> line = NextLine()) conversation.Say(*line);
  }
  for (const std::string& message : options.messages) {
    std::istringstream lines(message);
    for (std::string line; std::getline(lines, line);) conversation.Say(line);
  }
  return conversation.ExitStatus();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Talks SCPI to a microwave generator; shows and converts S-parameter and matrix files.", "scpi-zlt");
  Options options;
  app.footer(
      "Examples:\n"
      "  scpi-zlt SIM0::INSTR::ZLT '*IDN?' ':FREQ 1GHZ' ':FREQ?'\n"
      "  scpi-zlt -e SIM0::INSTR::ZLT < commands.txt\n"
      "Without messages it reads them from standard input, one a line.\n"
      "SIM<n> is the simulated generator; SCPI_ZLT_SIM_LOG=FILE writes its packets to FILE.\n"
      "The exit status is 0 only if the resource opened and every query was answered.");
  app.add_option("RESOURCE", options.resource, "VISA resource name of the instrument, followed by ::ZLT");
  app.add_option("MESSAGE", options.messages, "SCPI messages, sent in order");
  app.add_option("-t,--timeout", options.answer_timeout_ms, "Milliseconds to wait for an answer")
      ->capture_default_str();
  app.add_option("--open-timeout", options.open_timeout_ms, "Milliseconds to wait for the instrument to open")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_flag("-e,--errors", options.show_errors, "After each message, show what it left in the error queue");
  AddDataFileCommands(app);
  AddServeCommand(app);
  app.require_subcommand(0, 1);

  try {
    app.parse(argc, argv);
    if (!app.get_subcommands().empty()) return EXIT_SUCCESS;
    if (options.resource.empty()) throw CLI::RequiredError("RESOURCE");
    return Talk(options);
  } catch (const CLI::Error& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::cerr << "scpi-zlt: " << error.what() << std::endl;
    return EXIT_FAILURE;
  }
}
