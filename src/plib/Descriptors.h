// What the parameter of a command may be: suffixes with their multipliers, character data with its short forms, and the
// descriptors that combine them. A word reaches its handler as its row number in these tables, so the order of rows is
// part of the interface.
#pragma once

#include <cstddef>

#include "scpi_core/types.h"
#include "src/plib/Spelling.h"

namespace scpi_lib {

// clang-format off
inline constexpr sUnitRow Units_Hz[]  = {{"hz", 1.0}, {"khz", 1e3}, {"mhz", 1e6}, {"ghz", 1e9}};
inline constexpr sUnitRow Units_s[]   = {{"s", 1.0}, {"ms", 0.001}, {"us", 0.000001}, {"ns", 0.000000001}};
inline constexpr sUnitRow Units_dBm[] = {{"dbm", 1.0}};
inline constexpr sUnitRow Units_dB[]  = {{"db", 1.0}};

inline constexpr sMnemonicRow MinMaxDef[]        = {Word<"MINimum">, Word<"MAXimum">, Word<"DEFault">};
inline constexpr sMnemonicRow Booleans[]         = {Word<"OFF">, Word<"ON">, Word<"0">, Word<"1">};
inline constexpr sMnemonicRow PowerUnits[]       = {Word<"DBM">, Word<"W">};
inline constexpr sMnemonicRow Modes[]            = {Word<"CW">, Word<"FIXed">, Word<"SWEep">, Word<"LIST">};
inline constexpr sMnemonicRow FreqSpacing[]      = {Word<"LINear">, Word<"LOGarithmic">};
inline constexpr sMnemonicRow AttModes[]         = {Word<"DISTortion">, Word<"VSWR">, Word<"OPTimal">, Word<"SAVing">};
inline constexpr sMnemonicRow ListMode[]         = {Word<"AUTO">, Word<"MANual">};
inline constexpr sMnemonicRow SourceValues[]     = {Word<"INTernal">, Word<"EXTernal">};
inline constexpr sMnemonicRow TriggerSources[]   = {Word<"IMMediate">, Word<"EXTernal">, Word<"BUS">};
inline constexpr sMnemonicRow TriggerSlope[]     = {Word<"POSitive">, Word<"NEGative">};
inline constexpr sMnemonicRow TriggerInt[]       = {Word<"POINt">, Word<"SWEep">, Word<"AUXiliary">, Word<"PULSe">,
                                                    Word<"STEP">, Word<"INPut">};
inline constexpr sMnemonicRow PMTypes[]          = {Word<"FRUN">, Word<"SQUare">, Word<"PTRain">};
inline constexpr sMnemonicRow PMModes[]          = {Word<"FIXed">, Word<"LIST">};
inline constexpr sMnemonicRow PMPolarityState[]  = {Word<"NORMal">, Word<"INVerted">};
inline constexpr sMnemonicRow AMCouplingValues[] = {Word<"AC">, Word<"DC">, Word<"GROund">};
// clang-format on

// Rows that handlers compare with.
enum EBooleanRow : int { kRowOff = 0, kRowOn = 1, kRowZero = 2, kRowOne = 3 };
enum EModeRow : int { kRowCW = 0 };  ///< the others are those of EMode

// A descriptor names its kind, its tables and its flags; the counts come from the tables.

struct None {};
inline constexpr None NoUnits;
inline constexpr None NoParameter;  ///< of a command

template <std::size_t Words>
constexpr sFParam Character(const sMnemonicRow (&words)[Words], EParamFlags flags) {
  return {kKindCharacter, words, Words, nullptr, 0, flags};
}
template <std::size_t Words>
constexpr sFParam Numeric(const sMnemonicRow (&words)[Words], None, EParamFlags flags) {
  return {kKindNumeric, words, Words, nullptr, 0, flags};
}
template <std::size_t Words, std::size_t Units>
constexpr sFParam Numeric(const sMnemonicRow (&words)[Words], const sUnitRow (&units)[Units], EParamFlags flags) {
  return {kKindNumeric, words, Words, units, Units, flags};
}
constexpr sFParam NumericList(None, EParamFlags flags) {
  return {kKindNumericList, nullptr, 0, nullptr, 0, flags};
}
template <std::size_t Units>
constexpr sFParam NumericList(const sUnitRow (&units)[Units], EParamFlags flags) {
  return {kKindNumericList, nullptr, 0, units, Units, flags};
}

// clang-format off
inline constexpr sFParam OneBoolean        = Character(Booleans, kForSet);
inline constexpr sFParam ALCStateParams    = Character(Booleans, kForSet | kMayBeLeftOut);
inline constexpr sFParam OneNumeric        = Numeric(MinMaxDef, NoUnits, kTakesWords | kForQuery);
inline constexpr sFParam FreqParams        = Numeric(MinMaxDef, Units_Hz, kForSet | kTakesWords);
inline constexpr sFParam PowerLevelParams  = Numeric(MinMaxDef, Units_dBm, kForSet | kTakesWords);
inline constexpr sFParam PowerSpanParams   = Numeric(MinMaxDef, Units_dB, kForSet | kTakesWords);
inline constexpr sFParam AttenuationParams = Numeric(MinMaxDef, Units_dB, kForSet | kTakesWords);
inline constexpr sFParam TimeParams        = Numeric(MinMaxDef, Units_s, kForSet | kTakesWords);
inline constexpr sFParam SweepStepParams   = Numeric(MinMaxDef, NoUnits, kForSet | kTakesWords);
inline constexpr sFParam SweepPointsParams = Numeric(MinMaxDef, NoUnits, kForSet | kTakesWords);
inline constexpr sFParam DegreeParams      = Numeric(MinMaxDef, NoUnits, kForSet | kTakesWords);
inline constexpr sFParam AMDepthParams     = Numeric(MinMaxDef, NoUnits, kForSet);
inline constexpr sFParam FreqListParams    = NumericList(Units_Hz, kForSet);
inline constexpr sFParam PowerListParams   = NumericList(Units_dBm, kForSet);
inline constexpr sFParam PMListTimeParams  = NumericList(Units_s, kForSet | kTakesWords);
inline constexpr sFParam PMListParams      = NumericList(NoUnits, kForSet | kTakesWords);
inline constexpr sFParam UnitParams        = Character(PowerUnits, kForSet);
inline constexpr sFParam FreqModeParams    = Character(Modes, kForSet);
inline constexpr sFParam PowerModeParams   = Character(Modes, kForSet);
inline constexpr sFParam FreqSpacingParams = Character(FreqSpacing, kForSet | kTakesWords);
inline constexpr sFParam AttModeParams     = Character(AttModes, kForSet | kTakesWords);
inline constexpr sFParam ListModeParams    = Character(ListMode, kForSet | kTakesWords);
inline constexpr sFParam SourceParams      = Character(SourceValues, kForSet);
inline constexpr sFParam TrigSourceParams  = Character(TriggerSources, kForSet);
inline constexpr sFParam PosNegParams      = Character(TriggerSlope, kForSet);
inline constexpr sFParam TrigIntParams     = Character(TriggerInt, kForSet);
inline constexpr sFParam PMTypesParams     = Character(PMTypes, kForSet);
inline constexpr sFParam PMModeParams      = Character(PMModes, kForSet);
inline constexpr sFParam PMPolarityParams  = Character(PMPolarityState, kForSet);
inline constexpr sFParam AMCouplingParams  = Character(AMCouplingValues, kForSet);
// clang-format on

}  // namespace scpi_lib
