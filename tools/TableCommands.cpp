#include "tools/TableCommands.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "scpi_zlt/lookups.h"

#include "simulator/PacketText.h"
#include "simulator/Profile.h"
#include "tools/ToolError.h"

namespace {

struct Advice {
  int number;
  const char* text;
};

constexpr const char* kRefused =
    "The instrument refused to switch its output; \":OUTP?\" answers the new state all the same. "
    "Write \":OUTP\" again once the cause is gone.";

constexpr Advice kAdvice[] = {
    {0, "Nothing is wrong."},
    {1, "Left by \":POW:ATT?\", means nothing. Go on."},
    {-108, "One parameter too many, or a blank between an exponent and its unit: write 1e9HZ or 1 GHz."},
    {-109, "A parameter is missing. \"scpi-zlt help HEADER\" shows an example."},
    {-113, "There is no such command, or it has no such form. \"scpi-zlt help\" lists those that there are."},
    {-131, "Not a unit of this command. \"scpi-zlt help HEADER\" lists its units."},
    {-138, "This command takes a bare number: leave the unit out."},
    {-211, "\":TRIG\" is refused while \":INIT:CONT\" is on. Switch that off."},
    {-213, "\":INIT\" is refused while \":INIT:CONT\" is on. Switch that off."},
    {-222, "Outside of the limits: ask for them with \"? MIN\" and \"? MAX\"."},
    {-224,
     "Not possible in this state, or not one of the words. \"scpi-zlt help HEADER\" lists the words; a pulse train "
     "cannot "
     "be started."},
    {-226, "Two lists need the same length, or one of them one point; beside a sweep as many points as the sweep."},
    {-310, "A fault of the program or of the machine. Close the session and open it again."},
    {-350, "Entries were lost: ask \":SYST:ERR?\" more often. \"*CLS\" empties the queue."},
    {20486, "The instrument did not answer in 10 s. Ask again; it has hung if that lasts."},
    {20503, "The VISA provider reported another error. Look at the link; close and open again."},
    {20506,
     "The link is lost, for this session for good: nothing reaches the instrument any more. Close and open again, "
     "which "
     "switches the output off."},
};

const char* AdviceFor(int number) {
  for (const Advice& advice : kAdvice) {
    if (advice.number == number) return advice.text;
  }
  return number >= -32768 && number < -32000 ? kRefused : nullptr;
}

/// What ":SYST:ERR?" may answer: numbers of SCPI, and those of the instrument and the link, which have a name.
struct ErrorRow {
  int number;
  std::string name;
  std::string text;
};

std::vector<ErrorRow> ErrorRows() {
  std::vector<ErrorRow> rows;
  constexpr int kLowest = -499;
  constexpr int kHighest = 499;
  for (int number = kHighest; number >= kLowest; --number) {
    const std::string text = GetErrorDescription(number);
    if (text.find_first_not_of(' ') != std::string::npos) rows.push_back({number, "", text});
  }
  for (int i = 0; i < GetErrorsCount(); ++i) {
    const int id = GetErrorIDByIndex(i);
    if (id == 0) continue;
    const std::string name = GetErrorName(id);
    const std::string text = GetErrorDescription(ConvertErrorSorvsToScpi(static_cast<short>(id)));
    rows.push_back({id, name.substr(0, name.find(' ')), text == " " ? "" : text});
  }
  return rows;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

void ShowErrors(const std::string& wanted) {
  int number = 0;
  const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), number);
  const bool by_number = error == std::errc() && end == wanted.data() + wanted.size();
  bool found = false;
  for (const ErrorRow& row : ErrorRows()) {
    const bool fits =
        by_number ? row.number == number : Upper(row.name + " " + row.text).find(Upper(wanted)) != std::string::npos;
    if (!fits) continue;
    found = true;
    std::cout << row.number << (row.name.empty() ? "" : "  ") << row.name << (row.text.empty() ? "" : "  ") << row.text
              << "\n";
    if (const char* const advice = AdviceFor(row.number); advice != nullptr && !wanted.empty()) {
      std::cout << "  " << advice << "\n";
    }
  }
  if (!found) throw ToolError("no error \"" + wanted + "\"; \"scpi-zlt errors\" lists them", kMessageFailed);
}

/// The bytes of a line: hex digits in pairs, apart or together; nothing if it has none. Words of other text are
/// skipped.
sim::Bytes BytesOf(const std::string& line) {
  sim::Bytes bytes;
  std::istringstream words(line);
  for (std::string word; words >> word;) {
    if (word.starts_with("0x")) word.erase(0, 2);
    if (word.ends_with(',')) word.pop_back();
    if (word.size() % 2 != 0 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) continue;
    for (std::size_t at = 0; at < word.size(); at += 2) {
      bytes.push_back(static_cast<std::uint8_t>(std::stoi(word.substr(at, 2), nullptr, 16)));
    }
  }
  return bytes;
}

/// A request has the lowest number where a reply has its status.
std::string PacketLine(const std::string& line) {
  const sim::Bytes packet = BytesOf(line);
  if (packet.empty()) return "";
  if (packet.size() < sim::kHeadSize) {
    throw ToolError("a packet has " + std::to_string(sim::kHeadSize) + " bytes at least: \"" + line + "\"",
                    kMessageFailed);
  }
  const bool reply = sim::ReadHead(packet).status != std::numeric_limits<std::int16_t>::min();
  return reply ? "<- " + sim::ReplyText(packet) : "-> " + sim::RequestText(packet);
}

void Decode(const std::vector<std::string>& words) {
  if (!words.empty()) {
    std::string line;
    for (const std::string& word : words) line += word + " ";
    std::cout << PacketLine(line) << "\n";
    return;
  }
  for (std::string line; std::getline(std::cin, line);) {
    const std::string text = PacketLine(line);
    if (!text.empty()) std::cout << text << "\n";
  }
}

void ListSimulators() {
  std::cout << "firmware  model    frequency range  RF output  level step\n";
  for (const sim::Profile& profile : sim::Profiles()) {
    constexpr const char* kForms[] = {"3 of 4 bytes", "3 of 6 bytes", "4 values"};
    char line[96];
    std::snprintf(line, sizeof line, "%-9s %-8s %-16s %-10d %g dB\n", std::string(profile.name).c_str(),
                  std::string(profile.model).c_str(), kForms[static_cast<int>(profile.frequency)],
                  profile.rf_generation, profile.limits.power_step);
    std::cout << line;
  }
  std::cout << "A resource: SIM0::fw=" << sim::Profiles().front().name
            << "::INSTR::ZLT. docs/simulator.md lists what else a name may say.\n";
}

}  // namespace

void AddTableCommands(CLI::App& app) {
  // Taken as what is left over, because a negative number looks like an option.
  CLI::App& errors = *app.add_subcommand(
      "errors", "Says what a number in the error queue means, and what to do: errors [NUMBER|PART_OF_NAME_OR_TEXT]");
  errors.allow_extras();
  errors.callback([&errors] {
    const std::vector<std::string> wanted = errors.remaining();
    const std::string text = wanted.empty() ? "" : wanted.front();
    // A negative number is no option.
    const bool option = text.size() > 1 && text[0] == '-' && std::isdigit(static_cast<unsigned char>(text[1])) == 0;
    if (wanted.size() > 1 || option) throw CLI::ExtrasError(wanted);
    ShowErrors(text);
  });

  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::App& decode = *app.add_subcommand("decode", "Shows a packet of the link, given in hex, in words");
  decode.add_option("HEX", *words, "Bytes of one packet; lines of the standard input, a packet each, unless given");
  decode.callback([words] { Decode(*words); });

  CLI::App& simulator = *app.add_subcommand("sim", "Looks at the simulated generator");
  simulator.require_subcommand(1);
  simulator.add_subcommand("list", "The firmware forms that it knows")->callback(ListSimulators);
}
