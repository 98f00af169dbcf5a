// What the front says of itself, and the two ways an attribute's value is stored.
#pragma once

#include <cstring>
#include <string>

#include "visa/VisaTypes.h"

namespace visa {

constexpr const char* kOwnName = "libzlt_visa";
constexpr ViUInt32 kOwnVersion = 0x00100000;       ///< 1.0.0: that of the SONAME
constexpr ViUInt32 kStandardVersion = 0x00500800;  ///< VPP-4.3 version 5.8

/// Writes exactly the width of the attribute.
template <typename Number>
ViStatus StoreNumber(void* target, Number value) {
  std::memcpy(target, &value, sizeof value);
  return kSuccess;
}

/// `target` holds kFindLength bytes; a longer text is cut.
ViStatus StoreText(void* target, const std::string& text);

/// What a status means, in words; null for one that is not of the standard.
const char* StatusText(ViStatus status);

}  // namespace visa
