// Runs transcripts: what is written to the library, the packets that it causes, the answer (transcripts/README.md).
//
//   run_transcripts FILE...           compares; a difference names file and line
//   run_transcripts --renew FILE...   writes what was seen into the files
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <deque>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "tests/unit/src/PlayedInstrument.h"

namespace {

using Lines = std::vector<std::string>;

constexpr std::string_view kReplyMark = " => ";

struct Step {
  int line = 0;
  std::string input;  ///< "> message" or "@ operation numbers"
  Lines expected;
  Lines after;  ///< blank lines and comments up to the next step
};

struct Block {
  int line = 0;
  Lines head;  ///< its lines up to the first step, unchanged
  std::string name;
  std::string base;  ///< the block whose steps come first
  test::Firmware firmware = test::Firmware::kNew;
  int generation = -1;
  bool with_bytes = false;
  std::vector<Step> steps;
};

struct Transcript {
  std::string path;
  Lines head;
  std::vector<Block> blocks;
};

std::string Trimmed(const std::string& line) {
  const std::size_t first = line.find_first_not_of(' ');
  return first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(' ') - first + 1);
}

/// "3 x 7" as three sevens with `separator` between them.
std::string Repeated(const std::string& text, const std::string& separator) {
  static const std::regex mark("([0-9]+) x ([^ ,]+)");
  std::smatch found;
  if (!std::regex_search(text, found, mark)) return text;
  std::string values = found[2];
  for (int i = 1; i < std::stoi(found[1]); ++i) values += separator + found.str(2);
  return found.prefix().str() + values + found.suffix().str();
}

/// More than eight equal values of a packet in a row as "165 x 1000000000".
std::string Counted(const std::string& packet) {
  const std::size_t open = packet.find('[');
  if (open == std::string::npos) return packet;
  std::string text = packet.substr(0, open + 1);
  Lines values;
  std::istringstream stream(packet.substr(open + 1, packet.rfind(']') - open - 1));
  for (std::string value; std::getline(stream, value, ',');) values.push_back(Trimmed(value));
  for (std::size_t i = 0; i < values.size();) {
    std::size_t end = i;
    while (end < values.size() && values[end] == values[i]) ++end;
    const bool is_many = end - i > 8;
    if (i > 0) text += ", ";
    text += is_many ? std::to_string(end - i) + " x " + values[i] : values[i];
    i = is_many ? end : i + 1;
  }
  return text + packet.substr(packet.rfind(']'));
}

std::string Text(double value) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.12g", value);
  return digits;
}

/// "refused", "corrected 7 7", "ok, no values", "0xFF22", "lost".
test::Reply ReadReply(std::string text) {
  static const std::map<std::string, unsigned> statuses = {
      {"ok", 0}, {"corrected", 1}, {"ignored", 2}, {"refused", 0x8003}, {"lost", 0}};
  test::Reply reply;
  const std::size_t bare = text.find(", no values");
  reply.is_bare = bare != std::string::npos;
  text.resize(std::min(bare, text.size()));
  std::istringstream words(text);
  std::string word;
  words >> word;
  reply.is_lost = word == "lost";
  const auto named = statuses.find(word);
  const auto number = [&] { return static_cast<unsigned>(std::stoul(word, nullptr, 0)); };
  reply.status = test::Status16(named != statuses.end() ? named->second : number());
  while (words >> word) reply.values.push_back(std::stod(word));
  return reply;
}

void ReadHeadLine(Block& block, const std::string& line) {
  std::istringstream words(line);
  std::string key, value;
  words >> key >> value;
  if (key == "instrument") {
    static const std::map<std::string, test::Firmware> firmwares = {
        {"new", test::Firmware::kNew}, {"middle", test::Firmware::kMiddle}, {"old", test::Firmware::kOld}};
    block.firmware = firmwares.at(value);
    words >> block.generation;
  } else if (key == "after") {
    block.base = line.substr(6);
  } else if (key == "bytes") {
    block.with_bytes = true;
  } else {
    throw std::invalid_argument("not a line of a block's head: " + line);
  }
}

Transcript Read(const std::string& path) {
  Transcript transcript{path, {}, {}};
  std::ifstream file(path);
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::string text = Trimmed(line);
    const bool is_remark = text.empty() || text[0] == '#';
    if (text.starts_with("== ")) {
      transcript.blocks.push_back({number, {line}, text.substr(3), "", test::Firmware::kNew, -1, false, {}});
    } else if (transcript.blocks.empty()) {
      if (!is_remark) throw std::invalid_argument(path + ":" + std::to_string(number) + ": a block begins with ==");
      transcript.head.push_back(line);
    } else if (Block& block = transcript.blocks.back(); text.starts_with("> ") || text.starts_with("@ ")) {
      block.steps.push_back({number, text, {}, {}});
    } else if (block.steps.empty()) {
      block.head.push_back(line);
      if (!is_remark) ReadHeadLine(block, text);
    } else if (is_remark) {
      block.steps.back().after.push_back(line);
    } else {
      block.steps.back().expected.push_back(text);
    }
  }
  return transcript;
}

bool IsPacket(const std::string& line) {
  return std::ranges::any_of(Lines{"SET ", "GET ", "RUN", "RESET"},
                             [&](const std::string& command) { return line.starts_with(command); });
}

/// What a step causes, as the lines under it. Replies are taken from the lines expected there.
Lines Play(const Step& step, test::PlayedInstrument& instrument, bool with_bytes) {
  std::deque<test::Reply> replies;
  std::deque<std::string> marks;
  for (const std::string& line : step.expected) {
    if (!IsPacket(line)) continue;
    const std::size_t mark = std::min(line.find(kReplyMark), line.size());
    marks.push_back(line.substr(mark));
    replies.push_back(mark == line.size() ? test::Reply{} : ReadReply(line.substr(mark + kReplyMark.size())));
  }
  instrument.Answers(replies);

  Lines results;
  const std::string text = step.input.substr(2);
  if (step.input[0] == '>') {
    Lines errors;
    const std::string answer = instrument.Say(Repeated(text, ","), errors);
    if (!answer.empty()) results.push_back("< " + answer);
    for (const std::string& error : errors) results.push_back("! " + error);
  } else {
    std::istringstream words(Repeated(text, " "));
    std::string name;
    words >> name;
    std::vector<double> numbers;
    for (std::string word; words >> word;) numbers.push_back(std::stod(word));
    results.push_back("= " + Text(test::CallOperation(instrument.device, name, numbers)));
  }

  Lines seen;
  for (const std::string& line : instrument.TakeLog(with_bytes)) {
    seen.push_back(Counted(line));
    if (!IsPacket(line) || marks.empty()) continue;
    seen.back() += marks.front();
    marks.pop_front();
  }
  seen.insert(seen.end(), results.begin(), results.end());
  return seen;
}

const Block& Find(const Transcript& transcript, const std::string& name) {
  const auto found = std::ranges::find(transcript.blocks, name, &Block::name);
  if (found == transcript.blocks.end()) throw std::invalid_argument("no block named \"" + name + "\"");
  return *found;
}

void PlayBase(const Transcript& transcript, const Block& block, test::PlayedInstrument& instrument) {
  if (block.base.empty()) return;
  const Block& base = Find(transcript, block.base);
  PlayBase(transcript, base, instrument);
  for (const Step& step : base.steps) Play(step, instrument, false);
}

std::string At(const Transcript& transcript, int line) {
  return transcript.path + ":" + std::to_string(line) + ": ";
}

/// Prints the first line that differs; true when none does.
bool Compare(const Transcript& transcript, const Block& block, const Step& step, const Lines& seen) {
  if (seen == step.expected) return true;
  const auto [expected, got] = std::ranges::mismatch(step.expected, seen);
  const auto line = step.line + 1 + (expected - step.expected.begin());
  std::cout << At(transcript, static_cast<int>(line)) << "in \"" << block.name << "\", under \"" << step.input << "\"\n"
            << "  expected: " << (expected == step.expected.end() ? "(nothing more)" : *expected) << '\n'
            << "  got:      " << (got == seen.end() ? "(nothing more)" : *got) << '\n';
  return false;
}

/// True when the block did what it says. With `renew` its lines become what was seen.
bool RunBlock(const Transcript& transcript, Block& block, bool renew) {
  test::PlayedInstrument instrument(block.firmware, block.generation);
  PlayBase(transcript, block, instrument);
  for (Step& step : block.steps) {
    Lines seen;
    try {
      seen = Play(step, instrument, block.with_bytes);
    } catch (const std::exception& wrong) {
      throw std::invalid_argument(At(transcript, step.line) + wrong.what());
    }
    if (renew) {
      step.expected = seen;
    } else if (!Compare(transcript, block, step, seen)) {
      return false;
    }
  }
  return true;
}

void Write(const Transcript& transcript) {
  std::ofstream file(transcript.path);
  const auto put = [&](const Lines& lines, const char* indent = "") {
    for (const std::string& line : lines) file << indent << line << '\n';
  };
  put(transcript.head);
  for (const Block& block : transcript.blocks) {
    put(block.head);
    for (const Step& step : block.steps) {
      file << step.input << '\n';
      for (const std::string& line : step.expected) {
        const bool is_result = line[0] == '<' || line[0] == '!' || line[0] == '=';
        put({line}, is_result ? "" : IsPacket(line) || line[0] == '(' ? "  " : "    ");
      }
      put(step.after);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t count = 0, failed = 0;
  try {
    const bool renew = argc > 1 && std::string(argv[1]) == "--renew";
    for (int i = renew ? 2 : 1; i < argc; ++i) {
      Transcript transcript = Read(argv[i]);
      for (Block& block : transcript.blocks) failed += RunBlock(transcript, block, renew) ? 0 : 1;
      count += transcript.blocks.size();
      if (renew) Write(transcript);
    }
  } catch (const std::exception& wrong) {
    std::cerr << wrong.what() << '\n';
    return 2;
  }
  std::cout << count << " blocks, " << failed << " failed\n";
  return count > 0 && failed == 0 ? 0 : 1;
}
