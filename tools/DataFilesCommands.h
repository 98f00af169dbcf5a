// The subcommands of the tool that show and convert data files; no instrument is involved.
#pragma once

#include <CLI/CLI.hpp>

/// Adds "s2p" and "matrix", each with "show" and "convert". They run while the command line is parsed and let
/// scpi_zlt::DataFileError through.
void AddDataFileCommands(CLI::App& app);
