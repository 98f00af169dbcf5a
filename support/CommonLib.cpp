// The global string and number helpers.
#include <algorithm>
#include <array>
#include <cmath>
#include <cwchar>
#include <string_view>

#include "scpi_zlt/helpers.h"

#include "support/Ascii.h"
#include "support/Integers.h"

namespace {

template <class Char>
int HexDigit(Char c) {
  if (IsDigit(c)) return static_cast<int>(c - Char('0'));
  return c >= Char('A') && c <= Char('F') ? static_cast<int>(c - Char('A')) + 10 : -1;
}

template <class Char>
int ParseInt(const Char* text) {
  if (text == nullptr) return 0;
  while (*text != 0 && *text != Char('-') && !IsDigit(*text)) ++text;
  std::uint32_t number = 0;
  if (text[0] == Char('0') && text[1] == Char('x')) {
    // Odd, and kept: lower-case hexadecimal letters end the number ("0x1f" is 1).
    for (text += 2; HexDigit(*text) >= 0; ++text) number = number * 16 + static_cast<std::uint32_t>(HexDigit(*text));
    return static_cast<int>(number);
  }
  const bool negative = *text == Char('-');
  if (negative) ++text;
  for (; IsDigit(*text); ++text) number = number * 10 + static_cast<std::uint32_t>(*text - Char('0'));
  return static_cast<int>(negative ? 0 - number : number);
}

}  // namespace

double round_to(double value, int digit, EDigitRoundMode mode) {
  if (std::isnan(value)) return value;
  const double p = std::pow(10.0, digit);
  switch (mode) {
    case kRoundNearest:
      return (value > 0.0 ? std::floor(value / p + 0.5) : std::ceil(value / p - 0.5)) * p;
    case kRoundDown:
      return std::floor(value / p) * p;
    case kRoundUp:
      return std::ceil(value / p) * p;
  }
  return value;
}

char* ToUpper(char* text, int count) {
  if (text == nullptr) return text;
  for (char* letter = text; count != 0 && *letter != 0; ++letter) {
    *letter = Upper(*letter);
    if (count > 0) --count;
  }
  return text;
}

int str2int(const char* text) {
  return ParseInt(text);
}

int wcs2int(const wchar_t* text) {
  return ParseInt(text);
}

std::string hex_byte(unsigned char* bytes, unsigned int count) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(std::size_t{count} * 2);
  for (unsigned int i = 0; i < count; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0x0F];
  }
  return text;
}

std::string get_parameter(const char* text, int index, char separator) {
  return stdex::get_parameter(text, separator, index);
}

int get_parameter_count(const char* text, char separator) {
  return stdex::get_parameter_count(text, separator);
}

std::vector<std::string> ParseAddress(std::string address, std::vector<std::string>* parts_out) {
  std::vector<std::string> parts = stdex::split(address.c_str(), "::");
  if (parts_out != nullptr) *parts_out = parts;
  return parts;
}

std::wstring FloatToStrF(double value, TFloatFormat format, int precision, int /*digits*/) {
  constexpr int kWidth = 6;
  constexpr std::size_t kLongest = 511;
  // No double has more digits than this, so a larger precision changes nothing before the cut.
  constexpr int kMostDigits = 1100;
  std::array<wchar_t, kMostDigits + 400> text{};
  const int places = std::clamp(precision, 0, kMostDigits);
  switch (format) {
    case kFloatExponent:
      std::swprintf(text.data(), text.size(), L"%*.*e", kWidth, places, value);
      break;
    case kFloatCharacter:
      std::swprintf(text.data(), text.size(), L"%*c", kWidth, TruncToInt32(value));
      break;
    case kFloatInteger:
      std::swprintf(text.data(), text.size(), L"%*.*d", kWidth, places, TruncToInt32(value));
      break;
    default:
      std::swprintf(text.data(), text.size(), L"%*.*g", kWidth, places, value);
      break;
  }
  return std::wstring(text.data(), std::min(std::wcslen(text.data()), kLongest));
}
