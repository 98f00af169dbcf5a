// Letters, digits and blanks in ASCII, whatever locale the program has set.
#pragma once

#include <type_traits>

template <class Char>
constexpr bool IsDigit(Char c) {
  return static_cast<std::make_unsigned_t<Char>>(c - Char('0')) <= 9;
}
constexpr bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool IsQuote(char c) {
  return c == '"' || c == '\'';
}
/// The characters that separate the tokens of a message.
constexpr bool IsWhite(char c) {
  return c == '\t' || c == '\n' || c == '\r' || c == ' ';
}
/// White space of the classic locale: vertical tab and form feed too.
template <class Char>
constexpr bool IsSpace(Char c) {
  return c == Char(' ') || static_cast<std::make_unsigned_t<Char>>(c - Char('\t')) <= 4;
}
constexpr char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
