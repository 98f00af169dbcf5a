// The tables hold keywords as manuals write them: "FREQuency" has the short form "freq" and the long form "frequency"
// (SCPI-99 volume 1, 5.1). A keyword without small letters has no short form.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "scpi_core/types.h"

namespace scpi_lib {

constexpr bool IsCapital(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr char ToLower(char c) {
  return IsCapital(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Length of the short form, kNoShortForm if only the whole word matches.
constexpr std::int32_t ShortLength(std::string_view spelled) {
  const auto capitals = std::find_if_not(spelled.begin(), spelled.end(), IsCapital) - spelled.begin();
  const bool whole = capitals == 0 || static_cast<std::size_t>(capitals) == spelled.size();
  return whole ? kNoShortForm : static_cast<std::int32_t>(capitals);
}

/// A text that can be a template argument.
template <std::size_t N>
struct Text {
  char characters[N];
  consteval Text(const char (&text)[N]) { std::copy(text, text + N, characters); }
};

template <Text spelled>
inline constexpr Text kLowered = [] {
  Text text = spelled;
  for (char& c : text.characters) c = ToLower(c);
  return text;
}();

/// A row of a table of words: Word<"MINimum">.
template <Text spelled>
inline constexpr sMnemonicRow Word = {kLowered<spelled>.characters, -1, ShortLength(spelled.characters)};

}  // namespace scpi_lib
