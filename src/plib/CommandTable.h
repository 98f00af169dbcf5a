// The command vocabulary: 101 rows in six levels. Each row is one keyword of the header tree and carries its handler.
#pragma once

#include "scpi_core/types.h"

namespace scpi_lib {

extern const sCommandTreeNode Level0[13];
extern const sCommandTreeNode Level1[15];
extern const sCommandTreeNode Level2[42];
extern const sCommandTreeNode Level3[21];
extern const sCommandTreeNode Level4[7];
extern const sCommandTreeNode Level5[3];

/// Puts the six levels into the global CommandTree. Called once, by the device factory.
void RegisterCommandTree();

}  // namespace scpi_lib
