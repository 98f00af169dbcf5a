// String and number helpers, the time-stamped text log, and the fatal checks, as the library exports them (C++ only).
//
// Nothing here touches a session. Any thread may call any function at any time, except those of CLogFile; results are
// values that the caller owns. Text is a terminated string; a null pointer counts as an empty one. Letters and case are
// ASCII: no locale changes what a helper does, except the decimal point and the letter of FloatToStrF, and the date of
// CLogFile. Wide forms behave as their narrow twins. Nothing throws but std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "scpi_zlt/export.h"

/// How round_to rounds. Any other number leaves the value as it is.
enum EDigitRoundMode : int {
  kRoundNearest = 0,  ///< halves are rounded away from zero
  kRoundDown = 1,     ///< toward minus infinity
  kRoundUp = 2,       ///< toward plus infinity
};

/// The printf letter that FloatToStrF uses. Any other number counts as kFloatGeneral.
enum TFloatFormat : int {
  kFloatGeneral = 0,    ///< "%g"
  kFloatExponent = 1,   ///< "%e"
  kFloatCharacter = 2,  ///< "%c", of the value as int
  kFloatInteger = 3,    ///< "%d", of the value as int
};

/// `value` rounded to a multiple of 10 to the power of `digit`: -3 keeps three decimals, 2 rounds to hundreds.
ZLT_API double round_to(double value, int digit, EDigitRoundMode mode);

/// Upper-cases at most `count` leading characters in place (-1: all of them), stopping at the end. Returns `text`.
ZLT_API char* ToUpper(char* text, int count);

/// The number in a text: skips to the first digit or "-", then reads decimal digits, modulo 2^32. "0x" begins a
/// hexadecimal number, but lower-case digits are no part of it: "0x1f" is 1. Without a number: 0.
ZLT_API int str2int(const char* text);
ZLT_API int wcs2int(const wchar_t* text);

/// `count` bytes as text, two upper-case hexadecimal digits each.
ZLT_API std::string hex_byte(unsigned char* bytes, unsigned int count);

/// The field with that index, 0 for the one before the first separator; empty where there is none.
ZLT_API std::string get_parameter(const char* text, int index, char separator);
/// Number of separators plus 1, so 1 for an empty text.
ZLT_API int get_parameter_count(const char* text, char separator);

/// The parts of a resource name, cut at "::". Also assigned to `parts_out` when that is not null.
ZLT_API std::vector<std::string> ParseAddress(std::string address, std::vector<std::string>* parts_out);

/// The value by swprintf in a field of 6 characters, cut at 511, with the decimal point of the current locale. A
/// precision below 0 counts as 0; `digits` is not used.
ZLT_API std::wstring FloatToStrF(double value, TFloatFormat format, int precision, int digits);

namespace stdex {

/// `text` without the leading, trailing, or both kinds of characters that `set` contains.
ZLT_API std::string trim_left(const char* text, const char* set);
ZLT_API std::string trim_right(const char* text, const char* set);
ZLT_API std::string trim(const char* text, const char* set);
ZLT_API std::wstring wtrim_left(const wchar_t* text, const wchar_t* set);
ZLT_API std::wstring wtrim_right(const wchar_t* text, const wchar_t* set);
ZLT_API std::wstring wtrim(const wchar_t* text, const wchar_t* set);

ZLT_API std::size_t strlen(const char* text);
ZLT_API std::size_t strlen(const wchar_t* text);

/// The value in decimal. `width_hint` is no radix: 16 puts one "0" before an odd number of characters, so 255 gives
/// "0255". Odd, and kept: see "Why odd answers are kept" in docs/architecture.md.
ZLT_API std::string itos(int value, int width_hint);
ZLT_API std::wstring itow(int value, int width_hint);

/// As the global twins, with the last two arguments exchanged.
ZLT_API std::string get_parameter(const char* text, char separator, int index);
ZLT_API std::wstring get_parameterW(const wchar_t* text, wchar_t separator, int index);
ZLT_API int get_parameter_count(const char* text, char separator);
ZLT_API int get_parameter_countW(const wchar_t* text, wchar_t separator);

/// The pieces between occurrences of the whole `separator`; the text as one piece when that is empty.
ZLT_API std::vector<std::string> split(const char* text, const char* separator);

/// Text after the last "."; without a point the whole text, folders included.
ZLT_API std::string ExtractFileExt(const char* path);
ZLT_API std::wstring ExtractFileExtW(const wchar_t* path);
/// Text after the last "/", up to its first ".".
ZLT_API std::string ExtractFileName(const char* path);
ZLT_API std::wstring ExtractFileNameW(const wchar_t* path);
/// File name, "." and extension, as the two above give them: "a.gz" for "/x/a.tar.gz".
ZLT_API std::string ExtractFullFileName(const char* path);
ZLT_API std::wstring ExtractFullFileNameW(const wchar_t* path);

/// An upper-cased copy, for narrow and wide strings.
template <class Char>
std::basic_string<Char> toupper(std::basic_string<Char> text) {
  for (Char& letter : text) {
    if (letter >= Char('a') && letter <= Char('z')) letter = static_cast<Char>(letter - Char('a') + Char('A'));
  }
  return text;
}

/// A copy in which every occurrence of `what` is replaced. The search goes on after the replacement. With an empty
/// `what` nothing is replaced.
template <class Char>
std::basic_string<Char> replace(std::basic_string<Char> text, const std::type_identity_t<std::basic_string<Char>>& what,
                                const std::type_identity_t<std::basic_string<Char>>& with) {
  if (what.empty()) return text;
  std::size_t at = 0;
  while ((at = text.find(what, at)) != std::basic_string<Char>::npos) {
    text.replace(at, what.size(), with);
    at += with.size();
  }
  return text;
}

}  // namespace stdex

/// A small text log under "/tmp/". Belongs to one thread at a time. A file that can't be opened leaves the stream
/// failed, and everything written falls away silently. Times are local; texts null-terminated, encoded as the caller
/// likes.
class ZLT_API CLogFile {
 public:
  /// Opens and empties "/tmp/" + `file_name`, and writes a line with date and time of the start.
  explicit CLogFile(const char* file_name);
  CLogFile(const CLogFile&) = delete;
  CLogFile& operator=(const CLogFile&) = delete;
  /// Writes the closing line.
  ~CLogFile();

  /// A line with the time and the milliseconds since the line before (0 if the clock was set back). Null writes
  /// nothing.
  void AddString(const char* text);
  /// A line with date and time. It does not count as a line before.
  void AddDateTimeString(const char* text);
  /// The time of day / the date, as strftime prints "%T" and "%x".
  std::string GetTimeStamp() const;
  std::string GetDateStamp() const;
  void Flush();

  /// Writes the text / the decimal number as it is, without head or line end.
  CLogFile& operator<<(const std::string& text);
  CLogFile& operator<<(int value);
  operator std::ofstream&();

 private:
  std::uint64_t m_last_tick;
  std::unique_ptr<std::ofstream> m_stream;
};

/// Ends the process by abort if `condition` is false, after it has printed on standard error what was expected and
/// where.
ZLT_API void __M_Assert(const char* expected, bool condition, const char* source, int line, const char* message);

/// The same with data: at most `size` bytes of it, up to the first zero.
ZLT_API void __D_Assert(const char* expected, bool condition, const char* source, int line, const char* message,
                        const char* data, int size);
