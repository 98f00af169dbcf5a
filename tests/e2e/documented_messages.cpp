// Runs the blocks of a page for users. In a fenced block the first line names a resource; "> text" is written, "< text"
// is what the next read has to deliver, "! text" is done to the simulated instrument, "= question: answer" is what it
// holds then. Blocks run side by side, since closing a session takes a second or more.
#include <array>
#include <fstream>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "simulator/control.h"

namespace {

struct Block {
  int line = 0;
  std::string resource;
  std::vector<std::string> steps;
};

std::vector<Block> ReadBlocks(std::istream& page) {
  std::vector<Block> blocks;
  bool fenced = false;
  bool inside = false;  // a fence that names a language holds something else
  int number = 0;
  for (std::string line; std::getline(page, line);) {
    ++number;
    if (line.starts_with("```")) {
      inside = !fenced && line == "```";
      fenced = !fenced;
      if (inside) blocks.push_back({number, "", {}});
    } else if (inside && blocks.back().resource.empty()) {
      blocks.back().resource = line;
    } else if (inside) {
      blocks.back().steps.push_back(line);
    }
  }
  return blocks;
}

/// "SIM0::fw=g0|g1::INSTR" names one instrument of each firmware: the block is run with each.
std::vector<Block> ForEachFirmware(const Block& block) {
  const std::size_t first = block.resource.find('=') + 1;
  const std::size_t end = block.resource.find_first_of(",:", first);
  if (block.resource.find('|') == std::string::npos) return {block};
  std::vector<Block> blocks;
  std::istringstream values(block.resource.substr(first, end - first));
  for (std::string value; std::getline(values, value, '|');) {
    blocks.push_back(block);
    blocks.back().resource.replace(first, end - first, value);
  }
  return blocks;
}

std::string ReadAnswer(unsigned long session) {
  std::array<unsigned char, 4096> text{};
  unsigned long count = 0;
  if (skRead(session, text.data(), text.size(), &count) != VI_SUCCESS_TERM_CHAR) return "(nothing)";
  return {text.begin(), text.begin() + static_cast<long>(count) - 1};
}

std::string Write(unsigned long session, const std::string& text) {
  std::string line = text + "\n";
  unsigned long written = 0;
  const long status = skWrite(session, reinterpret_cast<unsigned char*>(line.data()), line.size(), &written);
  return status == VI_SUCCESS && written == line.size() ? "" : "is not taken";
}

std::string CompareHeld(const std::string& instrument, const std::string& text) {
  const std::size_t colon = text.find(": ");
  std::array<char, 1024> held{};
  simQuery((instrument + ' ' + text.substr(0, colon)).c_str(), held.data(), static_cast<int>(held.size()));
  return text.substr(colon + 2) == held.data() ? "" : std::string("but it holds ") + held.data();
}

/// What went wrong with one line, empty if nothing did.
std::string RunStep(unsigned long session, const std::string& instrument, const std::string& step) {
  const std::string text = step.size() > 2 ? step.substr(2) : "";
  switch (step.empty() ? ' ' : step.front()) {
    case '>':
      return Write(session, text);
    case '<': {
      const std::string answer = ReadAnswer(session);
      return answer == text ? "" : "but read \"" + answer + "\"";
    }
    case '!':
      return simControl((instrument + ' ' + text).c_str()) == 0 ? "" : "is no command";
    case '=':
      return CompareHeld(instrument, text);
    default:
      return "is no step";
  }
}

/// What went wrong in a block, empty if nothing did. Each block meets an instrument of its own: the number after SIM is
/// replaced.
std::string Run(const Block& block, int number) {
  const std::string instrument = "SIM" + std::to_string(number);
  const std::string resource = instrument + block.resource.substr(block.resource.find("::")) + "::ZLT";
  unsigned long session = 0;
  const long status = skOpen(0, resource.c_str(), 0, 20000, &session);
  if (status != VI_SUCCESS) return "does not open " + resource;
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 10000);
  std::string wrong;
  for (const std::string& step : block.steps) {
    const std::string trouble = RunStep(session, instrument, step);
    if (!trouble.empty()) wrong.append("\"").append(step).append("\" ").append(trouble).append("; ");
  }
  skClose(session);
  return wrong;
}

}  // namespace

int main(int argc, char** argv) {
  std::ifstream page(argc > 1 ? argv[1] : "");
  std::vector<Block> blocks;
  for (const Block& block : ReadBlocks(page)) {
    for (Block& one : ForEachFirmware(block)) blocks.push_back(std::move(one));
  }
  if (blocks.empty()) {
    std::cerr << "no blocks to run\n";
    return 1;
  }
  std::mutex lock;
  int failed = 0;
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    threads.emplace_back([&, i] {
      const std::string wrong = Run(blocks[i], static_cast<int>(i) + 1);
      if (wrong.empty()) return;
      const std::lock_guard hold(lock);
      ++failed;
      std::cerr << argv[1] << ':' << blocks[i].line << ": " << blocks[i].resource << ": " << wrong << '\n';
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::cout << blocks.size() << " blocks run, " << failed << " failed\n";
  return failed == 0 ? 0 : 1;
}
