// The verbs that look things up and need no instrument: "errors", "decode" and "sim".
#pragma once

#include <CLI/CLI.hpp>

/// They run while the command line is parsed and end as those of TalkCommands.h do.
void AddTableCommands(CLI::App& app);
