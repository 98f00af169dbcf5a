#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "scpi_core/CharBuff.h"

namespace {

std::string Read(CCharBuff& ring, unsigned long size) {
  std::string text(size, '?');
  unsigned long got = 0;
  ring.Read(text.data(), size, &got);
  text.resize(got);
  return text;
}

unsigned long Write(CCharBuff& ring, const std::string& text) {
  unsigned long written = 0;
  ring.Write(text.data(), text.size(), &written);
  return written;
}

using Messages = std::vector<std::string>;

/// The complete messages of a text that is written in pieces of `piece` bytes.
Messages Cut(const std::string& text, std::size_t piece) {
  CCharBuff ring;
  for (std::size_t at = 0; at < text.size(); at += piece) Write(ring, text.substr(at, piece));
  Messages messages;
  while (ring.CommandComplete()) messages.push_back(Read(ring, CCharBuff::kCapacity));
  return messages;
}

TEST(CharBuff, FindsTheEndsOfMessages) {
  const struct {
    const char* name;
    std::string text;
    Messages messages;
  } cases[] = {
      {"line end alone", "\n", {"\n"}},
      {"two and a part", "*IDN?\n*OPC?\nFREQ", {"*IDN?\n", "*OPC?\n"}},
      {"line ends in a block", "#15\n\n\n\n\n\n", {"#15\n\n\n\n\n\n"}},
      {"block of ten by two digits", "A #2100123\n5678\n\nB\n", {"A #2100123\n5678\n\n", "B\n"}},
      {"block without its end", "#3100\n\n\n", {}},
      {"empty block", "#10\n", {"#10\n"}},
      {"#0 is no block", "#0\nX\n", {"#0\n", "X\n"}},
      {"# and a letter", "#A\n", {"#A\n"}},
      {"# in front of a block", "##12\n\n\n", {"##12\n\n\n"}},
      {"length that stops", "#2x\n", {"#2x\n"}},
      {"length that stops at a #", "#2#11\n\n", {"#2#11\n\n"}},
      {"line end instead of a length", "#9\nY\n", {"#9\n", "Y\n"}},
      {"block after a block", "#11\n#12\n\n\n", {"#11\n#12\n\n\n"}},
      {"quotes mean nothing", "\"a\nb\"\n", {"\"a\n", "b\"\n"}},
      {"length of nine digits", "#94294967296\n", {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Cut(row.text, row.text.size()), row.messages);
    EXPECT_EQ(Cut(row.text, 1), row.messages);
  }
}

TEST(CharBuff, HandsOutPartsOfTheFirstMessageOnly) {
  CCharBuff ring;
  Write(ring, "123456789\nAB\n");
  EXPECT_EQ(Read(ring, 4), "1234");
  EXPECT_TRUE(ring.CommandComplete());
  EXPECT_EQ(Read(ring, 0), "");
  EXPECT_EQ(Read(ring, 6), "56789\n");
  EXPECT_TRUE(ring.CommandComplete());
  EXPECT_EQ(Read(ring, 100), "AB\n");
  EXPECT_FALSE(ring.CommandComplete());
}

TEST(CharBuff, GoesRoundItsEnd) {
  CCharBuff ring;
  std::string message(50021, 'a');
  message.back() = '\n';
  for (int round = 0; round < 16; ++round) {  // five times round the ring, each time from another place
    message[static_cast<std::size_t>(round) * 3000] = 'b';
    ASSERT_EQ(Write(ring, message), message.size());
    ASSERT_TRUE(ring.CommandComplete());
    ASSERT_EQ(Read(ring, CCharBuff::kCapacity), message);
  }
}

TEST(CharBuff, DropsWhatDoesNotFit) {
  CCharBuff ring;
  EXPECT_EQ(Write(ring, std::string(CCharBuff::kCapacity - 1, 'a')), CCharBuff::kCapacity - 1);
  EXPECT_EQ(Write(ring, "\nX"), 1U);
  EXPECT_TRUE(ring.CommandComplete());
  EXPECT_EQ(Write(ring, "X"), 0U);
  EXPECT_EQ(Read(ring, CCharBuff::kCapacity).size(), CCharBuff::kCapacity);
  // A full ring without a line end takes nothing more, for ever.
  Write(ring, std::string(200000, 'a'));
  EXPECT_EQ(Write(ring, "\n"), 0U);
  EXPECT_FALSE(ring.CommandComplete());
}

}  // namespace
