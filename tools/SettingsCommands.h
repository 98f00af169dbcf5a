// The verbs "save" and "load".
#pragma once

#include <CLI/CLI.hpp>

/// They run while the command line is parsed and end as those of TalkCommands.h do.
void AddSettingsCommands(CLI::App& app);
