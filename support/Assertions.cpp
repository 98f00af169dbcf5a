// The fatal checks: they print what was expected, where, and for __D_Assert the data, and abort.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

#include "scpi_zlt/helpers.h"

namespace {

/// A null text counts as an empty one.
const char* Text(const char* text) {
  return text != nullptr ? text : "";
}

void PrintPlace(const char* expected, const char* source, int line) {
  std::cerr << "Expected:\t" << Text(expected) << "\nSource:\t\t" << Text(source) << ", line " << line << "\n"
            << std::flush;
}

}  // namespace

void __M_Assert(const char* expected, bool condition, const char* source, int line, const char* message) {
  if (condition) return;
  std::cerr << Text(message) << "\n";
  PrintPlace(expected, source, line);
  std::abort();
}

void __D_Assert(const char* expected, bool condition, const char* source, int line, const char* message,
                const char* data, int size) {
  if (condition) return;
  const std::size_t shown = data != nullptr && size > 0 ? strnlen(data, static_cast<std::size_t>(size)) : 0;
  std::cerr << Text(message) << "\nData:\n" << std::string_view(data, shown) << "\nSize:\t\t" << size << "\n";
  PrintPlace(expected, source, line);
  std::abort();
}
