// The table of SCPI numbers and texts, and the routines from a status to its number and text.
#include "support/ErrorInfo.h"

#include "scpi_zlt/lookups.h"
#include "scpi_zlt/scpi_errors.h"

// Odd, and kept: texts with typing errors. Programs may compare them.
// clang-format off
constexpr sErrorInfoRow ErrorInfo[kErrorInfoCount] = {
    // DeviceCode, ScpiCode, Text, CommandClass
    {     0, scpi_error::kNone,                     "No error",                                                 0},
    {     0, scpi_error::kParameterNotAllowed,      "Parameter not allowed",                                    1},
    {     0, scpi_error::kMissingParameter,         "Missing parameter",                                        1},
    {-32766, scpi_error::kUndefinedHeader,          "Undefined header",                                         1},
    {     0, scpi_error::kHeaderSuffixOutOfRange,   "Header suffix out of range",                               1},
    {     0, scpi_error::kInvalidCharacterInNumber, "Invalid character in number",                              1},
    {     0, scpi_error::kExponentTooLarge,         "Exponent too large",                                       1},
    {     0, scpi_error::kNumericDataNotAllowed,    "Numeric data not allowed",                                 1},
    {     0, scpi_error::kInvalidSuffix,            "Invalid suffix",                                           1},
    {     0, scpi_error::kSuffixNotAllowed,         "Suffix not allowed",                                       1},
    {     0, scpi_error::kBlockDataError,           "Block data error",                                         1},
    {     0, scpi_error::kInvalidBlockData,         "Invalid block data",                                       1},
    {     0, scpi_error::kBlockDataNotAllowed,      "Block data not allowed",                                   1},
    {     0, scpi_error::kTriggerIgnored,           "Trigger ignored",                                          1},
    {     0, scpi_error::kInitIgnored,              "Initiation ignored",                                       1},
    {     0, scpi_error::kSettingsConflict,         "Settings conflict",                                        1},
    {     0, scpi_error::kDataOutOfRange,           "Data out of range",                                        1},
    {     0, scpi_error::kIllegalParameterValue,    "Illegal parameter value",                                  1},
    {     0, scpi_error::kListsNotSameLength,       "Lists not same length",                                    0},
    {     0, scpi_error::kNoMeasurementSelected,    "CALC measurement selection set to none",                   0},
    {     0, scpi_error::kInvalidFormat,            "Invalid format",                                           0},
    {     0, scpi_error::kHardwareError,            "Hardware error",                                           0},
    {     0, scpi_error::kFileNameNotFound,         "File name not found",                                      0},
    {     0, scpi_error::kInvalidFileName,          "Invalid file name",                                        0},
    {     0, scpi_error::kDeviceSpecificError,      "Device-specific error",                                    0},
    {     0, scpi_error::kNoValidData,              "There is no valid data in the measurement buffer",         0},
    {     0, scpi_error::kSystemError,              "System error",                                             0},
    {     0, scpi_error::kStorageFault,             "Storage fault",                                            0},
    {     0, scpi_error::kQueueOverflow,            "Queue overflow",                                           0},
    {     0, scpi_error::kCommunicationError,       "Communication error",                                      0},
    {     0, scpi_error::kTimeOutError,             "Time out error",                                           0},
    {     3, 103,                                   "Measurement timeout",                                      0},
    {     4, 104,                                   "Ethernet connection is closed",                            0},
    {     5, 105,                                   "Operation complete",                                       0},
    {     6, 106,                                   "Source power unlevel",                                     0},
    {     7, 107,                                   "Data flow is broken",                                      0},
    {     8, 108,                                   "RF overload",                                              0},
    {     9, 109,                                   "ADC overload",                                             0},
    {    10, 110,                                   "IF overload",                                              0},
    {    11, 111,                                   "IF1 overload",                                             0},
    {    12, 112,                                   "IF2 overload",                                             0},
    {    13, 113,                                   "IF3 overload",                                             0},
    {    14, 114,                                   "IF4 overload",                                             0},
    {    15, 115,                                   "IF5 overload",                                             0},
    {    16, 116,                                   "XML value is empty",                                       0},
    {    17, 117,                                   "Specified power is not reached",                           0},
    {    18, 118,                                   "Data flow is logicaly broken",                             0},
    {    19, 119,                                   "Measurement is not valid",                                 0},
    {    20, 120,                                   "Not enough frequency resolution",                          0},
    {    21, 121,                                   "Operation not complete",                                   0},
    { 20486, 206,                                   "Read timeout",                                             0},
    { 20487, 207,                                   "Write timeout",                                            0},
    { 20503, 223,                                   "Unknown software error",                                   0},
    { 20505, 225,                                   "Operation canceled",                                       0},
    { 20506, 226,                                   "Connection lost",                                          0},
    {     0, 253,                                   "No parameter selected",                                    0},
    {     0, 255,                                   "Data not found",                                           0},
    {     0, 256,                                   "Measurement not found",                                    0},
    {-32768, 300,                                   "Device is in critical state",                              0},
    {-32763, 305,                                   "Insufficient command size",                                0},
    {-32762, 306,                                   "PLD error",                                                0},
    {-32761, 307,                                   "LO1 no PLL",                                               0},
    {-32760, 308,                                   "LO2 no PLL",                                               0},
    {-32759, 309,                                   "LO3 no PLL",                                               0},
    {-32758, 310,                                   "Digital synchronization timeout",                          0},
    {-32757, 311,                                   "Synthesizer timeout",                                      0},
    {-32756, 312,                                   "ADC error",                                                0},
    {-32755, 313,                                   "Invalid command size",                                     0},
    {-32754, 314,                                   "Invalid signature",                                        0},
    {-32753, 315,                                   "EPROM error",                                              0},
    {-32752, 316,                                   "EPROM mismatch",                                           0},
    {-32751, 317,                                   "",                                                         0},
    {-32750, 318,                                   "",                                                         0},
    {-32749, 319,                                   "LVDS timeout",                                             0},
    {-32748, 320,                                   "LVDS device missing",                                      0},
    {-32747, 321,                                   "LVDS device register missing",                             0},
    {-32746, 322,                                   "Analog asynchronous timeout",                              0},
    {-32745, 323,                                   "Remote control denied",                                    0},
    {-32744, 324,                                   "Invalid file format",                                      0},
    {-32743, 325,                                   "LVDS packets duplication",                                 0},
    {-32742, 326,                                   "Synthesizer mode error",                                   0},
    {-32741, 327,                                   "SATA error",                                               0},
    {-32740, 328,                                   "External reference oscillator no PLL",                     0},
    {-32739, 329,                                   "Synthesizer no PLL",                                       0},
    {-32738, 330,                                   "LO4 no PLL",                                               0},
    {-32737, 331,                                   "LO5 no PLL",                                               0},
    {-32736, 332,                                   "External reference oscillator no PLL during measument",    0},
    {-32735, 333,                                   "External reference oscillator no powerL",                  0},
    {-32734, 334,                                   "External reference oscillator no power during measumentL", 0},
    {-32733, 335,                                   "Reference oscillator fault",                               0},
    {-32732, 336,                                   "Calibration signal wrong power",                           0},
    {-32512, 556,                                   "Internal request failed",                                  0},
    {-32511, 557,                                   "File system error",                                        0},
    {-32510, 558,                                   "Path not found",                                           0},
    {-32509, 559,                                   "File name not found",                                      0},
    {-32508, 560,                                   "Read file error",                                          0},
    {-32507, 561,                                   "Write file error",                                         0},
    {-32506, 562,                                   "Access denied",                                            0},
    {-32505, 563,                                   "CRC error",                                                0},
    {-32504, 564,                                   "Invalid firmware file",                                    0},
    {-32503, 565,                                   "Not enough space",                                         0},
    {-32502, 566,                                   "File size is too small",                                   0},
    {-32501, 567,                                   "FTP timeout",                                              0},
    {-32500, 568,                                   "XML node not found",                                       0},
    {-32499, 569,                                   "Unknown error 2",                                          0},
    {-32498, 570,                                   "Unknown error 3",                                          0},
    {-32497, 571,                                   "Unknown error 4",                                          0},
    {-32496, 572,                                   "Unknown error 5",                                          0},
    {-32495, 573,                                   "Out of memory",                                            0},
    {-32494, 574,                                   "Invalid calculated data",                                  0},
    {-32493, 575,                                   "Device load interrupt",                                    0},
    {-32492, 576,                                   "Invalid frequency divider",                                0},
    {-32491, 577,                                   "Internal request timeout",                                 0},
    {-32490, 578,                                   "Time not out",                                             0},
    {-32489, 579,                                   "Invalid frequency",                                        0},
    {-32488, 580,                                   "Invalid source data",                                      0},
    {-32487, 581,                                   "Class initialization error",                               0},
    {-32486, 582,                                   "Invalid load sequence",                                    0},
    {-32485, 583,                                   "Invalid argument",                                         0},
    {-32484, 584,                                   "Unknown error 2",                                          0},
    {-32483, 585,                                   "Unknown error 3",                                          0},
    {-32482, 586,                                   "Unknown error 4",                                          0},
    {-32481, 587,                                   "Unknown error 5",                                          0},
    {-32480, 588,                                   "Unknown error 6",                                          0},
    {-32479, 589,                                   "Unknown error 7",                                          0},
    {-32478, 590,                                   "Unknown error 8",                                          0},
    {-32477, 591,                                   "Unknown error 9",                                          0},
    {-32476, 592,                                   "Unknown error 10",                                         0},
    {-32475, 593,                                   "Parameters changed by user",                               0},
};
// clang-format on

static_assert(ErrorInfo[kErrorInfoCount - 1].ScpiCode == 593);

namespace {

const sErrorInfoRow* FindRow(int code) {
  for (int i = 1; i < kErrorInfoCount; ++i) {
    if (ErrorInfo[i].ScpiCode == code) return &ErrorInfo[i];
  }
  return nullptr;
}

}  // namespace

const char* GetErrorDescription(int code) {
  if (code == 0) return ErrorInfo[0].Text;
  const sErrorInfoRow* row = FindRow(code);
  return row != nullptr ? row->Text : "";
}

bool CheckErr(int& status, void* /*device*/, sComErrorInfo* info) {
  if (status == 0) return false;
  // Device and VISA statuses are in no row and so count as no error. If they were errors, commands that succeed today
  // would put entries into the error queue.
  const sErrorInfoRow* row = FindRow(status);
  if (row == nullptr) return false;
  info->code = status;
  info->text = row->Text;
  return true;
}

int CatchErr(std::exception& /*error*/, void* device, sComErrorInfo* info) {
  int status = scpi_error::kSystemError;
  CheckErr(status, device, info);
  return status;
}

int ConvertErrorSorvsToScpi(short status) {
  if (status == 0) return 0;
  if (status >= -32767 && status < 0) return status + 33068;
  if (status >= 1 && status <= 99) return status + 100;
  if (status >= 20481) return status - 20280;
  return scpi_error::kDeviceSpecificError;
}
