#include "visa/Expression.h"

#include <array>
#include <charconv>

#include "visa/Names.h"

namespace visa {
namespace {

/// Reads a condition and says whether it holds, in one pass: || binds weakest, then &&, then !.
class Condition {
 public:
  Condition(std::string_view text, const AttributeLookup& lookup) : m_rest(text), m_lookup(lookup) {}

  /// Nothing for a condition with a mistake.
  std::optional<bool> Value() {
    const bool value = Or();
    Skip();
    if (m_wrong || !m_rest.empty()) return std::nullopt;
    return value;
  }

 private:
  void Skip() {
    while (!m_rest.empty() && (m_rest.front() == ' ' || m_rest.front() == '\t')) m_rest.remove_prefix(1);
  }
  bool Take(std::string_view token) {
    Skip();
    if (!m_rest.starts_with(token)) return false;
    m_rest.remove_prefix(token.size());
    return true;
  }
  bool Or() {
    bool value = And();
    while (Take("||")) value = And() || value;
    return value;
  }
  bool And() {
    bool value = Not();
    while (Take("&&")) value = Not() && value;
    return value;
  }
  bool Not() {
    // A bound on the depth: each level is a call.
    if (++m_depth > kDeepest) {
      m_wrong = true;
      return false;
    }
    bool value = false;
    if (!m_rest.starts_with("!=") && Take("!")) {
      value = !Not();
    } else if (Take("(")) {
      value = Or();
      if (!Take(")")) m_wrong = true;
    } else {
      value = Comparison();
    }
    --m_depth;
    return value;
  }
  bool Comparison() {
    const std::optional<AttributeValue> left = Operand();
    static constexpr std::array<std::string_view, 6> kOperators = {"==", "!=", "<=", ">=", "<", ">"};
    for (std::size_t i = 0; i < kOperators.size(); ++i) {
      if (!Take(kOperators[i])) continue;
      const std::optional<AttributeValue> right = Operand();
      if (!left || !right || left->is_text != right->is_text) return false;
      const int order = left->is_text ? UpperCase(left->text).compare(UpperCase(right->text))
                                      : (left->number > right->number) - (left->number < right->number);
      const std::array<bool, 6> results = {order == 0, order != 0, order <= 0, order >= 0, order<0, order> 0};
      return results[i];
    }
    m_wrong = true;
    return false;
  }
  /// An attribute, a number or a text in quotes. Nothing for an attribute that has no value.
  std::optional<AttributeValue> Operand() {
    Skip();
    if (Take("\"")) {
      const std::size_t end = m_rest.find('"');
      if (end == std::string_view::npos) return Wrong();
      AttributeValue value{true, std::string(m_rest.substr(0, end)), 0};
      m_rest.remove_prefix(end + 1);
      return value;
    }
    std::size_t length = 0;
    while (length < m_rest.size() && (std::isalnum(static_cast<unsigned char>(m_rest[length])) != 0 ||
                                      m_rest[length] == '_' || (length == 0 && m_rest[length] == '-'))) {
      ++length;
    }
    const std::string word = UpperCase(m_rest.substr(0, length));
    m_rest.remove_prefix(length);
    if (word.starts_with("VI_ATTR_")) return m_lookup(word);
    const bool hexadecimal = word.starts_with("0X");
    const char* const first = word.data() + (hexadecimal ? 2 : 0);
    long number = 0;
    const auto [end, error] = std::from_chars(first, word.data() + word.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != word.data() + word.size()) return Wrong();
    return AttributeValue{false, {}, static_cast<double>(number)};
  }
  std::optional<AttributeValue> Wrong() {
    m_wrong = true;
    return std::nullopt;
  }

  static constexpr int kDeepest = 64;

  std::string_view m_rest;
  const AttributeLookup& m_lookup;
  bool m_wrong = false;
  int m_depth = 0;
};

/// The same expression in the grammar of std::regex: "?" is any character there, the rest has the same signs.
std::string Translate(std::string_view text) {
  constexpr std::string_view kSame = "*+|()";
  std::string result;
  bool in_list = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (in_list) {
      in_list = c != ']';
      if (c == '\\' || c == '[') result += '\\';
      result += c;
    } else if (c == '?') {
      result += '.';
    } else if (c == '[') {
      in_list = true;
      result += c;
    } else if (kSame.find(c) != std::string_view::npos) {
      result += c;
    } else {
      // A back slash at the end stands for nothing, which std::regex then refuses.
      const bool quoted = c == '\\' && i + 1 < text.size();
      const char literal = quoted ? text[++i] : c;
      if (std::isalnum(static_cast<unsigned char>(literal)) == 0 && literal != '_') result += '\\';
      result += literal;
    }
  }
  return result;
}

}  // namespace

std::optional<Expression> Expression::Parse(std::string_view text) {
  Expression expression;
  const std::size_t brace = text.find('{');
  if (brace != std::string_view::npos) {
    const std::size_t end = text.rfind('}');
    if (end != text.size() - 1 || end < brace) return std::nullopt;
    expression.m_condition = text.substr(brace + 1, end - brace - 1);
    text = text.substr(0, brace);
    const AttributeLookup any = [](std::string_view) { return std::optional<AttributeValue>(AttributeValue{}); };
    if (!Condition(expression.m_condition, any).Value()) return std::nullopt;
  }
  if (text.empty()) return std::nullopt;
  try {
    expression.m_name.assign(Translate(text), std::regex::ECMAScript | std::regex::icase);
  } catch (const std::regex_error&) {
    return std::nullopt;
  }
  return expression;
}

bool Expression::Matches(const std::string& name, const AttributeLookup& lookup) const {
  if (!std::regex_match(name, m_name)) return false;
  return m_condition.empty() || Condition(m_condition, lookup).Value().value_or(false);
}

}  // namespace visa
