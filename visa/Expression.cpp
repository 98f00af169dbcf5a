#include "visa/Expression.h"

#include <array>
#include <bitset>
#include <cctype>
#include <charconv>

#include "visa/Names.h"

namespace visa {
namespace {

constexpr std::size_t kLongestName = kFindLength - 1;

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

/// Where a part of a name may end, as a set: bit n stands for n characters. So nothing is ever tried twice, however the
/// signs for repetition are nested.
using Positions = std::bitset<kLongestName + 1>;

/// Reads an expression and follows it through a name in one pass.
class NameMatch {
 public:
  NameMatch(std::string_view expression, std::string_view name) : m_rest(expression), m_name(name) {}

  /// Nothing for an expression with a mistake.
  std::optional<bool> Value() {
    Positions begin;
    begin.set(0);
    const Positions ends = Alternatives(begin);
    if (m_wrong || !m_rest.empty()) return std::nullopt;
    return ends.test(m_name.size());
  }

 private:
  bool Take(char c) {
    if (!m_rest.starts_with(c)) return false;
    m_rest.remove_prefix(1);
    return true;
  }
  Positions Alternatives(const Positions& begins) {
    Positions ends = Sequence(begins);
    while (Take('|')) ends |= Sequence(begins);
    return ends;
  }
  Positions Sequence(Positions at) {
    while (!m_wrong && !m_rest.empty() && m_rest.front() != '|' && m_rest.front() != ')') at = Repeated(at);
    return at;
  }
  Positions Repeated(const Positions& begins) {
    const std::string_view item = m_rest;
    Positions ends = Item(begins);
    const bool any_number = m_rest.starts_with('*');
    if (!any_number && !m_rest.starts_with('+')) return ends;
    const std::string_view after = m_rest.substr(1);
    if (any_number) ends |= begins;
    for (Positions before; !m_wrong && before != ends;) {
      before = ends;
      m_rest = item;
      ends |= Item(ends);
    }
    m_rest = after;
    return ends;
  }
  Positions Item(const Positions& begins) {
    if (Take('(')) {
      // A bound on the depth: each level is a call.
      if (++m_depth > kDeepest) return Wrong();
      const Positions ends = Alternatives(begins);
      --m_depth;
      return Take(')') ? ends : Wrong();
    }
    if (Take('?')) return Step(begins, [](char) { return true; });
    if (Take('[')) return List(begins);
    const bool quoted = Take('\\');
    if (m_rest.empty() || (!quoted && std::string_view("*+").find(m_rest.front()) != std::string_view::npos)) {
      return Wrong();
    }
    const char literal = m_rest.front();
    m_rest.remove_prefix(1);
    return Step(begins, [literal](char c) { return c == literal; });
  }
  Positions List(const Positions& begins) {
    const bool wanted = !Take('^');
    const std::size_t end = m_rest.find(']');
    if (end == std::string_view::npos || end == 0) return Wrong();
    const std::string_view list = m_rest.substr(0, end);
    m_rest.remove_prefix(end + 1);
    return Step(begins, [list, wanted](char c) {
      bool found = false;
      for (std::size_t i = 0; i < list.size() && !found; ++i) {
        const bool range = i + 2 < list.size() && list[i + 1] == '-';
        found = range ? c >= list[i] && c <= list[i + 2] : c == list[i];
        if (range) i += 2;
      }
      return found == wanted;
    });
  }
  template <typename Accepts>
  Positions Step(const Positions& begins, Accepts accepts) const {
    Positions ends;
    for (std::size_t at = 0; at < m_name.size(); ++at) {
      if (begins.test(at) && accepts(m_name[at])) ends.set(at + 1);
    }
    return ends;
  }
  Positions Wrong() {
    m_wrong = true;
    return {};
  }

  static constexpr int kDeepest = 16;

  std::string_view m_rest;
  const std::string_view m_name;
  bool m_wrong = false;
  int m_depth = 0;
};

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
  expression.m_name = UpperCase(text);
  if (text.empty() || !NameMatch(expression.m_name, "").Value()) return std::nullopt;
  return expression;
}

bool Expression::Matches(const std::string& name, const AttributeLookup& lookup) const {
  if (name.size() > kLongestName || !NameMatch(m_name, UpperCase(name)).Value().value_or(false)) return false;
  return m_condition.empty() || Condition(m_condition, lookup).Value().value_or(false);
}

}  // namespace visa
