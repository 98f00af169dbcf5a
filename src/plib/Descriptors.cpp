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

// Kind (3 a mnemonic, 4 a number or a mnemonic, 5 a list of numbers), mnemonics, units, flags (2 takes the mnemonics, 4
// may be left out; nothing reads 1 and 8).
// clang-format off
const sFParam OneBoolean        = {3, Booleans, 4,         nullptr, 0,   1};
const sFParam ALCStateParams    = {3, Booleans, 4,         nullptr, 0,   5};
const sFParam OneNumeric        = {4, MinMaxDef, 3,        nullptr, 0,   10};
const sFParam FreqParams        = {4, MinMaxDef, 3,        Units_Hz, 4,  3};
const sFParam PowerLevelParams  = {4, MinMaxDef, 3,        Units_dBm, 1, 3};
const sFParam PowerSpanParams   = {4, MinMaxDef, 3,        Units_dB, 1,  3};
const sFParam AttenuationParams = {4, MinMaxDef, 3,        Units_dB, 1,  3};
const sFParam TimeParams        = {4, MinMaxDef, 3,        Units_s, 4,   3};
const sFParam SweepStepParams   = {4, MinMaxDef, 3,        nullptr, 0,   3};
const sFParam SweepPointsParams = {4, MinMaxDef, 3,        nullptr, 0,   3};
const sFParam DegreeParams      = {4, MinMaxDef, 3,        nullptr, 0,   3};
const sFParam AMDepthParams     = {4, MinMaxDef, 3,        nullptr, 0,   1};
const sFParam FreqListParams    = {5, nullptr, 0,          Units_Hz, 4,  1};
const sFParam PowerListParams   = {5, nullptr, 0,          Units_dBm, 1, 1};
const sFParam PMListTimeParams  = {5, nullptr, 0,          Units_s, 4,   3};
const sFParam PMListParams      = {5, nullptr, 0,          nullptr, 0,   3};
const sFParam UnitParams        = {3, PowerUnits, 2,       nullptr, 0,   1};
const sFParam FreqModeParams    = {3, Modes, 4,            nullptr, 0,   1};
const sFParam PowerModeParams   = {3, Modes, 4,            nullptr, 0,   1};
const sFParam FreqSpacingParams = {3, FreqSpacing, 2,      nullptr, 0,   3};
const sFParam AttModeParams     = {3, AttModes, 4,         nullptr, 0,   3};
const sFParam ListModeParams    = {3, ListMode, 2,         nullptr, 0,   3};
const sFParam SourceParams      = {3, SourceValues, 2,     nullptr, 0,   1};
const sFParam TrigSourceParams  = {3, TriggerSources, 3,   nullptr, 0,   1};
const sFParam PosNegParams      = {3, TriggerSlope, 2,     nullptr, 0,   1};
const sFParam TrigIntParams     = {3, TriggerInt, 6,       nullptr, 0,   1};
const sFParam PMTypesParams     = {3, PMTypes, 3,          nullptr, 0,   1};
const sFParam PMModeParams      = {3, PMModes, 2,          nullptr, 0,   1};
const sFParam PMPolarityParams  = {3, PMPolarityState, 2,  nullptr, 0,   1};
const sFParam AMCouplingParams  = {3, AMCouplingValues, 3, nullptr, 0,   1};

// clang-format on

const sFunctionCallInfo SCPI_SOUR_FREQ_MODE_F = {kBoth, &FreqModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_SWE_SPAC_F = {kBoth, &FreqSpacingParams, 1};
const sFunctionCallInfo SCPI_OUTP_STAT_F = {kBoth, &OneBoolean, 1};
const sFunctionCallInfo SCPI_SOUR_POW_MODE_F = {kBoth, &PowerModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_POW_ATT_MODE_F = {kBoth, &AttModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_POW_CONT_F = {kBoth, &SourceParams, 1};
const sFunctionCallInfo SCPI_SOUR_ROSC_SOUR_F = {kBoth, &SourceParams, 1};
const sFunctionCallInfo SCPI_TRIG_SEQ_SOUR_F = {kBoth, &TrigSourceParams, 1};
const sFunctionCallInfo SCPI_TRIG_SEQ_SLOP_F = {kBoth, &PosNegParams, 1};
const sFunctionCallInfo SCPI_TRIG_AUX_INT_F = {kBoth, &TrigIntParams, 1};
const sFunctionCallInfo SCPI_TRIG_AUX_OPOL_F = {kBoth, &PosNegParams, 1};
const sFunctionCallInfo SCPI_SOUR_LIST_MODE_F = {kBoth, &ListModeParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_POL_F = {kBoth, &PMPolarityParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_F = {kBoth, &SourceParams, 1};
const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_INT_F = {kBoth, &PMTypesParams, 1};

}  // namespace scpi_lib
