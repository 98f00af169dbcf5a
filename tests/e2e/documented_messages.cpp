// Runs the blocks of a page for users: in a fenced block the first line names a resource, "> text" is written, "< text"
// is what the next read has to deliver. Blocks run side by side, since closing a session takes a second or more.
#include <array>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

namespace {

struct Block {
  int line = 0;
  std::string resource;
  std::vector<std::string> steps;
};

std::vector<Block> ReadBlocks(std::istream& page) {
  std::vector<Block> blocks;
  bool inside = false;
  int number = 0;
  for (std::string line; std::getline(page, line);) {
    ++number;
    if (line.starts_with("```")) {
      inside = !inside;
      if (inside) blocks.push_back({number, "", {}});
    } else if (inside && blocks.back().resource.empty()) {
      blocks.back().resource = line;
    } else if (inside) {
      blocks.back().steps.push_back(line);
    }
  }
  return blocks;
}

std::string ReadAnswer(unsigned long session) {
  std::array<unsigned char, 4096> text{};
  unsigned long count = 0;
  if (skRead(session, text.data(), text.size(), &count) != VI_SUCCESS_TERM_CHAR) return "(nothing)";
  return {text.begin(), text.begin() + static_cast<long>(count) - 1};
}

/// What went wrong in a block, empty if nothing did.
std::string Run(const Block& block, int instrument) {
  // Each block meets an instrument of its own: the number after SIM is replaced.
  std::string resource = block.resource;
  resource.replace(3, resource.find("::") - 3, std::to_string(instrument));
  if (instrument > 0 && block.resource.starts_with("SIM0::INSTR"))
    resource = "SIM" + std::to_string(instrument) + "::INSTR";
  unsigned long session = 0;
  const long status = skOpen(0, (resource + "::ZLT").c_str(), 0, 20000, &session);
  if (status != VI_SUCCESS) return "does not open " + resource;
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 10000);
  std::string wrong;
  for (const std::string& step : block.steps) {
    const std::string text = step.size() > 2 ? step.substr(2) : "";
    if (step.starts_with(">")) {
      std::string line = text + "\n";
      unsigned long written = 0;
      skWrite(session, reinterpret_cast<unsigned char*>(line.data()), line.size(), &written);
    } else if (const std::string answer = ReadAnswer(session); answer != text) {
      wrong += "\"" + step + "\" but read \"" + answer + "\"; ";
    }
  }
  skClose(session);
  return wrong;
}

}  // namespace

int main(int argc, char** argv) {
  std::ifstream page(argc > 1 ? argv[1] : "");
  const std::vector<Block> blocks = ReadBlocks(page);
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
      std::cerr << argv[1] << ':' << blocks[i].line << ": " << wrong << '\n';
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::cout << blocks.size() << " blocks run, " << failed << " failed\n";
  return failed == 0 ? 0 : 1;
}
