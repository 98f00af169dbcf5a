// Reads doubles from text exactly as a wide stream under the classic locale does, straight from the characters.
//
// The stream collects what may belong to a number and then converts all of it or fails. So "1e" and "1e400" are no
// numbers, "1e-400" is 0, "+5" is 5, "inf" and "nan" are words, "0x10" is 0 followed by a word, "1-2" is two numbers.
// std::from_chars alone differs in each of these. A failed number ends its line.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>
#include <type_traits>

#include "support/Ascii.h"

namespace datafiles {

/// What a comma stands for on a line.
enum class CommaRule { kPoint, kBlank };

template <CommaRule rule, class Char>
constexpr bool IsGap(Char c) {
  return IsSpace(c) || (rule == CommaRule::kBlank && c == Char(','));
}

template <CommaRule rule, class Char>
constexpr bool IsPoint(Char c) {
  return c == Char('.') || (rule == CommaRule::kPoint && c == Char(','));
}

/// The parts of a number, as they were found. `digits` counts from the first digit that is not 0.
struct NumberParts {
  std::uint64_t mantissa = 0;  ///< all digits, when `digits` is at most 19
  std::int64_t digits = 0;
  std::int64_t fraction = 0;  ///< digits after the point, leading zeros too
  std::int64_t exponent = 0;  ///< as written, held at +-10^9
  bool negative = false;
};

/// Converts a token that the direct way cannot: long digit strings, large exponents. False when it is too large.
bool ConvertToken(const char* first, const char* last, const NumberParts& parts, double& value);

/// Small enough numbers in one exact multiplication or division; false when that would round twice.
inline bool ConvertDirectly(const NumberParts& parts, double& value) {
  static constexpr std::array<double, 23> kPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  constexpr std::uint64_t kExact = std::uint64_t{1} << std::numeric_limits<double>::digits;
  const std::int64_t power = parts.exponent - parts.fraction;
  if (parts.digits > 19 || parts.mantissa > kExact || power > 22 || power < -22) {
    return false;
  }
  const double mantissa = static_cast<double>(parts.mantissa);
  const double magnitude = power < 0 ? mantissa / kPowers[static_cast<std::size_t>(-power)]
                                     : mantissa * kPowers[static_cast<std::size_t>(power)];
  value = parts.negative ? -magnitude : magnitude;
  return true;
}

/// Narrows a token for ConvertToken: a comma that stands for the point becomes one.
template <class Char>
bool ConvertNarrowed(const Char* first, const Char* last, const NumberParts& parts, double& value) {
  const auto narrow = [](Char c) { return c == Char(',') ? '.' : static_cast<char>(c); };
  const auto length = static_cast<std::size_t>(last - first);
  std::array<char, 128> small;
  if (length <= small.size()) {
    for (std::size_t i = 0; i < length; ++i) {
      small[i] = narrow(first[i]);
    }
    return ConvertToken(small.data(), small.data() + length, parts, value);
  }
  std::string large(length, '\0');
  for (std::size_t i = 0; i < length; ++i) {
    large[i] = narrow(first[i]);
  }
  return ConvertToken(large.data(), large.data() + length, parts, value);
}

/// True when all eight bytes are digits: their upper halves are 3, and still are after 6 more. A byte whose sum carries
/// into the next one has the upper half 15 and fails by itself.
constexpr bool AreDigits(std::uint64_t eight) {
  constexpr std::uint64_t kUpper = 0xF0F0F0F0F0F0F0F0;
  constexpr std::uint64_t kThrees = 0x3030303030303030;
  return (eight & kUpper) == kThrees && ((eight + 0x0606060606060606) & kUpper) == kThrees;
}

/// The number that eight digits spell, the first of them in the lowest byte. Neighbours are joined three times, to 99,
/// 9999 and 99999999; each sum fits its bits, and what the multiplications carry out at the top is not looked at.
constexpr std::uint64_t JoinDigits(std::uint64_t eight) {
  const std::uint64_t ones = eight & 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t twos = ((ones * (10 << 8 | 1)) >> 8) & 0x00FF00FF00FF00FF;
  const std::uint64_t fours = ((twos * (100 << 16 | 1)) >> 16) & 0x0000FFFF0000FFFF;
  return (fours * (std::uint64_t{10000} << 32 | 1)) >> 32;
}

/// Takes digits from `p` on into the parts. The mantissa wraps when there are too many; then `digits` is beyond 19.
template <class Char>
[[gnu::always_inline]] inline const Char* TakeDigits(const Char* p, const Char* end, NumberParts& parts) {
  if (parts.digits == 0) {
    while (p != end && *p == Char('0')) {
      ++p;
    }
  }
  const Char* const first = p;
  std::uint64_t mantissa = parts.mantissa;
  if constexpr (sizeof(Char) == 1) {
    static_assert(std::endian::native == std::endian::little, "JoinDigits wants the first digit in the lowest byte");
    for (std::uint64_t eight = 0; end - p >= 8; p += 8) {
      std::memcpy(&eight, p, 8);
      if (!AreDigits(eight)) {
        break;
      }
      mantissa = mantissa * 100'000'000 + JoinDigits(eight);
    }
  }
  for (; p != end && IsDigit(*p); ++p) {
    mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - Char('0'));
  }
  parts.mantissa = mantissa;
  parts.digits += p - first;
  return p;
}

/// Takes an exponent whose "e" is just before `p`. Null when no digit follows.
template <class Char>
const Char* TakeExponent(const Char* p, const Char* end, NumberParts& parts) {
  const bool minus = p != end && *p == Char('-');
  if (p != end && (minus || *p == Char('+'))) {
    ++p;
  }
  if (p == end || !IsDigit(*p)) {
    return nullptr;
  }
  constexpr std::int64_t kHeld = 1'000'000'000;
  std::int64_t exponent = 0;
  for (; p != end && IsDigit(*p); ++p) {
    exponent = exponent * 10 + static_cast<std::int64_t>(*p - Char('0'));
    exponent = exponent > kHeld ? kHeld : exponent;
  }
  parts.exponent = minus ? -exponent : exponent;
  return p;
}

/// Steps over gaps and reads one number. On success `p` is after it; on failure nothing more is to be read.
template <CommaRule rule, class Char>
bool ScanNumber(const Char*& p, const Char* end, double& value) {
  const Char* at = p;
  while (at != end && IsGap<rule>(*at)) {
    ++at;
  }
  if (at == end) {
    return false;
  }
  NumberParts parts;
  if (*at == Char('-') || *at == Char('+')) {
    parts.negative = *at == Char('-');
    ++at;
  }
  const Char* const token = at;
  at = TakeDigits(at, end, parts);
  bool any_digit = at != token;
  if (at != end && IsPoint<rule>(*at)) {
    const Char* const fraction = ++at;
    at = TakeDigits(at, end, parts);
    parts.fraction = at - fraction;
    any_digit = any_digit || at != fraction;
  }
  if (!any_digit) {
    return false;
  }
  if (at != end && (*at == Char('e') || *at == Char('E'))) {
    at = TakeExponent(at + 1, end, parts);
    if (at == nullptr) {
      return false;
    }
  }
  if (!ConvertDirectly(parts, value) && !ConvertNarrowed(token, at, parts, value)) {
    return false;
  }
  p = at;
  return true;
}

}  // namespace datafiles
