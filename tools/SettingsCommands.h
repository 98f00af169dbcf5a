// The verbs "save" and "load".
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/Conversation.h"

/// They run while the command line is parsed and end as those of TalkCommands.h do.
void AddSettingsCommands(CLI::App& app);

/// Writes the settings that are not at their start value to `file`, or to the standard output if it is empty. A file
/// that cannot be written, or a query without an answer, is said and does not end the conversation.
void SaveAtPrompt(Conversation& conversation, const std::string& file);
