#include "scpi_zlt/command.h"

#include <cstdio>
#include <cstring>

#include "scpi_zlt/scpi_errors.h"

#include "scpi_core/pcore.h"
#include "support/Ascii.h"

namespace {

/// Tokens and values that a unit command keeps room for: of all but long lists.
constexpr std::size_t kMostKept = 256;

}  // namespace

sCommand::sCommand() = default;

sCommand::sCommand(char* source, int source_length) {
  if (source == nullptr || source_length < 0) return;
  length = source_length;
  text = new char[static_cast<std::size_t>(length) + 1];
  std::memcpy(text, source, static_cast<std::size_t>(length));
}

sCommand::sCommand(const sCommand& other) : sCommand(other.text, other.length) {
  level_count = other.level_count;
  first_character = other.first_character;
  substrings = other.substrings;
  parameter_count = other.parameter_count;
  substring_count = other.substring_count;
  query = other.query;
  error = other.error;
  parameters = other.parameters;
  // Block data lies in the text, so a copy's lies in its own.
  for (sParamInfo& parameter : parameters) {
    if (parameter.data != nullptr) parameter.data = text + (parameter.data - other.text);
  }
  parsed_count = other.parsed_count;
  final_attempt = other.final_attempt;
  if (other.error_info != nullptr) error_info = new sComErrorInfo(*other.error_info);
}

sCommand::~sCommand() {
  delete[] text;
  delete error_info;
}

sUnitCommand::~sUnitCommand() {
  text = nullptr;
  error_info = nullptr;
}

void sUnitCommand::Begin(char* unit, int unit_length) {
  text = unit;
  length = unit_length;
  level_count = 0;
  first_character = 0;
  if (substrings.capacity() > kMostKept) substrings = {};
  substrings.clear();
  parameter_count = 0;
  substring_count = 0;
  query = false;
  error = 0;
  if (parameters.capacity() > kMostKept) parameters = {};
  parameters.clear();
  parsed_count = 0;
  m_error_info = {};
  error_info = &m_error_info;
  final_attempt = false;
}

char sCommand::GetChar(int token, int position) const {
  if (token < 0 || token >= static_cast<int>(substrings.size()) || position < 0) return 0;
  const sSubString& substring = substrings[static_cast<std::size_t>(token)];
  if (position >= substring.length || substring.offset + position >= length) return 0;
  return Lower(text[substring.offset + position]);
}

int GetCLC(char* text) {
  int count = 1;
  for (; *text != '\0'; ++text) count += *text == ':';
  return count;
}

namespace {

constexpr const char* kTypes[] = {"type: none\t", "type: node\t", "type: parameter\t"};

void ShowParameters(const sCommand& command) {
  std::printf("parameters: ");
  std::size_t value = 0;
  int position = 0;
  for (; position < command.parameter_count && command.error == 0; ++position) {
    const auto token = static_cast<std::size_t>(command.level_count + position);
    if (token >= command.substrings.size() || command.substrings[token].type != kTokenParameter) break;
    if (value < command.parameters.size()) std::printf("%.12g ", command.parameters[value++].value);
  }
  std::printf("\n");
  if (position < command.parameter_count || command.error != 0) {
    std::printf("error: IllegalParameterValue %d\n", position + 1);
  }
}

}  // namespace

void Show(sCommand command) {
  constexpr const char* kRule = "-------------------------------------------------------";
  std::printf("<command_info>\nlevel count: %d\nquery: %s\nsubstring count: %d\n<<list of substrings>>\n",
              command.level_count, command.query ? "true" : "false", command.substring_count);
  std::printf("%s\nText\tLength\tIsNode\tIsParameter\tChannel\n%s\n", kRule, kRule);
  for (const sSubString& token : command.substrings) {
    if (token.type >= kTokenUnknown && token.type <= kTokenParameter) std::printf("%s", kTypes[token.type]);
    std::printf("%d\n", token.channel);
  }
  std::printf("%s\n\n", kRule);
  if (command.error != 0 && command.error != scpi_error::kIllegalParameterValue) {
    std::printf("</command_info>\n");
  } else {
    ShowParameters(command);
  }
  std::fflush(stdout);
}
