// The one table of SCPI numbers and texts.
#pragma once

#include <cstdint>

struct sErrorInfoRow {
  std::int32_t DeviceCode;  ///< the device status that the row stands for, 0 for none; nothing reads it
  std::int32_t ScpiCode;    ///< key of every search; no number occurs twice
  const char* Text;
  int CommandClass;  ///< 1 from -108 to -224; nothing reads it
};

/// Row 0 is "No error"; searches start after it.
inline constexpr int kErrorInfoCount = 129;
extern const sErrorInfoRow ErrorInfo[kErrorInfoCount];
