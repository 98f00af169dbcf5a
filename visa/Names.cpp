#include "visa/Names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "visa/Provider.h"

namespace visa {
namespace {

struct Interface {
  std::string_view word;
  ViUInt16 type;
};
constexpr std::array kInterfaces = {Interface{"GPIB", 1}, Interface{"ASRL", 4}, Interface{"TCPIP", 6},
                                    Interface{"USB", 7}};

constexpr std::array<std::string_view, 4> kClasses = {"INSTR", "SOCKET", "INTFC", "RAW"};

std::vector<std::string> Split(std::string_view name) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t end = name.find("::");
    parts.emplace_back(name.substr(0, end));
    if (end == std::string_view::npos) return parts;
    name.remove_prefix(end + 2);
  }
}

/// A number from 0 to 65535, or -1.
int Number(std::string_view digits) {
  ViUInt16 value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return error == std::errc() && end == digits.data() + digits.size() ? value : -1;
}

/// The interface that a name's first part (in upper case) names with its board, or null. `board` is 0 without one.
const Interface* InterfaceOf(std::string_view first, int& board) {
  for (const Interface& known : kInterfaces) {
    if (!first.starts_with(known.word)) continue;
    const std::string_view digits = first.substr(known.word.size());
    board = digits.empty() ? 0 : Number(digits);
    if (board >= 0) return &known;
  }
  return nullptr;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string GeneratorName(std::string_view name) {
  const std::size_t at = UpperCase(name).find(kMark);
  if (at == std::string::npos || at == 0) return {};
  return std::string(name.substr(0, at)).append(kMark);
}

std::string Comparable(std::string_view name) {
  std::vector<std::string> parts = Split(UpperCase(Trimmed(name)));
  int board = 0;
  const Interface* const known = InterfaceOf(parts[0], board);
  if (known == nullptr) return UpperCase(Trimmed(name));
  parts[0] = std::string(known->word) + std::to_string(board);
  if (std::find(kClasses.begin(), kClasses.end(), parts.back()) == kClasses.end()) parts.emplace_back("INSTR");
  // The part that programs add or leave out: GPIB's secondary address, TCPIP's first device, USB's first interface.
  const bool instrument = parts.back() == "INSTR";
  const std::string& optional = parts[parts.size() - 2];
  if (instrument && ((known->type == 1 && parts.size() == 4 && optional == "0") ||
                     (known->type == 6 && parts.size() == 4 && optional == "INST0") ||
                     (known->type == 7 && parts.size() == 6 && optional == "0"))) {
    parts.erase(parts.end() - 2);
  }
  std::string joined = parts[0];
  for (std::size_t i = 1; i < parts.size(); ++i) joined.append("::").append(parts[i]);
  return joined;
}

NameParts PartsOf(std::string_view name) {
  NameParts result;
  const std::vector<std::string> parts = Split(UpperCase(Trimmed(name)));
  int board = 0;
  const Interface* const known = InterfaceOf(parts[0], board);
  if (known == nullptr) return result;
  result.interface_type = known->type;
  result.interface_number = static_cast<ViUInt16>(board);
  if (parts.back() == "SOCKET") result.resource_class = parts.back();
  if (known->type == 1 && parts.size() > 1) result.primary_address = Number(parts[1]);
  if (known->type == 1 && parts.size() > 2) result.secondary_address = Number(parts[2]);
  return result;
}

Aliases Aliases::Read() {
  Aliases aliases;
  aliases.ReadFile("/etc/scpi-zlt/aliases", false);
  std::string folder = Environment("XDG_CONFIG_HOME");
  if (folder.empty() && !Environment("HOME").empty()) folder = Environment("HOME").append("/.config");
  if (!folder.empty()) aliases.ReadFile(folder + "/scpi-zlt/aliases", false);
  if (const std::string file = Environment("ZLT_ALIASES"); !file.empty()) aliases.ReadFile(file, true);
  return aliases;
}

void Aliases::ReadFile(const std::string& path, bool has_to_exist) {
  const auto complain = [&](const std::string& text) {
    m_mistakes = true;
    SayOnce(text);
  };
  std::ifstream file(path);
  if (!file) {
    if (has_to_exist) complain("the alias file " + path + " can't be read; ZLT_ALIASES names it");
    return;
  }
  std::map<std::string, int> lines;
  std::string line;
  int number = 0;
  while (std::getline(file, line)) {
    ++number;
    const std::string reason = TakeLine(std::string_view(line).substr(0, line.find('#')), lines, number);
    if (!reason.empty()) complain((path + ", line ").append(std::to_string(number)).append(": ").append(reason));
  }
  if (file.bad()) complain("the alias file " + path + " can't be read");
}

/// What is wrong with the line; empty if nothing is.
std::string Aliases::TakeLine(std::string_view line, std::map<std::string, int>& lines, int number) {
  line = Trimmed(line);
  if (line.empty()) return {};
  const std::size_t middle = line.find('=');
  if (middle == std::string_view::npos) return "a line has to be NAME = RESOURCE::ZLT";
  const std::string name(Trimmed(line.substr(0, middle)));
  // After the first "=": the names of simulated generators have that character too.
  const std::string target(Trimmed(line.substr(middle + 1)));
  if (name.empty()) return "there is no name before =";
  if (!GeneratorName(name).empty()) return "\"" + name + "\" opens without an alias";
  if (target.empty()) return "there is no resource after =";
  const std::string generator = GeneratorName(target);
  if (generator.size() != target.size()) return "\"" + target + "\" has to end in ::ZLT, as in SIM0::INSTR::ZLT";
  if (name.size() >= kFindLength || generator.size() >= kFindLength) return "a name has at most 255 characters";
  const std::string key = Comparable(name);
  const auto [before, fresh] = lines.emplace(key, number);
  if (!fresh) return "\"" + name + "\" is named in line " + std::to_string(before->second) + " already";
  m_aliases[key] = {name, generator};
  return {};
}

const Aliases::Alias* Aliases::Find(std::string_view name) const {
  const auto found = m_aliases.find(Comparable(name));
  return found == m_aliases.end() ? nullptr : &found->second;
}

}  // namespace visa
