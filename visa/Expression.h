// The expressions of viFindRsrc (VPP-4.3 section 4.3.3.3): a regular expression over the whole name in any case, and
// after it, in braces, a logical expression over attributes.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace visa {

/// An attribute of a name by its own name, "VI_ATTR_INTF_NUM": a number, or a text.
struct AttributeValue {
  bool is_text = false;
  std::string text;
  double number = 0;
};
using AttributeLookup = std::function<std::optional<AttributeValue>(std::string_view attribute)>;

class Expression {
 public:
  /// Nothing for an expression with a mistake.
  static std::optional<Expression> Parse(std::string_view text);

  /// `lookup` gives the attributes of the resource `name`; one without a value makes its comparison false.
  bool Matches(const std::string& name, const AttributeLookup& lookup) const;

 private:
  std::string m_name;       ///< in upper case
  std::string m_condition;  ///< between the braces; empty: none
};

}  // namespace visa
