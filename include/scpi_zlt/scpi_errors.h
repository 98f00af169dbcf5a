// The negative numbers that ":SYST:ERR?" answers (C++ only), named after their texts in SCPI-99 volume 2, chapter 21.8;
// -227 and -303 are this instrument's own. GetErrorDescription gives the texts.
#pragma once

namespace scpi_error {

inline constexpr int kNone = 0;

// Command errors: the message breaks the syntax.
inline constexpr int kParameterNotAllowed = -108;
inline constexpr int kMissingParameter = -109;
inline constexpr int kUndefinedHeader = -113;
inline constexpr int kHeaderSuffixOutOfRange = -114;
inline constexpr int kInvalidCharacterInNumber = -121;
inline constexpr int kExponentTooLarge = -123;
inline constexpr int kNumericDataNotAllowed = -128;
inline constexpr int kInvalidSuffix = -131;
inline constexpr int kSuffixNotAllowed = -138;
inline constexpr int kBlockDataError = -160;
inline constexpr int kInvalidBlockData = -161;
inline constexpr int kBlockDataNotAllowed = -168;

// Execution errors: the message is understood, but the instrument can't do it now.
inline constexpr int kTriggerIgnored = -211;
inline constexpr int kInitIgnored = -213;
inline constexpr int kSettingsConflict = -221;
inline constexpr int kDataOutOfRange = -222;
inline constexpr int kIllegalParameterValue = -224;
inline constexpr int kListsNotSameLength = -226;
inline constexpr int kNoMeasurementSelected = -227;
inline constexpr int kInvalidFormat = -232;
inline constexpr int kHardwareError = -240;
inline constexpr int kFileNameNotFound = -256;
inline constexpr int kInvalidFileName = -257;

// Device-specific errors.
inline constexpr int kDeviceSpecificError = -300;
inline constexpr int kNoValidData = -303;
inline constexpr int kSystemError = -310;
inline constexpr int kStorageFault = -320;
inline constexpr int kQueueOverflow = -350;
inline constexpr int kCommunicationError = -360;
inline constexpr int kTimeOutError = -365;

}  // namespace scpi_error
