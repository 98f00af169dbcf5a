#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "client/MessageScanner.h"
#include "scpi_core/CharBuff.h"

namespace {

using Messages = std::vector<std::string>;

/// The complete messages that the library would find in a text; the incomplete rest comes last.
Messages CutByTheLibrary(const std::string& text) {
  CCharBuff ring;
  unsigned long count = 0;
  ring.Write(text.data(), text.size(), &count);
  Messages messages;
  std::string rest = text;
  std::string message(text.size(), '\0');
  while (ring.CommandComplete()) {
    ring.Read(message.data(), message.size(), &count);
    messages.push_back(rest.substr(0, count));
    rest.erase(0, count);
  }
  messages.push_back(rest);
  return messages;
}

Messages CutByTheScanner(const std::string& text, std::size_t piece) {
  scpi_zlt::MessageScanner scanner;
  Messages messages(1);
  for (std::size_t at = 0; at < text.size(); at += piece) {
    std::string rest = text.substr(at, piece);
    for (std::size_t end; (end = scanner.FindEnd(rest)) != scpi_zlt::MessageScanner::npos; rest.erase(0, end)) {
      messages.back() += rest.substr(0, end);
      messages.emplace_back();
    }
    messages.back() += rest;
  }
  return messages;
}

TEST(MessageScanner, CutsAsTheLibraryDoes) {
  std::mt19937 random(20);
  constexpr char kAlphabet[] = "##0123459;\n\n\n\"xA";
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (std::size_t i = random() % 40; i > 0; --i) text += kAlphabet[random() % (sizeof kAlphabet - 1)];
    const Messages expected = CutByTheLibrary(text);
    ASSERT_EQ(CutByTheScanner(text, 1 + random() % 5), expected) << text;
    ASSERT_EQ(CutByTheScanner(text, text.size() + 1), expected) << text;

    // A message whose block is not complete does not end at a line end.
    scpi_zlt::MessageScanner scanner;
    for (std::string rest = expected.back(); scanner.FindEnd(rest) != scpi_zlt::MessageScanner::npos;) FAIL() << text;
    ASSERT_EQ(scanner.InBlock(), !CutByTheLibrary(expected.back() + "\n").back().empty()) << text;
  }
}

}  // namespace
