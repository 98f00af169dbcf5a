// Names of the protocol's numbers, and the public lookups over them. The number of a row follows from its place: one
// more than the row before, or the number after "=". The texts are in ComSetTexts.cpp.
#include "protocol/ComSetInfo.h"

#include "scpi_zlt/lookups.h"

// clang-format off
constexpr const char* const szCommandsNames[kCommandsCount] = {
    "SK_TEST",      // 0
    "SK_RESET",     // 1
    "SK_INIT",      // 2
    "SK_SET",       // 3
    "SK_GET",       // 4
    "SK_GET_LIST",  // 5
    "SK_RUN",       // 6
    "SK_EXEC",      // 7
};

constexpr const char* const szErrorsNames[kErrorsCount] = {
    "SK_NO_ERROR",                     // 0
    "SK_PARAMETER_CORRECTED",          // 1
    "SK_PARAMETER_IGNORED",            // 2
    "SK_TIMEOUT",                      // 3
    "SK_ETHERNET",                     // 4
    "SK_FINISH",                       // 5
    "SK_UNLEVEL",                      // 6
    "SK_BREAK_FLOW",                   // 7
    "SK_RF_OVERLOAD",                  // 8
    "SK_ADC_OVERLOAD",                 // 9
    "SK_IF_OVERLOAD",                  // 10
    "SK_IF1_OVERLOAD",                 // 11
    "SK_IF2_OVERLOAD",                 // 12
    "SK_IF3_OVERLOAD",                 // 13
    "SK_IF4_OVERLOAD",                 // 14
    "SK_IF5_OVERLOAD",                 // 15
    "SKAPI_XML_EMPTY_VALUE",           // 16
    "SK_UNREACH_POWER",                // 17
    "SK_BREAK_FLOW_LOGICAL",           // 18
    "SK_NOT_CORRECT_MEASUREMENT",      // 19
    "SK_NOT_ENOUGH_RESOLUTION",        // 20
    "SK_NOT_FINISH",                   // 21
    "SK_EXTREF_NO_PLL_WARNING",        // 22
    "SK_EXTREF_NO_POWER_WARNING",      // 23
    "SK_NO_SIGNAL_WARNING",            // 24
    "SE_READ_TIMEOUT = 20486",         // 20486
    "SE_WRITE_TIMEOUT",                // 20487
    "SE_CANT_EXTRACT_MEMORY = 20491",  // 20491
    "SE_CANT_OPEN_FILE = 20493",       // 20493
    "SE_WRITE_FILE_ERROR = 20496",     // 20496
    "SE_READ_FILE_ERROR",              // 20497
    "SE_UNKNOWN_ERROR = 20503",        // 20503
    "SE_OPERATION_CANCELED = 20505",   // 20505
    "SE_CONNECTION_LOST",              // 20506
    "SE_PATH_NOTFOUND",                // 20507
    "SE_NSUP_FILE_FORMAT",             // 20508
    "SE_NO_DATA",                      // 20509
    "SK_CRITICAL_ERROR = -32768",      // -32768
    "SK_UNKNOWN_COMMAND",              // -32767
    "SK_UNKNOWN_PARAMETER",            // -32766
    "SK_PARAMETER_INCORRECT",          // -32765
    "SK_NO_PARAMETERS",                // -32764
    "SK_SMALL_SIZE",                   // -32763
    "SK_PLD_ERROR",                    // -32762
    "SK_LO1_NO_PLL",                   // -32761
    "SK_LO2_NO_PLL",                   // -32760
    "SK_LO3_NO_PLL",                   // -32759
    "SK_SYNC_TIMEOUT",                 // -32758
    "SK_SYNTH_TIMEOUT",                // -32757
    "SK_ADC_ERROR",                    // -32756
    "SK_SIZE_ERROR",                   // -32755
    "SK_SIGNATURE_ERROR",              // -32754
    "SK_EPROM_ERROR",                  // -32753
    "SK_EPROM_MISMATCH",               // -32752
    "SK_CALIBR_T2_ERROR",              // -32751
    "SK_CALIBR_T2_SIZE_ERROR",         // -32750
    "SK_LVDS_TIMEOUT",                 // -32749
    "SK_LVDS_DEVICE_ERROR",            // -32748
    "SK_LVDS_REGISTER_ERROR",          // -32747
    "SK_ASYNC_TIMEOUT",                // -32746
    "SK_LOCAL_CONTROL",                // -32745
    "SK_FILE_FORMAT_ERROR",            // -32744
    "SK_LVDS_DOUBLE_READ",             // -32743
    "SK_ERROR_SYNT_MODE",              // -32742
    "SK_SATA_ERROR",                   // -32741
    "SK_EXTREF_NO_PLL",                // -32740
    "SK_SYNTH_NO_PLL",                 // -32739
    "SK_LO4_NO_PLL",                   // -32738
    "SK_LO5_NO_PLL",                   // -32737
    "SK_EXTREF_NO_PLL_MEASURE",        // -32736
    "SK_EXTREF_NO_POWER",              // -32735
    "SK_EXTREF_NO_POWER_MEASURE",      // -32734
    "SK_REF_GEN_FAULT",                // -32733
    "SK_CALIBRATION_POWER_ERROR",      // -32732
    "SKAPI_REQUEST_FAIL = -32512",     // -32512
    "SKAPI_FILE_SYSTEM_ERROR",         // -32511
    "SKAPI_PATH_NOTFOUND",             // -32510
    "SKAPI_FILE_NOTFOUND",             // -32509
    "SKAPI_READ_ERROR",                // -32508
    "SKAPI_WRITE_ERROR",               // -32507
    "SKAPI_ACCESS_DENIED",             // -32506
    "SKAPI_CRC_ERROR",                 // -32505
    "SKAPI_ILLEGAL_BOOTFILE",          // -32504
    "SKAPI_NOT_ENOUGH_SPACE",          // -32503
    "SKAPI_NOT_ENOUGH_FILESIZE",       // -32502
    "SKAPI_FTP_TIMEOUT",               // -32501
    "SKAPI_XML_NODE_NOTFOUND",         // -32500
    "SKAPI_ERROR2",                    // -32499
    "SKAPI_ERROR3",                    // -32498
    "SKAPI_ERROR4",                    // -32497
    "SKAPI_ERROR5",                    // -32496
    "SK_CTRL_NOT_ENOUGH_MEMORY",       // -32495
    "SK_CTRL_WRONG_CALC_DATA",         // -32494
    "SK_CTRL_RESET_LOAD_DEVICE",       // -32493
    "SK_CTRL_WRONG_FREQ_DIVIDER",      // -32492
    "SK_CTRL_REQUEST_TIMEOUT",         // -32491
    "SK_CTRL_TIME_NOT_OUT",            // -32490
    "SK_CTRL_WRONG_FREQ",              // -32489
    "SK_CTRL_WRONG_SOURCE_DATA",       // -32488
    "SK_CTRL_CLASS_USING_ERROR",       // -32487
    "SK_CTRL_WRONG_STAGE",             // -32486
    "SK_CTRL_WRONG_ARGUMENT",          // -32485
    "SK_CTRL_ERROR2",                  // -32484
    "SK_CTRL_ERROR3",                  // -32483
    "SK_CTRL_ERROR4",                  // -32482
    "SK_CTRL_ERROR5",                  // -32481
    "SK_CTRL_ERROR6",                  // -32480
    "SK_CTRL_ERROR7",                  // -32479
    "SK_CTRL_ERROR8",                  // -32478
    "SK_CTRL_ERROR9",                  // -32477
    "SK_CTRL_ERROR10",                 // -32476
    "SK_W3T_USER_CHANGES",             // -32475
};

constexpr const char* const szParametersNames[kParametersCount] = {
    "P_FREQUENCY",                   // 0
    "P_AUTO_GAIN",                   // 1
    "P_FREQUENCY_LIST2",             // 2
    "P_MODE",                        // 3
    "P_AVERAGING",                   // 4
    "P_INTERVAL",                    // 5
    "P_TEMPERATURE",                 // 6
    "P_SYNC_IN",                     // 7
    "P_SYNC_OUT",                    // 8
    "P_SYNC_OUT2",                   // 9
    "P_FILE",                        // 10
    "P_COMPENSATION",                // 11
    "P_RF_OUT",                      // 12
    "P_ETHERNET",                    // 13
    "P_SER_NUM",                     // 14
    "P_DATES",                       // 15
    "P_RUN_TIME",                    // 16
    "P_EXT_REF_GEN",                 // 17
    "P_BOOTROM",                     // 18
    "P_SYNTH04",                     // 19
    "P_ADC_PARAM",                   // 20
    "P_SYNTH04_GET_DAC",             // 21
    "P_SYNTH04_EPROM",               // 22
    "P_CONFIG",                      // 23
    "P_RAM",                         // 24
    "P_EPROM",                       // 25
    "P_RF_OUT_LIST",                 // 26
    "P_SEARCH_POWER",                // 27
    "P_INT_COMMAND",                 // 28
    "P_CALIBR",                      // 29
    "P_REGUL_CURVE",                 // 30
    "P_MODULATION",                  // 31
    "P_BLOCKINFRAM",                 // 32
    "P_BOOTROM2",                    // 33
    "P_RF_BUTTON",                   // 34
    "P_CALIBR_FREQ",                 // 35
    "P_POINTS_LIST",                 // 36
    "P_GEN_SYNC",                    // 37
    "P_REGUL_CURVE_2",               // 38
    "P_AVTOZERO",                    // 39
    "P_Q2T_MAX_NUMBER",              // 40
    "P_CLK = 50",                    // 50
    "P_AUX",                         // 51
    "P_AGC",                         // 52
    "P_DECIMATION",                  // 53
    "P_FACTOR",                      // 54
    "P_CHANNEL_MASK",                // 55
    "P_RRS_FREQUENCY",               // 56
    "P_RRS_ATTENUATE",               // 57
    "P_RRS_BASE_ATTENUATE",          // 58
    "P_RRS_REL_ATTENUATE",           // 59
    "P_RRS_RF_IN",                   // 60
    "P_RRS_TEMPERATURE",             // 61
    "P_GEN_REL_FREQUENCY",           // 62
    "P_GEN_ATTENUATE",               // 63
    "P_GEN_RF_OUT",                  // 64
    "P_LVDS_STATUS",                 // 65
    "P_IF_FILTER_BANDWIDTH",         // 66
    "P_NOISE_GEN",                   // 67
    "P_TABLE_NKPP",                  // 68
    "P_VIDEO_FILTER_BANDWIDTH",      // 69
    "P_SWITCH",                      // 70
    "P_DISPLAY_DETECTOR",            // 71
    "P_RRS_LOW_NOISE_AMPL",          // 72
    "P_ECAL_STATE",                  // 73
    "P_IF_AMPLIFY",                  // 74
    "P_IF_COEFFICIENTS",             // 75
    "P_RF_OUT_LIST2",                // 76
    "P_SYNTH_MODE",                  // 77
    "P_EXT_REF_GEN2",                // 78
    "P_RF_OUT2",                     // 79
    "P_PHASE_GEN",                   // 80
    "P_AC_DC_INPUT",                 // 81
    "P_CORR_FR",                     // 82
    "P_SID",                         // 83
    "P_PRESELECTOR_OFFSET",          // 84
    "P_LO1_MODE",                    // 85
    "P_IF_PROCESSING",               // 86
    "P_RRS_FREQUENCY_COUNTER",       // 87
    "P_RRS_REFERENCE_LEVEL",         // 88
    "P_MEASURE_TIME",                // 89
    "P_OPTIMUM_POINTS",              // 90
    "P_TIME",                        // 91
    "P_PHASE",                       // 92
    "P_SYNC_PARAM",                  // 93
    "P_LOG_KOEF",                    // 94
    "P_SWEEP_TIME",                  // 95
    "P_MAX_MIXER_LEVEL",             // 96
    "P_INPUT_TYPE",                  // 97
    "P_INSTRUMENT_INPUT",            // 98
    "P_ADC_DITHERING",               // 99
    "P_STREAM_MODE",                 // 100
    "P_SAMPLE_RATE",                 // 101
    "P_INPUT_IMPEDANCE",             // 102
    "P_STREAM_POINTS",               // 103
    "P_SWEEP_MIN_IF_FILTER",         // 104
    "P_RESPONSE_FREQUENCY",          // 105
    "P_RESPONSE_AMPLITUDE",          // 106
    "P_RESPONSE_PHASE",              // 107
    "P_SYNC_POINT",                  // 108
    "P_DEMODULATION",                // 109
    "P_INT_COMMAND_LIST",            // 110
    "P_MEASURE_PROPERTY",            // 111
    "P_RRS_FREQUENCY_LIST2",         // 112
    "P_SPECIFICATION",               // 113
    "P_GEN_MODE",                    // 114
    "P_IF",                          // 115
    "P_PREFILTERS_CALIBRATION",      // 116
    "P_NOISE_REC_GAIN",              // 117
    "P_SYNC_POINT_LIST",             // 118
    "P_IF_FILTER_NOISE_BANDWIDTH",   // 119
    "P_DIVIDER",                     // 120
    "P_IF_MODE",                     // 121
    "P_CALIBR_IF_FILTER_BANDWIDTH",  // 122
    "P_DEBUG",                       // 123
    "P_IF_GAIN",                     // 124
    "P_PHASE_NOISE_FREQ_OFFSETS",    // 125
    "P_PHASE_NOISE_FREQ_LIST",       // 126
    "P_POINTS",                      // 127
    "P_DC_BIAS",                     // 128
    "P_IF_FILTER_TYPE",              // 129
    "P_DEMOD_DATA_TO_FILE",          // 130
    "P_DEMOD_SPECTRUM_DATA",         // 131
    "P_DEMOD_SPECTRUM_FREQUENCY",    // 132
    "P_DEMOD_SPECTRUM_RBW",          // 133
    "P_DEMOD_WAVEFORM_DATA",         // 134
    "P_DEMOD_WAVEFORM_TIME",         // 135
    "P_DEMOD_FREQUENCY_CORR",        // 136
    "P_IF_BANDWIDTH_LF_REDUCTION",   // 137
    "P_PULSE_MODE",                  // 138
    "P_PULSE_PARAM",                 // 139
    "P_HARMONICS_PROC_MODE",         // 140
    "P_HARMONICS_FREQUENCY_LIST",    // 141
    "P_NOISE_REC_RBW",               // 142
    "P_PRESELECTOR_MAX_MIN",         // 143
    "P_W3T_UNITS = 200",             // 200
    "P_W3T_DIGIT",                   // 201
    "P_W3T_LIGHT",                   // 202
    "P_W3T_ZEROING",                 // 203
    "P_POWER_OFFSET",                // 204
    "P_DATE_TIME",                   // 205
    "P_PROFILE",                     // 206
    "P_LIMITS",                      // 207
    "P_MEMORY",                      // 208
    "P_CURRENT_POW",                 // 209
    "P_MAX_NUMBER",                  // 210
    "P_IF_FILTER",                   // 211
    "P_POINTS_MODE",                 // 212
    "P_FREQ_OFFSET",                 // 213
    "P_RRS_ATTENUATE1",              // 214
    "P_SRP_MODE",                    // 215
    "P_RRS_FREQ_OFFSET",             // 216
    "P_IF_FREQUENCY",                // 217
    "P_RF_PORT2_OFFSET",             // 218
    "P_RF_POWER_SLOPE",              // 219
    "P_EXT_ATTENUATE",               // 220
    "P_VIDEO_FILTER",                // 221
    "P_IMPULSE_MEASURE",             // 222
    "P_IMPULSE_MEASURE_Q4T",         // 223
    "P_RF_OUT_LIST_CORR",            // 224
    "P_LO_POWER_RESP",               // 225
    "P_NOISE_AVERAGING",             // 226
    "P_NOISE_REC_GAIN_MODE",         // 227
    "P_REF_UNLOCK",                  // 228
    "P_AUTOTUNE",                    // 229
    "P_DC_BIAS_EX",                  // 230
    "P_DC_MEASURE",                  // 231
    "P_ALL_ATTENUATE",               // 232
    "P_SWEEP_TIME_EX",               // 233
    "P_COMPR_MODE",                  // 234
    "P_PHASE_NOISE_POWER",           // 235
    "P_PHASE_NOISE_TRACKING",        // 236
    "P_PHASE_NOISE_PROC_MODE",       // 237
    "P_SWEEP_ON_FREQ_LIST",          // 238
    "P_SWEEP_ON_PWR_LIST",           // 239
    "P_DEMOD_SPECTRUM_RBW_EX",       // 240
};
// clang-format on

static_assert(szCommandsNames[kCommandsCount - 1] != nullptr);
static_assert(szErrorsNames[kErrorsCount - 1] != nullptr);
static_assert(szParametersNames[kParametersCount - 1] != nullptr);

namespace {

/// The lookups take tables of writable pointers, though they only read them.
const char** Rows(const char* const* table) {
  return const_cast<const char**>(table);
}
const wchar_t** Rows(const wchar_t* const* table) {
  return const_cast<const wchar_t**>(table);
}

int IdByRow(const char* const* table, int count, int row) {
  return row < count ? GetEnumID(Rows(table), row) : -1;
}

}  // namespace

const char* GetCommandName(int id) {
  return GetEnumName(Rows(szCommandsNames), kCommandsCount, id);
}

int GetCommandID(const char* text) {
  return GetEnumID(Rows(szCommandsNames), kCommandsCount, text);
}

const char* GetErrorName(int id) {
  const char* name = GetEnumName(Rows(szErrorsNames), kErrorsCount, id);
  // Odd, and kept: an unknown number reads like success.
  return name != nullptr ? name : "NO_ERROR";
}

const wchar_t* GetErrorString(int id) {
  const wchar_t* message = GetEnumValueW(Rows(szErrorsNames), Rows(szErrorsStrings), kErrorsCount, id);
  return message != nullptr ? message : L"Неизвестная ошибка";
}

int GetErrorsCount() {
  return kErrorsCount;
}

int GetErrorIDByIndex(int row) {
  return IdByRow(szErrorsNames, kErrorsCount, row);
}

const char* GetParameterName(int id) {
  return GetEnumName(Rows(szParametersNames), kParametersCount, id);
}

const wchar_t* GetParameterDescriptionW(int id) {
  const wchar_t* text =
      GetEnumValueW(Rows(szParametersNames), Rows(szParametersStrings), kDescribedParametersCount, id);
  return text != nullptr ? text : L"Неизвестный параметр";
}

int GetParameterID(const char* text) {
  return GetEnumID(Rows(szParametersNames), kParametersCount, text);
}

int GetParametersCount() {
  return kParametersCount;
}

int GetParameterIDByIndex(int row) {
  return IdByRow(szParametersNames, kParametersCount, row);
}
