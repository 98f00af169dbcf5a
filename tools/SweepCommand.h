// The verb "sweep".
#pragma once

#include <CLI/CLI.hpp>

/// It runs while the command line is parsed and ends as those of TalkCommands.h do.
void AddSweepCommand(CLI::App& app);
