// What a message does that its writer may not expect: warnings from its text alone, and what reads back differently.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What the settings of a script so far lead to, as its text shows.
struct ScriptState {
  bool sweeps = false;            ///< ":FREQ:MODE SWE" was the last mode
  bool frequency_sent = false;    ///< opening leaves another one than the query answers
  bool frequency_step = false;    ///< opening sets none
  bool power_step = false;        ///< the same
  bool in_watts = false;          ///< power queries
  bool external_trigger = false;  ///< the source
  std::optional<double> start;    ///< of the frequency sweep in Hz, as a number was written
  std::optional<double> stop;     ///< the same
  std::size_t frequencies = 1;    ///< points in the list
  std::size_t powers = 1;         ///< the same
};

/// What the page of surprises warns of in these messages, each as "text (docs/surprises.md#paragraph)". Messages are
/// looked at in order from the first one after opening on, because what one does depends on those before it.
class Surprises {
 public:
  std::vector<std::string> Of(const std::string& message);

 private:
  ScriptState m_state;
};

/// The answer to a query; nothing if there was none.
using QueryFunction = std::function<std::optional<std::string>(const std::string& query)>;

/// True for the settings of the pulse generator: they are stored, and go out with ":PULM:STAT", which may round them.
bool IsPulseSetting(const std::string& message);
bool SendsPulseSettings(const std::string& message);

/// If a setting reads back as something else than was asked for: "reads back as 0, not -100". Nothing if it does not,
/// or if nothing can be said: queries, commands without a query, lists, several commands in one message.
std::optional<std::string> ReadBackDifference(const std::string& message, const QueryFunction& ask);
