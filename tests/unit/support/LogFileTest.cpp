#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

#include "scpi_zlt/helpers.h"

#include "tests/unit/DrivenClock.h"

namespace {

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The text with "T" for every time of day and "D" for every date.
std::string WithoutStamps(std::string text) {
  for (std::size_t i = 0; i + 8 <= text.size(); ++i) {
    const char between = text[i + 2];
    if ((between == ':' || between == '/') && text[i + 5] == between) text.replace(i, 8, between == ':' ? "T" : "D");
  }
  return text;
}

TEST(LogFile, TellsMillisecondsSinceTheLineBefore) {
  const std::string name = "zlt_log_test_" + std::to_string(getpid());
  const std::string path = "/tmp/" + name;
  std::ofstream(path) << "what an old log left";
  {
    CLogFile log(name.c_str());
    test::Advance(250);
    log.AddString("first");
    log.AddString(nullptr);
    log.AddString("second");
    test::Advance(30);
    log.AddDateTimeString("dated");
    test::Advance(12);
    log.AddString("third");
    test::StepWallClock(-5000);
    log.AddString("set back");
    log << std::string(" text") << 42;
    static_cast<std::ofstream&>(log) << '!';
    log.Flush();
    EXPECT_EQ(Contents(path).substr(Contents(path).size() - 8), " text42!");
  }
  EXPECT_EQ(WithoutStamps(Contents(path)),
            "\r\n\r\n------------------- Log started D [T] ----------------------------"
            "\r\n[T - 250 ms after] first"
            "\r\n[T - 0 ms after] second"
            "\r\nD [T] dated"
            "\r\n[T - 42 ms after] third"
            "\r\n[T - 0 ms after] set back text42!"
            "\r\n---------------------------- Log closed ----------------------------");
  std::remove(path.c_str());
}

TEST(LogFile, FallsSilentWithoutAFile) {
  CLogFile log("no/such/folder/log");
  log.AddString("lost");
  EXPECT_FALSE(static_cast<std::ofstream&>(log).is_open());
}

}  // namespace
