// The parameter tables as data, one row per line. Name, value (nothing reads it), length of the short form (-1: only
// the whole word matches).
#include "src/plib/Descriptors.h"

namespace scpi_lib {

const sUnitRow Units_Hz[] = {
    {"hz", 1.0},
    {"khz", 1000.0},
    {"mhz", 1000000.0},
    {"ghz", 1000000000.0},
};
const sUnitRow Units_s[] = {
    {"s", 1.0},
    {"ms", 0.001},
    {"us", 0.000001},
    {"ns", 0.000000001},
};
const sUnitRow Units_dBm[] = {
    {"dbm", 1.0},
};
const sUnitRow Units_dB[] = {
    {"db", 1.0},
};

const sMnemonicRow MinMaxDef[] = {
    {"minimum", 0, 3},
    {"maximum", 0, 3},
    {"default", 0, 3},
};
const sMnemonicRow Booleans[4] = {
    {"off", -1, -1},
    {"on", -1, -1},
    {"0", -1, -1},
    {"1", -1, -1},
};
const sMnemonicRow PowerUnits[2] = {
    {"dbm", 0, -1},
    {"w", 0, -1},
};
const sMnemonicRow Modes[] = {
    {"cw", -1, -1},
    {"fixed", -1, 3},
    {"sweep", -1, 3},
    {"list", -1, -1},
};
const sMnemonicRow FreqSpacing[] = {
    {"linear", -1, 3},
    {"logarithmic", -1, 3},
};
const sMnemonicRow AttModes[] = {
    {"distortion", -1, 4},
    {"vswr", -1, -1},
    {"optimal", -1, 3},
    {"saving", -1, 3},
};
const sMnemonicRow ListMode[] = {
    {"auto", -1, -1},
    {"manual", -1, 3},
};
const sMnemonicRow SourceValues[] = {
    {"internal", -1, 3},
    {"external", -1, 3},
};
const sMnemonicRow TriggerSources[] = {
    {"immediate", -1, 3},
    {"external", -1, 3},
    {"bus", -1, -1},
};
const sMnemonicRow TriggerSlope[] = {
    {"positive", -1, 3},
    {"negative", -1, 3},
};
const sMnemonicRow TriggerInt[] = {
    {"point", -1, 4}, {"sweep", -1, 3}, {"auxiliary", -1, 3}, {"pulse", -1, 4}, {"step", -1, -1}, {"input", -1, 3},
};
const sMnemonicRow PMTypes[] = {
    {"frun", -1, -1},
    {"square", -1, 3},
    {"ptrain", -1, 3},
};
const sMnemonicRow PMModes[] = {
    {"fixed", -1, 3},
    {"list", -1, -1},
};
const sMnemonicRow PMPolarityState[] = {
    {"normal", -1, 4},
    {"inverted", -1, 3},
};
const sMnemonicRow AMCouplingValues[] = {
    {"ac", -1, -1},
    {"dc", -1, -1},
    {"ground", -1, 3},
};

// clang-format off
const sFParam OneBoolean        = {kKindCharacter,   Booleans, 4,         nullptr, 0,   kForSet};
const sFParam ALCStateParams    = {kKindCharacter,   Booleans, 4,         nullptr, 0,   kForSet | kMayBeLeftOut};
const sFParam OneNumeric        = {kKindNumeric,     MinMaxDef, 3,        nullptr, 0,   kTakesWords | kForQuery};
const sFParam FreqParams        = {kKindNumeric,     MinMaxDef, 3,        Units_Hz, 4,  kForSet | kTakesWords};
const sFParam PowerLevelParams  = {kKindNumeric,     MinMaxDef, 3,        Units_dBm, 1, kForSet | kTakesWords};
const sFParam PowerSpanParams   = {kKindNumeric,     MinMaxDef, 3,        Units_dB, 1,  kForSet | kTakesWords};
const sFParam AttenuationParams = {kKindNumeric,     MinMaxDef, 3,        Units_dB, 1,  kForSet | kTakesWords};
const sFParam TimeParams        = {kKindNumeric,     MinMaxDef, 3,        Units_s, 4,   kForSet | kTakesWords};
const sFParam SweepStepParams   = {kKindNumeric,     MinMaxDef, 3,        nullptr, 0,   kForSet | kTakesWords};
const sFParam SweepPointsParams = {kKindNumeric,     MinMaxDef, 3,        nullptr, 0,   kForSet | kTakesWords};
const sFParam DegreeParams      = {kKindNumeric,     MinMaxDef, 3,        nullptr, 0,   kForSet | kTakesWords};
const sFParam AMDepthParams     = {kKindNumeric,     MinMaxDef, 3,        nullptr, 0,   kForSet};
const sFParam FreqListParams    = {kKindNumericList, nullptr, 0,          Units_Hz, 4,  kForSet};
const sFParam PowerListParams   = {kKindNumericList, nullptr, 0,          Units_dBm, 1, kForSet};
const sFParam PMListTimeParams  = {kKindNumericList, nullptr, 0,          Units_s, 4,   kForSet | kTakesWords};
const sFParam PMListParams      = {kKindNumericList, nullptr, 0,          nullptr, 0,   kForSet | kTakesWords};
const sFParam UnitParams        = {kKindCharacter,   PowerUnits, 2,       nullptr, 0,   kForSet};
const sFParam FreqModeParams    = {kKindCharacter,   Modes, 4,            nullptr, 0,   kForSet};
const sFParam PowerModeParams   = {kKindCharacter,   Modes, 4,            nullptr, 0,   kForSet};
const sFParam FreqSpacingParams = {kKindCharacter,   FreqSpacing, 2,      nullptr, 0,   kForSet | kTakesWords};
const sFParam AttModeParams     = {kKindCharacter,   AttModes, 4,         nullptr, 0,   kForSet | kTakesWords};
const sFParam ListModeParams    = {kKindCharacter,   ListMode, 2,         nullptr, 0,   kForSet | kTakesWords};
const sFParam SourceParams      = {kKindCharacter,   SourceValues, 2,     nullptr, 0,   kForSet};
const sFParam TrigSourceParams  = {kKindCharacter,   TriggerSources, 3,   nullptr, 0,   kForSet};
const sFParam PosNegParams      = {kKindCharacter,   TriggerSlope, 2,     nullptr, 0,   kForSet};
const sFParam TrigIntParams     = {kKindCharacter,   TriggerInt, 6,       nullptr, 0,   kForSet};
const sFParam PMTypesParams     = {kKindCharacter,   PMTypes, 3,          nullptr, 0,   kForSet};
const sFParam PMModeParams      = {kKindCharacter,   PMModes, 2,          nullptr, 0,   kForSet};
const sFParam PMPolarityParams  = {kKindCharacter,   PMPolarityState, 2,  nullptr, 0,   kForSet};
const sFParam AMCouplingParams  = {kKindCharacter,   AMCouplingValues, 3, nullptr, 0,   kForSet};

// clang-format on

const sFunctionCallInfo SCPI_SOUR_FREQ_MODE_F = {kBothForms, &FreqModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_SWE_SPAC_F = {kBothForms, &FreqSpacingParams, 1};
const sFunctionCallInfo SCPI_OUTP_STAT_F = {kBothForms, &OneBoolean, 1};
const sFunctionCallInfo SCPI_SOUR_POW_MODE_F = {kBothForms, &PowerModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_POW_ATT_MODE_F = {kBothForms, &AttModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_POW_CONT_F = {kBothForms, &SourceParams, 1};
const sFunctionCallInfo SCPI_SOUR_ROSC_SOUR_F = {kBothForms, &SourceParams, 1};
const sFunctionCallInfo SCPI_TRIG_SEQ_SOUR_F = {kBothForms, &TrigSourceParams, 1};
const sFunctionCallInfo SCPI_TRIG_SEQ_SLOP_F = {kBothForms, &PosNegParams, 1};
const sFunctionCallInfo SCPI_TRIG_AUX_INT_F = {kBothForms, &TrigIntParams, 1};
const sFunctionCallInfo SCPI_TRIG_AUX_OPOL_F = {kBothForms, &PosNegParams, 1};
const sFunctionCallInfo SCPI_SOUR_LIST_MODE_F = {kBothForms, &ListModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_POL_F = {kBothForms, &PMPolarityParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_F = {kBothForms, &SourceParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_INT_F = {kBothForms, &PMTypesParams, 1};

}  // namespace scpi_lib
