// Characters as the parser sees them: ASCII, whatever locale the program has set.
#pragma once

constexpr bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool IsQuote(char c) {
  return c == '"' || c == '\'';
}
constexpr bool IsWhite(char c) {
  return c == '\t' || c == '\n' || c == '\r' || c == ' ';
}
constexpr char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
