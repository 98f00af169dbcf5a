// The command set: the rows of Commands.def, and the header tree that the compiler makes from them.
#pragma once

#include <span>

#include "scpi_core/types.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {

/// One row of Commands.def.
struct SCommandRow {
  const char* header;
  Handler* handler;
  SCPI_Handler entry;  ///< calls the handler
  EForms forms;
  const sFParam* parameter;  ///< null for a command without one
  int parameter_count;       ///< 0 or 1
};

/// All commands, in the order of the file.
std::span<const SCommandRow> Commands();

/// Puts the levels of the header tree into the global CommandTree. Called once, by the device factory.
void RegisterCommandTree();

}  // namespace scpi_lib
