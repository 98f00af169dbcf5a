#include "tools/SettingsCommands.h"

#include <memory>

#include "tools/Settings.h"
#include "tools/TalkCommands.h"
#include "tools/ToolError.h"

namespace {

struct SaveArguments {
  std::shared_ptr<TalkArguments> talk;
  std::string file;
  bool all = false;
};

std::string SettingsText(Conversation& conversation, bool all) {
  const AskFunction ask = [&](const std::string& query) { return conversation.Demand(query, "nothing is saved"); };
  std::string text = "# " + ask("*IDN?") + "\n";
  for (const std::string& message : SettingsAsMessages(ask, all)) text += message + "\n";
  return text;
}

void WriteSettings(const std::string& text, const std::string& file) {
  return file.empty() ? Print(text) : WriteFile(file, text);
}

void Save(const SaveArguments& arguments) {
  TalkArguments& talk = *arguments.talk;
  talk.TakeResource();
  if (!talk.words.empty()) throw CLI::ExtrasError(talk.words);
  std::string text;
  End(Talk(talk.options,
           [&](Conversation& conversation, Interruption&) { text = SettingsText(conversation, arguments.all); }));
  WriteSettings(text, arguments.file);
}

}  // namespace

void SaveAtPrompt(Conversation& conversation, const std::string& file) {
  try {
    WriteSettings(SettingsText(conversation, false), file);
  } catch (const ToolError& error) {
    Warn(error.what());
  }
}

void AddSettingsCommands(CLI::App& app) {
  CLI::App& save = *app.add_subcommand("save", "Writes the settings as SCPI text that \"load\" plays back");
  const auto arguments = std::make_shared<SaveArguments>();
  arguments->talk = AddTalkOptions(save, "", "");
  save.add_option("-o,--output", arguments->file, "File to write; the standard output unless given");
  save.add_flag("-a,--all", arguments->all, "Also settings that are at their start value");
  save.callback([arguments] { Save(*arguments); });
  AddRunCommand(app, "load", "Plays saved settings back, as \"run\" does");
}
