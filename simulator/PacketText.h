// Packets as readable text, and the log of them. SCPI_ZLT_SIM_LOG names the file ("-" or "stderr": the error stream).
// Each line is flushed, and lines of several threads never mix.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Wire.h"

namespace sim {

/// "SET P_FREQUENCY 6.0 [1000000000]"; for a reply a status follows. Any bytes have a text.
std::string RequestText(View packet);
std::string ReplyText(View packet);

/// The name of a status, or its number.
std::string StatusText(std::int16_t status);

/// The number of the parameter with this name ("P_FREQUENCY"); -1 if there is none.
int ParameterNumber(std::string_view name);

/// Values with blanks between them; each reads back as the same number.
std::string NumbersText(const std::vector<double>& values);

/// True when the environment asked for a log. Read once, at the first call.
bool LogIsOn();

/// Writes one line: time, instrument, text.
void LogLine(int instrument, std::string_view text);

}  // namespace sim
