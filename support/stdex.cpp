// The string family: one template per routine, narrow and wide forms over it.
#include <algorithm>
#include <string_view>

#include "scpi_zlt/helpers.h"

namespace stdex {
namespace {

/// The text at a caller's pointer.
template <class Char>
std::basic_string_view<Char> View(const Char* text) {
  return text != nullptr ? std::basic_string_view<Char>(text) : std::basic_string_view<Char>();
}

template <class Char>
std::basic_string_view<Char> TrimLeft(std::basic_string_view<Char> text, std::basic_string_view<Char> set) {
  text.remove_prefix(std::min(text.find_first_not_of(set), text.size()));
  return text;
}

template <class Char>
std::basic_string_view<Char> TrimRight(std::basic_string_view<Char> text, std::basic_string_view<Char> set) {
  return text.substr(0, text.find_last_not_of(set) + 1);
}

template <class Char>
std::basic_string_view<Char> Field(std::basic_string_view<Char> text, Char separator, int index) {
  if (index < 0) return {};
  for (; index > 0; --index) {
    const std::size_t end = text.find(separator);
    if (end == text.npos) return {};
    text.remove_prefix(end + 1);
  }
  return text.substr(0, text.find(separator));
}

template <class Char>
int FieldCount(std::basic_string_view<Char> text, Char separator) {
  return static_cast<int>(std::count(text.begin(), text.end(), separator)) + 1;
}

template <class Char>
std::basic_string_view<Char> Extension(std::basic_string_view<Char> path) {
  return path.substr(path.rfind(Char('.')) + 1);
}

template <class Char>
std::basic_string_view<Char> FileName(std::basic_string_view<Char> path) {
  const std::basic_string_view<Char> name = path.substr(path.rfind(Char('/')) + 1);
  return name.substr(0, name.find(Char('.')));
}

template <class Char>
std::basic_string<Char> FullFileName(std::basic_string_view<Char> path) {
  std::basic_string<Char> name(FileName(path));
  name += Char('.');
  name += Extension(path);
  return name;
}

}  // namespace

std::string trim_left(const char* text, const char* set) {
  return std::string(TrimLeft(View(text), View(set)));
}
std::string trim_right(const char* text, const char* set) {
  return std::string(TrimRight(View(text), View(set)));
}
std::string trim(const char* text, const char* set) {
  return std::string(TrimRight(TrimLeft(View(text), View(set)), View(set)));
}
std::wstring wtrim_left(const wchar_t* text, const wchar_t* set) {
  return std::wstring(TrimLeft(View(text), View(set)));
}
std::wstring wtrim_right(const wchar_t* text, const wchar_t* set) {
  return std::wstring(TrimRight(View(text), View(set)));
}
std::wstring wtrim(const wchar_t* text, const wchar_t* set) {
  return std::wstring(TrimRight(TrimLeft(View(text), View(set)), View(set)));
}

std::size_t strlen(const char* text) {
  return View(text).size();
}
std::size_t strlen(const wchar_t* text) {
  return View(text).size();
}

std::string itos(int value, int width_hint) {
  std::string digits = std::to_string(value);
  if (width_hint == 16 && digits.size() % 2 != 0) digits.insert(0, 1, '0');
  return digits;
}

std::wstring itow(int value, int width_hint) {
  const std::string digits = itos(value, width_hint);
  return std::wstring(digits.begin(), digits.end());
}

std::string get_parameter(const char* text, char separator, int index) {
  return std::string(Field(View(text), separator, index));
}
std::wstring get_parameterW(const wchar_t* text, wchar_t separator, int index) {
  return std::wstring(Field(View(text), separator, index));
}
int get_parameter_count(const char* text, char separator) {
  return FieldCount(View(text), separator);
}
int get_parameter_countW(const wchar_t* text, wchar_t separator) {
  return FieldCount(View(text), separator);
}

std::vector<std::string> split(const char* text, const char* separator) {
  std::string_view rest = View(text);
  const std::string_view between = View(separator);
  std::vector<std::string> pieces;
  if (!between.empty()) {
    for (std::size_t end = rest.find(between); end != rest.npos; end = rest.find(between)) {
      pieces.emplace_back(rest.substr(0, end));
      rest.remove_prefix(end + between.size());
    }
  }
  pieces.emplace_back(rest);
  return pieces;
}

std::string ExtractFileExt(const char* path) {
  return std::string(Extension(View(path)));
}
std::wstring ExtractFileExtW(const wchar_t* path) {
  return std::wstring(Extension(View(path)));
}
std::string ExtractFileName(const char* path) {
  return std::string(FileName(View(path)));
}
std::wstring ExtractFileNameW(const wchar_t* path) {
  return std::wstring(FileName(View(path)));
}
std::string ExtractFullFileName(const char* path) {
  return FullFileName(View(path));
}
std::wstring ExtractFullFileNameW(const wchar_t* path) {
  return FullFileName(View(path));
}

}  // namespace stdex
