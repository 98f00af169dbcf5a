#include "visa/FormatDirective.h"

namespace visa {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The largest width, precision or array that a format may name.
constexpr int kLargest = 10000000;

class Reader {
 public:
  Reader(std::string_view& rest, bool input) : m_rest(rest), m_input(input) {}

  std::optional<Directive> Read() {
    Flags();
    m_directive.width = Number();
    if (Take('.')) m_directive.precision = Number();
    if (Take(',')) {
      m_directive.is_array = true;
      m_directive.array_size = Number();
    }
    constexpr std::string_view kSizes = "hlLzZ";
    while (!m_rest.empty() && kSizes.find(m_rest.front()) != std::string_view::npos) Move(m_directive.size);
    if (m_wrong || m_rest.empty()) return std::nullopt;
    m_directive.type = m_rest.front();
    m_rest.remove_prefix(1);
    if (m_directive.type == '[' && !Set()) return std::nullopt;
    return m_directive;
  }

 private:
  void Move(std::string& to) {
    to += m_rest.front();
    m_rest.remove_prefix(1);
  }
  bool Take(char c) {
    if (m_rest.empty() || m_rest.front() != c) return false;
    m_rest.remove_prefix(1);
    return true;
  }
  void Flags() {
    if (m_input) {
      m_directive.suppressed = Take('*');
      return;
    }
    constexpr std::string_view kFlags = "-+ 0#";
    for (;;) {
      if (Take('@')) {
        constexpr std::string_view kForms = "123HQB";
        if (m_rest.empty() || kForms.find(m_rest.front()) == std::string_view::npos) {
          m_wrong = true;
          return;
        }
        m_directive.number_form = m_rest.front();
        m_rest.remove_prefix(1);
      } else if (!m_rest.empty() && kFlags.find(m_rest.front()) != std::string_view::npos) {
        Move(m_directive.flags);
      } else {
        return;
      }
    }
  }
  int Number() {
    if (Take(m_input ? '#' : '*')) return Directive::kFromArgument;
    if (m_rest.empty() || !IsDigit(m_rest.front())) return Directive::kNone;
    int value = 0;
    while (!m_rest.empty() && IsDigit(m_rest.front())) {
      value = value * 10 + (m_rest.front() - '0');
      m_rest.remove_prefix(1);
      if (value > kLargest) m_wrong = true;
      if (m_wrong) return Directive::kNone;
    }
    return value;
  }
  /// The characters of %[...]; a "]" that comes first is one of them.
  bool Set() {
    if (!m_rest.empty() && m_rest.front() == '^') Move(m_directive.set);
    if (!m_rest.empty() && m_rest.front() == ']') Move(m_directive.set);
    while (!m_rest.empty() && m_rest.front() != ']') Move(m_directive.set);
    return Take(']');
  }

  std::string_view& m_rest;
  const bool m_input;
  bool m_wrong = false;
  Directive m_directive;
};

}  // namespace

std::optional<Directive> ReadDirective(std::string_view& rest, bool input) {
  return Reader(rest, input).Read();
}

std::optional<char> ReadEscape(std::string_view& rest) {
  if (rest.empty()) return std::nullopt;
  const char c = rest.front();
  if (c >= '0' && c <= '7') {
    int value = 0;
    for (int digit = 0; digit < 3 && !rest.empty() && rest.front() >= '0' && rest.front() <= '7'; ++digit) {
      value = value * 8 + (rest.front() - '0');
      rest.remove_prefix(1);
    }
    return static_cast<char>(value);
  }
  rest.remove_prefix(1);
  switch (c) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case '"':
    case '\\':
      return c;
    default:
      return std::nullopt;
  }
}

}  // namespace visa
