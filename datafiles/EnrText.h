// Noise-source (ENR) files: their header lines and the unit after a frequency.
#pragma once

#include <string>
#include <string_view>

namespace datafiles {

/// An ASCII text in either character type, for comparing.
template <class Char>
std::basic_string<Char> Literal(std::string_view text) {
  return std::basic_string<Char>(text.begin(), text.end());
}

/// Takes every occurrence of `part` out of `text`; true when there was one.
template <class Char>
bool Erase(std::basic_string<Char>& text, std::basic_string_view<Char> part) {
  bool found = false;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at)) {
    text.erase(at, part.size());
    found = true;
  }
  return found;
}

/// The header of an ENR file as far as it is read. Version lines before the file type line are not seen.
class EnrHeader {
 public:
  /// Takes a trimmed line that starts with "[", "!" or "#".
  void Line(std::wstring_view line) {
    if (!m_on && line != L"[Filetype ENR]") {
      return;
    }
    constexpr std::size_t kVersionLine = 13;
    if (line.size() < kVersionLine) {
      return;
    }
    m_on = true;
    if (line.starts_with(L"[Version")) {
      m_version = line.substr(9, 3);
    }
  }

  bool On() const { return m_on; }

  /// True for the lines that belong to the header and not to the comment.
  bool Owns(std::wstring_view line) const {
    return m_on && (line.starts_with(L'!') || line.starts_with(L'#') || line.find(L"[Version") != line.npos ||
                    line.find(L"[Filetype") != line.npos);
  }

  /// Counting numbers: version 1.0 has units, and all of them go.
  template <class Char>
  void EraseUnits(std::basic_string<Char>& line) const {
    if (m_version == L"1.0") {
      for (const char* unit : {" Hz", " kHz", " MHz", " GHz"}) {
        Erase<Char>(line, Literal<Char>(unit));
      }
    }
  }

  /// Storing numbers: what makes the first number MHz. Only the unit that is found first goes, so a line with two
  /// different units ends after its second number. Odd, and kept: otherwise such a line would load more values than it
  /// does.
  template <class Char>
  double TakeScale(std::basic_string<Char>& line) const {
    if (m_version == L"1.1") {
      return 1e-6;
    }
    if (m_version != L"1.0") {
      return 1.0;
    }
    if (Erase<Char>(line, Literal<Char>(" GHz"))) {
      return 1000.0;
    }
    if (Erase<Char>(line, Literal<Char>(" MHz"))) {
      return 1.0;
    }
    if (Erase<Char>(line, Literal<Char>(" kHz"))) {
      return 0.001;
    }
    Erase<Char>(line, Literal<Char>(" Hz"));
    return 1e-6;
  }

 private:
  bool m_on = false;
  std::wstring m_version;
};

}  // namespace datafiles
