// scpi-zlt: sends SCPI text to a generator and prints its answers; shows and converts data files.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "scpi_zlt/datafiles.h"

#include "tools/BenchCommand.h"
#include "tools/DataFilesCommands.h"
#include "tools/ServeCommand.h"
#include "tools/SettingsCommands.h"
#include "tools/SweepCommand.h"
#include "tools/TableCommands.h"
#include "tools/TalkCommands.h"
#include "tools/ToolError.h"

namespace {

/// A stream that was closed stays one that fails: otherwise the next file that is opened would take its place.
void OccupyClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// Options as a person types them: without the marks of the parser for checks of a value and for what a flag sets.
class HelpFormat : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool positional) const override {
    std::string name = CLI::Formatter::make_option_name(option, positional);
    const std::size_t mark = name.find('{');
    return mark == std::string::npos ? name : name.erase(mark, name.find('}') + 1 - mark);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_size() == 0) return "";
    const std::string type = option->get_type_name();
    std::string text = " " + type.substr(0, type.find(':'));
    if (!option->get_default_str().empty()) text += "=" + option->get_default_str();
    if (option->get_expected_max() == CLI::detail::expected_max_vector_size) text += " ...";
    return option->get_required() ? text + " REQUIRED" : text;
  }
};

/// `status`, or a failure if what was printed did not arrive.
int Printed(int status) {
  if (std::cout.flush() || status != kDone) return status;
  // Once more for the reason, which a later call may have overwritten.
  std::cout.clear();
  errno = 0;
  std::cout << std::endl;
  Warn(std::string("cannot write the output: ") + std::strerror(errno));
  return kFileFailed;
}

/// Says what is wrong with the command line, and where the right one is described.
int WrongUsage(const CLI::App& app, const CLI::ParseError& error) {
  std::string verb = app.get_name();
  for (std::vector<CLI::App*> verbs = app.get_subcommands(); !verbs.empty(); verbs = verbs.front()->get_subcommands()) {
    verb += " " + verbs.front()->get_name();
  }
  Warn(error.what() + ("; see " + verb) + " --help");
  return kUsage;
}

/// Carries a command line out. A verb runs while it is parsed.
int Parse(CLI::App& app, TalkArguments& arguments, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return app.get_subcommands().empty() ? TalkWithoutVerb(arguments) : static_cast<int>(kDone);
  } catch (const CLI::RuntimeError& end) {
    return end.get_exit_code();
  } catch (const CLI::ParseError& error) {
    // Help and the version come this way too.
    return error.get_exit_code() == 0 ? app.exit(error) : WrongUsage(app, error);
  } catch (const ToolError& error) {
    Warn(error.what());
    return error.Status();
  } catch (const scpi_zlt::DataFileError& error) {
    Warn(error.what());
    return kFileFailed;
  } catch (const std::exception& error) {
    Warn(error.what());
    return kMessageFailed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  OccupyClosedStreams();
  CLI::App app("Talks SCPI to a microwave generator; shows and converts S-parameter and matrix files.", "scpi-zlt");
  app.formatter(std::make_shared<HelpFormat>());
  app.set_version_flag("--version", "scpi-zlt " SCPI_ZLT_VERSION);
  const auto arguments = AddTalkOptions(app, "MESSAGE", "SCPI messages, sent in order");
  AddTalkCommands(app);
  AddSettingsCommands(app);
  AddSweepCommand(app);
  AddBenchCommand(app);
  AddDataFileCommands(app);
  AddServeCommand(app);
  AddTableCommands(app);
  // Set last: a verb that is added later takes it over, but these lines are not about one verb.
  app.footer(
      "Examples:\n"
      "  scpi-zlt SIM0::INSTR::ZLT '*IDN?' ':FREQ 1GHZ' ':FREQ?'\n"
      "  scpi-zlt SIM0::INSTR::ZLT < commands.txt\n"
      "Without messages it reads them from standard input, one a line; lines that begin with # are comments.\n"
      "SIM<n> is the simulated generator; SCPI_ZLT_SIM_LOG=FILE writes its packets to FILE.\n"
      "Exit status: 0 done; 1 a message left an error or had no answer in time; 2 wrong command line;\n"
      "3 the instrument, server or VISA provider is not there; 4 a file cannot be read or written.");
  app.require_subcommand(0, 1);
  return Printed(Parse(app, *arguments, argc, argv));
}
