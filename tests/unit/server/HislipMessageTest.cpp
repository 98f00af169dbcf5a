// The wire form of HiSLIP: messages cut anywhere, and wrong lengths.
#include <gtest/gtest.h>
#include <string>

#include "server/HislipMessage.h"

namespace {

using namespace std::string_literals;
using namespace server::hislip;

/// What a reader with room for 8 bytes of data makes of the bytes: "type.control.parameter(payload)" for each message,
/// "+" where a payload was skipped, "!" for a bad header.
std::string Read(std::string_view bytes, std::size_t piece) {
  Reader reader(8);
  std::string seen;
  while (!bytes.empty()) {
    std::string_view part = bytes.substr(0, piece);
    bytes.remove_prefix(part.size());
    Message message;
    while (!part.empty()) {
      const Reader::Result result = reader.Next(part, message);
      if (result == Reader::Result::kBadHeader) return seen + '!';
      if (result == Reader::Result::kNeedsMore) break;
      seen += std::to_string(static_cast<int>(message.type)) + '.' + std::to_string(message.control) + '.' +
              std::to_string(message.parameter) + '(' + message.payload + (message.too_large ? "+" : "") + ')';
    }
  }
  return seen;
}

TEST(HislipMessage, ReadsWhatComesInAnyPieces) {
  const struct {
    const char* name;
    std::string bytes;
    const char* seen;
  } rows[] = {
      {"two messages", Encode(Type::kDataEnd, 1, 0xFFFFFF00, "*OPC?\n") + Encode(Type::kTrigger, 0, 7),
       "7.1.4294967040(*OPC?\n)12.0.7()"},
      {"a fixed header", "HS\x06\x01\0\0\1\2\0\0\0\0\0\0\0\2ab"s, "6.1.258(ab)"},
      {"a payload that is too long is skipped",
       Encode(Type::kData, 0, 1, "123456789") + Encode(Type::kDataEnd, 0, 3, "12345678"), "6.0.1(+)7.0.3(12345678)"},
      {"other messages have a limit of their own", Encode(Type::kAsyncLock, 1, 0, std::string(257, 'k')), "4.1.0(+)"},
      {"a wrong start is seen with its first byte", "G", "!"},
      {"a wrong second byte", "HT", "!"},
      {"no message is as long as this", "HS\x06\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "!"},
      {"half a header", "HS\x06\0\0"s, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    for (const std::size_t piece : {1u, 7u, 1000u}) EXPECT_EQ(Read(row.bytes, piece), row.seen);
  }
}

TEST(HislipMessage, SizesAreBigEndian) {
  EXPECT_EQ(EncodeSize(0x0102030405060708), "\1\2\3\4\5\6\7\10");
  EXPECT_EQ(DecodeSize("\0\0\0\0\0\20\0\0"s), 1u << 20);
  EXPECT_EQ(DecodeSize("\1"), 1u) << "a short payload reads as what is there";
}

}  // namespace
