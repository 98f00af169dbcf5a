// The verb `serve` of the command line.
#pragma once

#include <CLI/CLI.hpp>

void AddServeCommand(CLI::App& app);
