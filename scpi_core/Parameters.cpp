// From the program data elements of a unit to typed values: decimal numeric data with its suffix, character data,
// strings and definite-length blocks (IEEE 488.2, 7.7).
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "scpi_core/pcore.h"
#include "support/Ascii.h"

namespace {

bool IsNumericKind(EParamKind kind) {
  return kind == kKindDecimal || kind == kKindNumeric || kind == kKindNumericList || kind == kKindBlock;
}

/// True for what both ways of reading a number read alike: plain decimal digits, with a minus at most in front.
bool IsPlainNumber(const char* token, int length) {
  const int start = length > 0 && token[0] == '-' ? 1 : 0;
  if (start >= length || !IsDigit(token[start])) return false;
  return !(token[start] == '0' && start + 1 < length && Lower(token[start + 1]) == 'x');
}

/// The number that eight characters at once stand for, if all of them are digits.
bool ReadEightDigits(const char* text, std::uint64_t& number) {
  std::uint64_t step;
  std::memcpy(&step, text, sizeof step);
  // Each byte is 0x30 to 0x39: the high half is 3, and stays 3 with 6 added.
  constexpr std::uint64_t kHighHalves = 0xF0F0F0F0F0F0F0F0;
  const std::uint64_t raised = step + 0x0606060606060606;
  if (((step & kHighHalves) | ((raised & kHighHalves) >> 4)) != 0x3333333333333333) return false;
  // Neighbours become one number: of two digits, then of four, then of eight.
  step -= 0x3030303030303030;
  step = (step * 10 + (step >> 8)) & 0x00FF00FF00FF00FF;
  step = (step * 100 + (step >> 16)) & 0x0000FFFF0000FFFF;
  number = (step * 10000 + (step >> 32)) & 0xFFFFFFFF;
  return true;
}

/// A number of few digits, without an exponent: both its digits and the power of ten are exact doubles, so that one
/// division rounds it correctly. Returns its length, 0 for a number that is not of this form.
int ReadShortNumber(const char* token, int length, double& value) {
  static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr int kMostDigits = 15;
  const bool negative = token[0] == '-';
  int at = negative ? 1 : 0;
  std::uint64_t digits = 0;  // wraps where there are too many
  const auto take = [&] {
    const int from = at;
    const int end = std::min(length, from + kMostDigits + 1);
    std::uint64_t eight = 0;
    for (; at + 8 <= end && ReadEightDigits(token + at, eight); at += 8) digits = digits * 100000000 + eight;
    for (; at < end; ++at) {
      const unsigned int digit = static_cast<unsigned char>(token[at]) - unsigned{'0'};
      if (digit > 9) break;
      digits = digits * 10 + digit;
    }
    return at - from;
  };
  const int whole = take();
  if (whole > kMostDigits) return 0;
  int places = 0;
  if (at < length && token[at] == '.') {
    ++at;
    places = take();
    if (places == 0 || whole + places > kMostDigits) return 0;
  }
  if (at < length && Lower(token[at]) == 'e') return 0;
  double number = static_cast<double>(static_cast<std::int64_t>(digits));
  if (places > 0) number /= kPowers[places];
  value = negative ? -number : number;
  return at;
}

/// As strtod reads a number. Kept out of line, so that the numbers that people write do not pay for it.
[[gnu::noinline]] int ReadAnyNumber(const char* token, int length, double& value) {
  if (IsPlainNumber(token, length)) {
    const auto [end, error] = std::from_chars(token, token + length, value);
    if (error == std::errc()) return static_cast<int>(end - token);
  }
  const std::string bounded(token, static_cast<std::size_t>(length));
  char* end = nullptr;
  const double number = std::strtod(bounded.c_str(), &end);
  if (end != bounded.c_str()) value = number;
  return static_cast<int>(end - bounded.c_str());
}

/// How many characters of the token are a number, with strtod's idea of one.
int ReadNumber(const char* token, int length, double& value) {
  if (IsPlainNumber(token, length)) {
    if (const int taken = ReadShortNumber(token, length, value)) return taken;
  }
  return ReadAnyNumber(token, length, value);
}

/// The matching of one unit's parameter tokens.
class Matcher {
 public:
  explicit Matcher(sCommand& command) : m_command(command) {}

  /// Matches one token. False ends the matching; an error that does not is kept and may be overwritten.
  bool Match(int token, const sFParam& descriptor) {
    sSubString& substring = m_command.substrings[static_cast<std::size_t>(m_command.level_count + token)];
    if (IsNumericKind(descriptor.kind)) return MatchNumeric(substring, descriptor);
    if (descriptor.kind == kKindString) return MatchString(substring);
    return MatchMnemonic(m_command.level_count + token, substring, descriptor);
  }

 private:
  bool MatchNumeric(sSubString& token, const sFParam& descriptor) {
    const char* text = m_command.text + token.offset;
    const int rest = m_command.length - token.offset;
    if (text[0] == '#' && BinaryBlockSize(text, token.length, kBlockHeader) > 0)
      return MatchBlock(token, text, rest, descriptor);
    if (descriptor.kind == kKindBlock) {
      m_command.error = scpi_error::kInvalidBlockData;
      return true;
    }
    sNumValue number;
    if (GetNumValue(text, token.length, descriptor, number) != 0) return Stop(scpi_error::kIllegalParameterValue);
    if (number.mnemonic) {
      if ((descriptor.flags & kTakesWords) != 0) {
        Take(token, kParamCharacter, number.value);
      } else {
        m_command.error = scpi_error::kIllegalParameterValue;
      }
      return true;
    }
    if (number.unit[0] == '\0') {
      Push(kParamNumber, number.value);  // not marked as consumed, unlike all others
      return true;
    }
    return MatchUnit(token, number, descriptor);
  }

  bool MatchBlock(sSubString& token, const char* text, int rest, const sFParam& descriptor) {
    if (descriptor.kind != kKindNumericList && descriptor.kind != kKindBlock) {
      m_command.error = scpi_error::kBlockDataNotAllowed;
      return true;
    }
    const auto header = static_cast<int>(BinaryBlockSize(text, rest, kBlockHeader));
    sParamInfo& block = Take(token, kParamBlock, BinaryBlockSize(text, rest, kBlockData));
    block.data = text + (header < rest ? header : rest);
    return true;
  }

  bool MatchUnit(sSubString& token, const sNumValue& number, const sFParam& descriptor) {
    if (descriptor.unit_count == 0 || descriptor.units == nullptr) return Stop(scpi_error::kSuffixNotAllowed);
    for (std::int32_t i = 0; i < descriptor.unit_count; ++i) {
      const char* const name = descriptor.units[i].name;
      if (number.unit[0] != name[0] || std::strcmp(number.unit, name) != 0) continue;
      Take(token, kParamNumber, number.value * descriptor.units[i].multiplier).unit_index = i;
      return true;
    }
    return Stop(scpi_error::kInvalidSuffix);
  }

  bool MatchString(sSubString& token) {
    std::string_view text(m_command.text + token.offset, static_cast<std::size_t>(token.length));
    if (!text.empty() && IsQuote(text.front())) {
      text = text.size() > 2 ? text.substr(1, text.size() - 2) : std::string_view();
    }
    Take(token, kParamString, -1.0).text = text;
    return true;
  }

  bool MatchMnemonic(int index, sSubString& token, const sFParam& descriptor) {
    for (std::int32_t i = 0; i < descriptor.mnemonic_count; ++i) {
      const sMnemonicRow& row = descriptor.mnemonics[i];
      int equal = 0;
      while (row.name[equal] != '\0' && equal < token.length && row.name[equal] == m_command.GetChar(index, equal))
        ++equal;
      if (equal != token.length || (row.name[equal] != '\0' && equal != row.short_length)) continue;
      Take(token, kParamCharacter, i);
      return true;
    }
    if (token.type == kTokenParameter) return true;  // an earlier attempt on this unit took it
    return Stop(scpi_error::kIllegalParameterValue);
  }

  bool Stop(int error) {
    m_command.error = error;
    return false;
  }

  sParamInfo& Take(sSubString& token, EParamType type, double value) {
    token.type = kTokenParameter;
    return Push(type, value);
  }

  sParamInfo& Push(EParamType type, double value) {
    sParamInfo& parameter = m_command.parameters.emplace_back();
    parameter.type = type;
    parameter.value = value;
    ++m_command.parsed_count;
    return parameter;
  }

  sCommand& m_command;
};

bool IsMissing(const sFParam& descriptor) {
  return descriptor.kind != kKindNumericList && descriptor.kind != kKindString &&
         (descriptor.flags & kMayBeLeftOut) == 0;
}

}  // namespace

int GetNumValue(const char* token, int length, const sFParam& descriptor, sNumValue& out) {
  out.value = -1.0;
  std::memset(out.unit, 0, sizeof out.unit);
  out.invalid = true;
  out.mnemonic = false;
  if (const int taken = ReadNumber(token, length, out.value)) {
    out.invalid = false;
    constexpr int kLongestUnit = static_cast<int>(sizeof out.unit) - 1;
    for (int i = 0; i < kLongestUnit && taken + i < length; ++i) out.unit[i] = Lower(token[taken + i]);
    return 0;
  }
  for (std::int32_t i = 0; i < descriptor.mnemonic_count; ++i) {
    const std::string_view name = descriptor.mnemonics[i].name;
    if (static_cast<std::size_t>(length) > name.size()) continue;
    int equal = 0;
    while (equal < length && Lower(token[equal]) == name[static_cast<std::size_t>(equal)]) ++equal;
    if (equal < length) continue;
    if (length != descriptor.mnemonics[i].short_length && static_cast<std::size_t>(length) != name.size()) continue;
    out.invalid = false;
    out.mnemonic = true;
    out.value = i;  // the last row that matches wins
  }
  return out.invalid ? 1 : 0;
}

void FindParameters(const sFunctionCallInfo& info, const sFParam* parameters, sCommand* command) {
  const int tokens = command->substring_count - command->level_count;
  if (tokens > 0 && (parameters == nullptr || info.count == 0)) {
    command->error = scpi_error::kParameterNotAllowed;
    return;
  }
  command->parameters.reserve(command->parameters.size() + static_cast<std::size_t>(tokens > 0 ? tokens : 0));
  Matcher matcher(*command);
  std::int32_t descriptor = 0;
  for (int token = 0; token < tokens; ++token) {
    if (descriptor >= info.count) {
      command->error = scpi_error::kParameterNotAllowed;
      return;
    }
    if (!matcher.Match(token, parameters[descriptor])) return;
    if (parameters[descriptor].kind != kKindNumericList) ++descriptor;
  }
  if (descriptor < info.count && !command->query && IsMissing(parameters[descriptor])) {
    command->error = scpi_error::kMissingParameter;
  }
}
