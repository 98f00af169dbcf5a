// Writes doubles as "%.*g" does under the classic locale, without asking any locale.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

namespace datafiles {

/// One number as text. Digits are significant digits; -1 for as few as read back to the same number.
class NumberText {
 public:
  NumberText(double value, int digits)
      : m_end(digits < 0 ? std::to_chars(m_text.data(), m_text.data() + m_text.size(), value).ptr
                         : std::to_chars(m_text.data(), m_text.data() + m_text.size(), value,
                                         std::chars_format::general, digits)
                               .ptr) {}

  std::string_view View() const { return {m_text.data(), static_cast<std::size_t>(m_end - m_text.data())}; }

 private:
  std::array<char, 32> m_text;
  char* m_end;
};

}  // namespace datafiles
