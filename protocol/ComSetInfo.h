// Names and texts of the protocol's numbers: commands, statuses, parameters. scpi_zlt/lookups.h declares the public
// lookups over these tables. The simulator uses these names in its packet log.
#pragma once

inline constexpr int kCommandsCount = 8;
inline constexpr int kErrorsCount = 112;
inline constexpr int kParametersCount = 176;
/// The first parameters have a description, the rest only a name.
inline constexpr int kDescribedParametersCount = 146;

extern const char* const szCommandsNames[kCommandsCount];
extern const char* const szErrorsNames[kErrorsCount];
extern const wchar_t* const szErrorsStrings[kErrorsCount];
extern const char* const szParametersNames[kParametersCount];
extern const wchar_t* const szParametersStrings[kDescribedParametersCount];
