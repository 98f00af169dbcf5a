// A frequency sweep as messages, with or without a cable in between. No instrument is involved.
#pragma once

#include <string>
#include <vector>

#include "scpi_zlt/datafiles.h"

struct SweepPlan {
  double start_hz = 0;
  double stop_hz = 0;
  int points = 0;
  double dwell_s = 0;
  double level_dbm = 0;
};

/// What the instrument can do.
struct LevelLimits {
  double lowest_dbm;
  double highest_dbm;
};

/// Equal steps, start and stop included.
std::vector<double> Frequencies(const SweepPlan& plan);

/// The levels that give the level of the plan at the far end of a two-port: less its |S21|, in dB linear over frequency
/// between its points. Throws ToolError if the file is no two-port with S-parameters or does not cover the sweep.
std::vector<double> LevelsThrough(const SweepPlan& plan, const scpi_zlt::Network& network, const std::string& file);

/// Throws ToolError that names the first and the number of levels outside of the limits.
void CheckLevels(const SweepPlan& plan, const std::vector<double>& levels, const LevelLimits& limits);

/// What sets the sweep up, the output on included. With levels it is a list of frequencies and levels.
std::vector<std::string> SetUpMessages(const SweepPlan& plan, const std::vector<double>& levels);
