// From double to integer with the results of this machine's own conversion instructions, and no undefined behaviour.
//
// Every conversion from double to integer goes through one of these three. A value that does not fit (NaN and infinity
// too) becomes the most negative number of the width in which the processor converts: the packets on the link hold
// these numbers.
#pragma once

#include <cstdint>
#include <limits>

/// Truncates toward zero; INT64_MIN for a value that does not fit.
inline std::int64_t TruncToInt64(double value) {
  constexpr double kLimit = 9223372036854775808.0;
  return value >= -kLimit && value < kLimit ? static_cast<std::int64_t>(value)
                                            : std::numeric_limits<std::int64_t>::min();
}

/// The low 32 bits of TruncToInt64.
inline std::uint32_t TruncToUint32(double value) {
  return static_cast<std::uint32_t>(TruncToInt64(value));
}

/// Truncates toward zero; INT32_MIN for a value that does not fit.
inline std::int32_t TruncToInt32(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                       : std::numeric_limits<std::int32_t>::min();
}

/// Magnitude, taken in unsigned arithmetic: that of INT64_MIN stays INT64_MIN.
inline std::int64_t Magnitude(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return static_cast<std::int64_t>(value < 0 ? 0 - bits : bits);
}
