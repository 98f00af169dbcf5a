// S-parameters as CSV with a header line, for spreadsheets: a column of frequencies, then two for each parameter, row
// by row: "frequency_ghz,S11_db,S11_deg,S12_db,...". From ten ports on a name is "S1_10_db". The comment
// has the reference impedance. There is no place for noise.
#pragma once

#include <string>

#include "scpi_zlt/datafiles.h"

/// The parameters may come in any order and in any of the formats; the unit is that of the first name. Throws
/// DataFileError.
scpi_zlt::Network ReadNetworkCsv(const std::string& file);

/// Throws DataFileError.
void WriteNetworkCsv(const std::string& file, const scpi_zlt::Network& network,
                     const scpi_zlt::TouchstoneOptions& options);
