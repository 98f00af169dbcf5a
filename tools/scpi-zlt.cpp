// scpi-zlt: sends SCPI text to a generator and prints its answers; shows and converts data files.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "tools/Conversation.h"
#include "tools/DataFilesCommands.h"
#include "tools/Interruption.h"
#include "tools/Lines.h"
#include "tools/ServeCommand.h"

namespace {

/// A stream that was closed stays one that fails: otherwise the next file that is opened would take its place.
void OccupyClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int Talk(const ConversationOptions& options, const std::vector<std::string>& messages) {
  // A reader that goes away is an error of writing, so that the session closes in order.
  std::signal(SIGPIPE, SIG_IGN);
  Interruption interruption;
  std::optional<Lines> lines;
  if (messages.empty()) lines.emplace(interruption);
  Conversation conversation(options, interruption);
  while (lines && !interruption.Happened()) {
    const std::optional<std::string> line = lines->Next();
    if (!line) break;
    conversation.Say(*line);
  }
  for (const std::string& message : messages) {
    std::istringstream parts(message);
    for (std::string line; !interruption.Happened() && std::getline(parts, line);) conversation.Say(line);
  }
  if (interruption.Happened()) {
    conversation.SayWhatIsLeft();
    return interruption.ExitStatus();
  }
  return conversation.Failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

/// `status`, or a failure if what was printed did not arrive.
int Printed(int status) {
  errno = 0;
  if (std::cout.flush() || status != EXIT_SUCCESS) return status;
  std::cerr << "scpi-zlt: cannot write the output: " << std::strerror(errno) << std::endl;
  return EXIT_FAILURE;
}

CLI::Option* AddMilliseconds(CLI::App& app, const std::string& name, std::chrono::milliseconds& value,
                             const std::string& text) {
  return app
      .add_option_function<unsigned>(
          name, [&value](unsigned count) { value = std::chrono::milliseconds(count); }, text)
      ->check(CLI::Range(1U, std::numeric_limits<unsigned>::max()))
      ->default_str(std::to_string(value.count()));
}

}  // namespace

int main(int argc, char** argv) {
  OccupyClosedStreams();
  CLI::App app("Talks SCPI to a microwave generator; shows and converts S-parameter and matrix files.", "scpi-zlt");
  ConversationOptions options;
  std::vector<std::string> messages;
  app.footer(
      "Examples:\n"
      "  scpi-zlt SIM0::INSTR::ZLT '*IDN?' ':FREQ 1GHZ' ':FREQ?'\n"
      "  scpi-zlt SIM0::INSTR::ZLT < commands.txt\n"
      "Without messages it reads them from standard input, one a line; lines that begin with # are comments.\n"
      "SIM<n> is the simulated generator; SCPI_ZLT_SIM_LOG=FILE writes its packets to FILE.\n"
      "The exit status is 0 only if the resource opened, every message was done in time, and none left an error.");
  app.add_option("RESOURCE", options.resource, "VISA resource name of the instrument, followed by ::ZLT");
  app.add_option("MESSAGE", messages, "SCPI messages, sent in order");
  AddMilliseconds(app, "-t,--timeout", options.answer_timeout, "Milliseconds that a message may take");
  AddMilliseconds(app, "--open-timeout", options.open_timeout, "Milliseconds to wait for the instrument to open");
  app.add_flag("-e,--errors,!--no-errors", options.ask_errors,
               "After each message, ask for what it left in the error queue (on unless --no-errors)");
  AddDataFileCommands(app);
  AddServeCommand(app);
  app.require_subcommand(0, 1);

  try {
    app.parse(argc, argv);
    if (!app.get_subcommands().empty()) return Printed(EXIT_SUCCESS);
    if (options.resource.empty()) throw CLI::RequiredError("RESOURCE");
    return Printed(Talk(options, messages));
  } catch (const CLI::Error& error) {
    return Printed(app.exit(error));
  } catch (const std::exception& error) {
    std::cerr << "scpi-zlt: " << error.what() << std::endl;
    return EXIT_FAILURE;
  }
}
