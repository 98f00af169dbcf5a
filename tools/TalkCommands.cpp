#include "tools/TalkCommands.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <limits>
#include <sstream>
#include <unistd.h>

#include "tools/CommandReference.h"
#include "tools/Lines.h"
#include "tools/Lint.h"
#include "tools/SettingsCommands.h"
#include "tools/ToolError.h"

namespace {

CLI::Option* AddMilliseconds(CLI::App& app, const std::string& name, std::chrono::milliseconds& value,
                             const std::string& text) {
  return app
      .add_option_function<unsigned>(
          name, [&value](unsigned count) { value = std::chrono::milliseconds(count); }, text)
      ->check(CLI::Range(1U, std::numeric_limits<unsigned>::max()))
      ->default_str(std::to_string(value.count()));
}

void SayLines(Conversation& conversation, Interruption& interruption, const std::string& text) {
  std::istringstream parts(text);
  for (std::string line; !interruption.Happened() && std::getline(parts, line);) conversation.Say(line);
}

void SayAll(Conversation& conversation, Interruption& interruption, const std::vector<std::string>& messages) {
  for (const std::string& message : messages) SayLines(conversation, interruption, message);
}

int TalkLines(const ConversationOptions& options) {
  // Looks at the standard input before anything is opened.
  Lines lines;
  return Talk(options, [&lines](Conversation& conversation, Interruption& interruption) {
    lines.Watch(interruption);
    while (const std::optional<std::string> line = lines.Next()) {
      if (const std::optional<std::string> file = lines.FileToSave(*line)) {
        SaveAtPrompt(conversation, *file);
      } else {
        conversation.Say(*line);
      }
    }
  });
}

struct RunArguments {
  std::shared_ptr<TalkArguments> talk;
  bool keep_going = false;
};

/// All lines, so that a file that cannot be read is known before anything is opened.
std::vector<std::string> ReadScript(const std::string& name) {
  std::ifstream file;
  errno = 0;
  if (name != "-") file.open(name);
  std::istream& stream = name == "-" ? std::cin : file;
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  // A folder opens, and fails when it is read.
  if (!stream.eof() || stream.bad()) throw ToolError(name + ": cannot read: " + std::strerror(errno), kFileFailed);
  return lines;
}

void Run(const RunArguments& arguments) {
  TalkArguments& talk = *arguments.talk;
  talk.TakeResource();
  if (talk.words.size() != 1) throw CLI::RequiredError("One FILE");
  const std::string& name = talk.words.front();
  const std::vector<std::string> lines = ReadScript(name);
  End(Talk(talk.options, [&](Conversation& conversation, Interruption& interruption) {
    for (std::size_t i = 0; i < lines.size() && !interruption.Happened(); ++i) {
      const bool good = conversation.Say(lines[i], (name == "-" ? "line " : name + ":") + std::to_string(i + 1));
      if (good || arguments.keep_going || interruption.Happened()) continue;
      Warn("stopped there, " + conversation.OutputText() + "; --keep-going goes on after an error");
      break;
    }
  }));
}

void AddQuery(CLI::App& app) {
  CLI::App& query = *app.add_subcommand("query", "Sends messages and prints their answers");
  const auto talk = AddTalkOptions(query, "MESSAGE", "SCPI messages, sent in order");
  query.callback([talk] {
    talk->TakeResource();
    if (talk->words.empty()) throw CLI::RequiredError("MESSAGE");
    End(Talk(talk->options, [&talk](Conversation& conversation, Interruption& interruption) {
      SayAll(conversation, interruption, talk->words);
    }));
  });
}

void AddShell(CLI::App& app) {
  CLI::App& shell = *app.add_subcommand("shell", "Talks at a prompt; Tab completes, \"help HEADER\" explains");
  const auto talk = AddTalkOptions(shell, "", "");
  shell.callback([talk] {
    talk->TakeResource();
    End(TalkLines(talk->options));
  });
}

/// The reference without a prompt and without an instrument.
void AddHelp(CLI::App& app) {
  CLI::App& help = *app.add_subcommand("help", "Says what a SCPI command does");
  const auto header = std::make_shared<std::string>();
  help.add_option("HEADER", *header, "In long or short form; all commands unless given");
  help.callback([header] {
    if (header->empty()) {
      for (const CommandEntry& entry : CommandEntries()) std::cout << entry.headers << "\n";
      return;
    }
    const CommandEntry* const entry = FindCommand(*header);
    if (entry == nullptr) {
      throw ToolError("no command \"" + *header + "\"; \"scpi-zlt help\" lists those that there are", kMessageFailed);
    }
    std::cout << EntryText(*entry, TerminalWidth(STDOUT_FILENO));
  });
}

}  // namespace

void TalkArguments::TakeResource() {
  const char* const usual = std::getenv("SCPI_ZLT_RESOURCE");
  InstrumentOptions& instrument = options.instrument;
  const bool has_default = !instrument.server.empty() || (usual != nullptr && *usual != '\0');
  if (has_default && resource.find("::") == std::string::npos) {
    if (!resource.empty()) words.insert(words.begin(), resource);
    if (usual != nullptr) instrument.resource = usual;
  } else {
    instrument.resource = resource;
    if (!instrument.server.empty()) throw CLI::ExcludesError("RESOURCE", "--server");
  }
  if (instrument.server.empty() && instrument.resource.empty()) {
    throw CLI::RequiredError("RESOURCE (or SCPI_ZLT_RESOURCE, or --server)");
  }
}

std::shared_ptr<TalkArguments> AddTalkOptions(CLI::App& app, const std::string& words, const std::string& text) {
  auto talk = std::make_shared<TalkArguments>();
  ConversationOptions& options = talk->options;
  app.add_option("RESOURCE", talk->resource,
                 "VISA resource name of the instrument, followed by ::ZLT; else that in SCPI_ZLT_RESOURCE");
  if (!words.empty()) app.add_option(words, talk->words, text);
  app.add_option("-s,--server", options.instrument.server,
                 "HOST[:PORT] of a running \"scpi-zlt serve --raw\", in place of a resource; port 5025 unless given");
  AddMilliseconds(app, "-t,--timeout", options.answer_timeout, "Milliseconds that a message may take");
  AddMilliseconds(app, "--open-timeout", options.instrument.open_timeout,
                  "Milliseconds to wait for the instrument to open");
  app.add_flag("-e,--errors,--check,!--no-errors", options.ask_errors,
               "After each message, ask for what it left in the error queue (on unless --no-errors)");
  app.add_flag("--verify", options.verify,
               "After each setting, say if the instrument holds something else than was asked for");
  CLI::Option* const json = app.add_flag_function(
      "--json", [&options](std::int64_t) { options.form = ReportForm::kJson; },
      "One JSON object a message: message, answer, errors");
  app.add_flag_function(
         "--csv", [&options](std::int64_t) { options.form = ReportForm::kCsv; },
         "CSV with the columns message, answer, errors")
      ->excludes(json);
  return talk;
}

int Talk(const ConversationOptions& options, const std::function<void(Conversation&, Interruption&)>& talk) {
  // A reader that goes away is an error of writing, so that the session closes in order.
  std::signal(SIGPIPE, SIG_IGN);
  Interruption interruption;
  Conversation conversation(options, interruption);
  try {
    talk(conversation, interruption);
  } catch (const Interrupted&) {
  } catch (const ToolError& error) {
    throw ToolError(error.what() + ("; " + conversation.OutputText()), error.Status());
  }
  if (interruption.Happened()) {
    conversation.SayWhatIsLeft();
    return interruption.ExitStatus();
  }
  return conversation.Failed() ? kMessageFailed : kDone;
}

void AddRunCommand(CLI::App& app, const std::string& name, const std::string& text) {
  CLI::App& run = *app.add_subcommand(name, text);
  const auto arguments = std::make_shared<RunArguments>();
  arguments->talk = AddTalkOptions(
      run, "FILE", "Messages, one a line; lines that begin with # are comments; - is the standard input");
  run.add_flag("-k,--keep-going", arguments->keep_going, "Go on after an error");
  run.callback([arguments] { Run(*arguments); });
}

namespace {

void Lint(const std::string& name, const std::string& firmware) {
  const std::vector<std::string> lines = ReadScript(name);
  ConversationOptions options;
  options.instrument.resource = "SIM0::fw=" + firmware + "::INSTR::ZLT";
  options.verify = true;
  options.form = ReportForm::kNone;
  options.rehearsal = true;
  Surprises surprises;
  End(Talk(options, [&](Conversation& conversation, Interruption& interruption) {
    for (std::size_t i = 0; i < lines.size() && !interruption.Happened(); ++i) {
      const std::string place = name + ":" + std::to_string(i + 1);
      if (IsPassedOver(lines[i])) continue;
      const std::string said = place + ": \"" + lines[i] + "\": ";
      for (const std::string& warning : surprises.Of(lines[i])) Warn(said + warning);
      conversation.Say(lines[i], place);
    }
  }));
}

void AddLint(CLI::App& app) {
  CLI::App& lint = *app.add_subcommand("lint", "Plays a file against the simulated generator and says what goes wrong");
  const auto name = std::make_shared<std::string>();
  const auto firmware = std::make_shared<std::string>("newest");
  lint.add_option("FILE", *name, "Messages, one a line; - is the standard input")->required();
  lint.add_option("--firmware", *firmware, "Firmware form; \"scpi-zlt sim list\" shows them")->capture_default_str();
  lint.callback([name, firmware] { Lint(*name, *firmware); });
}

}  // namespace

void End(int status) {
  if (status != kDone) throw CLI::RuntimeError(status);
}

void AddTalkCommands(CLI::App& app) {
  AddQuery(app);
  AddRunCommand(app, "run", "Sends the messages in a file, one a line, up to the first error");
  AddShell(app);
  AddHelp(app);
  AddLint(app);
}

int TalkWithoutVerb(TalkArguments& arguments) {
  arguments.TakeResource();
  if (arguments.words.empty()) return TalkLines(arguments.options);
  return Talk(arguments.options, [&arguments](Conversation& conversation, Interruption& interruption) {
    SayAll(conversation, interruption, arguments.words);
  });
}
