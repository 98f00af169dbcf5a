// The verbs that talk to an instrument: none, "query", "run" and "shell".
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/Conversation.h"

/// What a verb that talks is given: an instrument and words of its own.
struct TalkArguments {
  ConversationOptions options;
  std::string resource;            ///< the first word
  std::vector<std::string> words;  ///< those after it

  /// Tells the resource from the words: SCPI_ZLT_RESOURCE and --server take its place unless the first word is one,
  /// which shows in its "::". Throws CLI::RequiredError if there is none.
  void TakeResource();
};

/// Gives a verb the options of all that talk, and the words RESOURCE and `words` (no more words if that is empty).
std::shared_ptr<TalkArguments> AddTalkOptions(CLI::App& app, const std::string& words, const std::string& text);

/// Opens, lets `talk` have its say, and says what is left when it was interrupted. Returns the exit status. Adds to a
/// ToolError of `talk` what the RF output does.
int Talk(const ConversationOptions& options, const std::function<void(Conversation&, Interruption&)>& talk);

/// Throws CLI::RuntimeError if `status`, an exit status, is a failure.
void End(int status);

/// Adds a verb that sends the messages in a file.
void AddRunCommand(CLI::App& app, const std::string& name, const std::string& text);

/// Adds the verbs. They run while the command line is parsed, throw ToolError, and CLI::RuntimeError with the exit
/// status.
void AddTalkCommands(CLI::App& app);

/// Without a verb: the messages in `arguments`, or those of the standard input. Returns the exit status.
int TalkWithoutVerb(TalkArguments& arguments);
