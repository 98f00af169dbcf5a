// The verb "bench": how long messages take.
#pragma once

#include <CLI/CLI.hpp>

/// Adds the verb; see AddTalkCommands for how verbs run.
void AddBenchCommand(CLI::App& app);
