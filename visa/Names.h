// Resource names (VPP-4.3 section 4.3): which are the generator's, which are equal, and what their parts say.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "visa/VisaTypes.h"

namespace visa {

/// What makes a name the generator's.
constexpr std::string_view kMark = "::ZLT";

/// Upper case of the letters A to Z; the same in every locale.
std::string UpperCase(std::string_view text);

/// The generator's name with "::ZLT" at its end: letters of that part in any case, text after it dropped. Empty for
/// the name of something else.
std::string GeneratorName(std::string_view name);

/// One form for all spellings of one name, to compare by: "gpib::19", "GPIB0::19::INSTR" and "GPIB0::19::0::INSTR" are
/// equal, "TCPIP::host" and "TCPIP0::host::inst0::INSTR" too.
std::string Comparable(std::string_view name);

/// What viParseRsrcEx says of a name.
struct NameParts {
  ViUInt16 interface_type = 1;  ///< by the first part; that of GPIB for a name that begins with no interface
  ViUInt16 interface_number = 0;
  std::string resource_class = "INSTR";
  int primary_address = -1;  ///< of GPIB; -1 for a name without one
  int secondary_address = -1;
};
NameParts PartsOf(std::string_view name);

/// Names that stand for a generator, for programs that take only names of their own form. Read from the files
/// /etc/scpi-zlt/aliases, $XDG_CONFIG_HOME/scpi-zlt/aliases (without that variable ~/.config) and the one that
/// ZLT_ALIASES names; a later one wins. A line is "GPIB0::19::INSTR = SIM0::INSTR::ZLT", empty, or a comment after #.
class Aliases {
 public:
  struct Alias {
    std::string name;       ///< as the file has it
    std::string generator;  ///< with ::ZLT
  };

  /// Reads the files. Each mistake is reported once, with file, line and reason; the line then counts for nothing.
  static Aliases Read();

  /// Null if `name` is no alias.
  const Alias* Find(std::string_view name) const;
  const std::map<std::string, Alias>& All() const { return m_aliases; }
  /// True if a line had a mistake: a name that is not found may be the one it meant.
  bool HasMistakes() const { return m_mistakes; }

 private:
  void ReadFile(const std::string& path, bool has_to_exist);
  std::string TakeLine(std::string_view line, std::map<std::string, int>& lines, int number);

  std::map<std::string, Alias> m_aliases;  ///< by comparable name
  bool m_mistakes = false;
};

}  // namespace visa
