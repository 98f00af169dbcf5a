// One conversion of a format of viPrintf or viScanf (VPP-4.3 section 6.2.1):
// %[flags][width][.precision][,array][size]type; for viScanf %[*][width or #][,array][size]type.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace visa {

struct Directive {
  static constexpr int kNone = -1;
  static constexpr int kFromArgument = -2;  ///< "*" in an output format, "#" in an input format

  std::string flags;        ///< of - + 0 # and blank
  char number_form = 0;     ///< '1', '2', '3', 'H', 'Q' or 'B' after an @
  bool suppressed = false;  ///< "*" in an input format
  int width = kNone;
  int precision = kNone;
  bool is_array = false;
  int array_size = kNone;
  std::string size;  ///< h, l, ll, L, z or Z
  char type = 0;
  std::string set;  ///< between the brackets of %[...]
};

/// Reads the conversion after a "%"; `rest` begins there and is moved past it. Nothing for one with a mistake.
std::optional<Directive> ReadDirective(std::string_view& rest, bool input);

/// A format's escape after a backslash ("\n" as two characters), `rest` moved past it. Nothing for an unknown one.
std::optional<char> ReadEscape(std::string_view& rest);

}  // namespace visa
