// Sessions from opening to closing, over a fake instrument and a clock that is still until it is advanced.
#include <array>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "support/Clock.h"
#include "tests/unit/DrivenClock.h"
#include "tests/unit/scpi_core/FakeDevice.h"

namespace {

using test::TheWorld;

struct Answer {
  long status;
  std::string text;
  unsigned long count;
  bool operator==(const Answer&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  return out << std::hex << answer.status << " " << answer.count << " " << answer.text;
}

constexpr unsigned long kUntouched = 4711;
const Answer kNothing = {VI_ERROR_TMO, "", kUntouched};

class Session : public testing::Test {
 protected:
  void SetUp() override {
    test::ResetWorld();
    CreateResManager();
  }
  void TearDown() override {
    if (id != 0) CScpiResManager::CloseSession(id);
    DeleteResManager();
  }

  void Open() { ASSERT_EQ(OpenSession("SOMEWHERE::ZLT", 10000, &id), VI_SUCCESS); }
  CIOBuffer& Buffer() { return *SessionUse(id).operator->(); }
  test::FakeDevice& Device() { return static_cast<test::FakeDevice&>(Buffer().Device()); }

  unsigned long Write(const std::string& text) {
    const SessionUse use(id);
    unsigned long written = kUntouched;
    EXPECT_EQ(use->Write(reinterpret_cast<const unsigned char*>(text.data()), text.size(), &written), VI_SUCCESS);
    return written;
  }
  Answer Read(unsigned long size = 1000) const {
    const SessionUse use(id);
    if (!use) return {VI_ERROR_INV_OBJECT, "", kUntouched};
    std::vector<unsigned char> buffer(size + 1);
    unsigned long count = kUntouched;
    const long status = use->Read(buffer.data(), size, &count);
    const unsigned long length = count == kUntouched ? 0 : count;
    return {status, std::string(buffer.begin(), buffer.begin() + static_cast<long>(length)), count};
  }
  std::future<Answer> ReadInThread() const {
    return std::async(std::launch::async, [this] { return Read(); });
  }
  /// Starts a message that stays on the interpreter until Release.
  void WriteHold(const std::string& text) {
    Write(text);
    TheWorld().AwaitEntered();
  }

  unsigned long id = 0;
};

TEST_F(Session, ReadsByStatus) {
  Open();
  const std::string long_answer = "123456789\n";
  const struct {
    const char* name;
    std::vector<unsigned long> sizes;
    std::vector<Answer> answers;
  } cases[] = {
      {"in parts",
       {4, 4, 4},
       {{VI_SUCCESS_MAX_CNT, "1234", 4}, {VI_SUCCESS_MAX_CNT, "5678", 4}, {VI_SUCCESS_TERM_CHAR, "9\n", 2}}},
      {"exact size", {10}, {{VI_SUCCESS_TERM_CHAR, long_answer, 10}}},
      {"too large", {11, 11}, {{VI_SUCCESS_TERM_CHAR, long_answer, 10}, kNothing}},
      {"size 0", {0, 100}, {{VI_ERROR_TMO, "", 0}, {VI_SUCCESS_TERM_CHAR, long_answer, 10}}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Write("LONG?\n");
    for (std::size_t i = 0; i < row.sizes.size(); ++i) EXPECT_EQ(Read(row.sizes[i]), row.answers[i]);
  }
  EXPECT_EQ(Read(), kNothing);  // drained: fails at once, on a clock that does not move
}

TEST_F(Session, TakesMessagesInAnyPieces) {
  Open();
  const Answer fake = {VI_SUCCESS_TERM_CHAR, "fake\n", 5};
  for (const char c : std::string("*IDN?\n")) Write(std::string(1, c));
  EXPECT_EQ(Read(), fake);
  Write("*IDN?\nLONG?\nLO");
  EXPECT_EQ(Read(), fake);
  EXPECT_EQ(Read(), (Answer{VI_SUCCESS_TERM_CHAR, "123456789\n", 10}));
  Write("NG?\n");
  EXPECT_EQ(Read(), (Answer{VI_SUCCESS_TERM_CHAR, "123456789\n", 10}));
  unsigned long written = kUntouched;
  EXPECT_EQ(Buffer().Write(nullptr, 5, &written), VI_SUCCESS);
  EXPECT_EQ(written, 0UL);
  EXPECT_EQ(Buffer().Write(reinterpret_cast<const unsigned char*>("*IDN?\n"), 6, nullptr), VI_SUCCESS);
  std::array<unsigned char, 5> buffer{};
  EXPECT_EQ(Buffer().Read(buffer.data(), buffer.size(), nullptr), VI_SUCCESS_TERM_CHAR);
}

TEST_F(Session, WaitsAsLongAsTheAttributeSays) {
  Open();
  const struct {
    const char* name;
    unsigned long timeout;
    std::int64_t wait;
  } cases[] = {{"default", 1000, 1000}, {"high half ignored", 0x700000010, 16}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(Buffer().Device().SetAttribute(VI_ATTR_TMO_VALUE, row.timeout), VI_SUCCESS);
    Write("SET\n");
    auto answer = ReadInThread();
    test::AwaitTimedWaiters(1);
    test::Advance(row.wait - 1);
    EXPECT_EQ(test::TimedWaiters(), 1U);
    test::Advance(1);
    EXPECT_EQ(answer.get(), kNothing);
  }
  Buffer().Device().SetAttribute(VI_ATTR_TMO_VALUE, 0);
  Write("SET\n");
  EXPECT_EQ(Read(), kNothing);
  Buffer().Device().SetAttribute(VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
  WriteHold("HOLD;*IDN?\n");
  auto answer = ReadInThread();
  test::AwaitWaiters(2);  // the held message, and the reader without a deadline
  EXPECT_EQ(test::TimedWaiters(), 0U);
  TheWorld().Release();
  EXPECT_EQ(answer.get().text, "fake\n");
}

TEST_F(Session, AnAnswerThatComesLateIsNotLost) {
  Open();
  WriteHold("HOLD;*IDN?\n");
  auto late = ReadInThread();
  test::AwaitTimedWaiters(1);
  test::Advance(1000);
  EXPECT_EQ(late.get(), kNothing);
  auto in_time = ReadInThread();
  test::AwaitTimedWaiters(1);
  TheWorld().Release();
  EXPECT_EQ(in_time.get().text, "fake\n");
}

TEST_F(Session, AReadWaitsWhileAMessageIsPending) {
  Open();
  Write("*IDN?\n");
  EXPECT_EQ(Read().text, "fake\n");
  Write("*IDN?\nHOLD;LONG?\n");
  TheWorld().AwaitEntered();
  EXPECT_EQ(Read().text, "fake\n");  // the event is still set, and the next answer under way
  auto second = ReadInThread();
  test::AwaitTimedWaiters(1);
  TheWorld().Release();
  EXPECT_EQ(second.get().text, "123456789\n");
}

TEST_F(Session, KeepsGoingAfterAnExceptionAndAnOverflow) {
  Open();
  Write("BOOM\n*IDN?\n");
  EXPECT_EQ(Read().text, "fake\n");
  EXPECT_EQ(TheWorld().last_error, -310);
  EXPECT_EQ(TheWorld().errors, 1);
  Write("BIG?\n");  // the line end does not fit any more, so this response never ends
  auto never = ReadInThread();
  test::AwaitTimedWaiters(1);
  test::Advance(1000);
  EXPECT_EQ(never.get(), kNothing);
  EXPECT_EQ(Write("SET\n"), 4UL);
}

TEST_F(Session, AnotherTerminationCharacterNeverEndsAResponse) {
  Open();
  const std::int32_t semicolon = ';';
  ASSERT_EQ(Buffer().Device().SetAttribute(VI_ATTR_TERMCHAR, reinterpret_cast<unsigned long>(&semicolon)), VI_SUCCESS);
  WriteHold("*IDN?\nHOLD\n");  // once the second runs, the first is done
  auto never = ReadInThread();
  test::AwaitTimedWaiters(1);
  test::Advance(1000);
  EXPECT_EQ(never.get(), kNothing);
  Device().SendResponse("x\n", 2);
  TheWorld().Release();
  Write("SET\n");
  EXPECT_EQ(Read(), (Answer{VI_ERROR_IO, "fake;x\n", 7}));
}

TEST_F(Session, Attributes) {
  Open();
  CGenericDevice& device = Buffer().Device();
  const std::int32_t word = 0x1FE;
  const auto address = reinterpret_cast<unsigned long>(&word);
  const struct {
    const char* name;
    unsigned long id;
    unsigned long state;
    long status;
    std::int32_t value;
  } cases[] = {
      {"character by pointer, sign-extended", VI_ATTR_TERMCHAR, address, VI_SUCCESS, -2},
      {"no pointer", VI_ATTR_TERMCHAR, 10, VI_ERROR_NSUP_ATTR_STATE, -2},
      {"no pointer either", VI_ATTR_TERMCHAR, 4095, VI_ERROR_NSUP_ATTR_STATE, -2},
      {"time-out by value", VI_ATTR_TMO_VALUE, 0x1FFFFFFF0, VI_SUCCESS, -16},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    std::int32_t values[2] = {0, 4711};
    EXPECT_EQ(device.SetAttribute(row.id, row.state), row.status);
    EXPECT_EQ(device.GetAttribute(row.id, values), VI_SUCCESS);
    EXPECT_EQ(values[0], row.value);
    EXPECT_EQ(values[1], 4711);
    EXPECT_EQ(device.GetAttribute(row.id, nullptr), VI_ERROR_NSUP_ATTR_STATE);
  }
  std::int32_t value = 0;
  EXPECT_EQ(device.GetAttribute(0x3FFF0019, &value), VI_ERROR_NSUP_ATTR);
  EXPECT_EQ(device.GetAttribute(0x3FFF0019, nullptr), VI_ERROR_NSUP_ATTR_STATE);
  EXPECT_EQ(device.SetAttribute(0x3FFF0019, 0), VI_ERROR_NSUP_ATTR);
}

TEST_F(Session, LooksForCommonCommands) {
  const struct {
    bool result;
    bool cls;
    std::vector<std::string> texts;
  } cases[] = {
      {false, true, {"*CLS\n", "*cls\n", "FREQ 1;*CLS\n", "\"*CLS\n", "*ESR?;*CLS\n", ";;*\n;*CLS\n"}},
      {false, false, {"FREQ 1\n", "*IDN?\n", "*STB?\n", "*RST\n", "*OPC?\n", "*IDN?\n;*CLS\n", ""}},
      {true, false, {"*CLS;FREQ 1\n", "*CLS", "*OPC\n", "*CLS\n*CLS\n", "*;"}},
  };
  for (const auto& row : cases) {
    for (const std::string& text : row.texts) {
      SCOPED_TRACE(text);
      Open();
      EXPECT_EQ(Buffer().CheckIEEECommand(text.data(), static_cast<int>(text.size())), row.result);
      EXPECT_EQ(Device().ClsSeen(), row.cls);
      EXPECT_EQ(CScpiResManager::CloseSession(std::exchange(id, 0)), VI_SUCCESS);
    }
  }
}

TEST_F(Session, OpensByStatusAndLeavesNothingBehind) {
  const struct {
    const char* name;
    std::size_t length;
    long open_result;
    bool hold;
    long status;
    int opened;
    int closed;
  } cases[] = {
      {"longest name", 255, 0, false, VI_SUCCESS, 1, 0},
      {"name too long", 256, 0, false, VI_ERROR_INV_RSRC_NAME, 0, 2},
      {"far too long", 10000, 0, false, VI_ERROR_INV_RSRC_NAME, 0, 2},
      {"refused", 10, VI_ERROR_INV_OBJECT, false, VI_ERROR_INV_OBJECT, 1, 2},
      {"a warning is no success", 10, 0x3FFF0005, false, 0x3FFF0005, 1, 2},
      {"timed out", 10, 0, true, VI_ERROR_TMO, 1, 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    test::ResetWorld();
    TheWorld().open_result = row.open_result;
    TheWorld().hold_open = row.hold;
    const std::int64_t start = support::NowNs();
    unsigned long handle = kUntouched;
    auto opening =
        std::async(std::launch::async, [&] { return OpenSession(std::string(row.length, 'x').c_str(), 500, &handle); });
    if (row.hold) {
      TheWorld().AwaitEntered();
      // Two time-outs: that of the open, and that of the close that is queued after it.
      while (opening.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        test::Advance(10);
        std::this_thread::yield();
      }
    }
    EXPECT_EQ(opening.get(), row.status);
    EXPECT_EQ(TheWorld().opened, row.opened);
    EXPECT_EQ(TheWorld().closed, row.closed);
    EXPECT_EQ(TheWorld().stopped, row.hold);
    if (row.status == VI_SUCCESS) {
      EXPECT_EQ(CScpiResManager::CloseSession(handle), VI_SUCCESS);
    } else {
      EXPECT_EQ(handle, kUntouched);
    }
    const std::int64_t gone = support::MillisecondsSince(start);
    if (row.hold) {
      EXPECT_GE(gone, 2000);
    } else {
      EXPECT_EQ(gone, 1000);
    }
    EXPECT_EQ(TheWorld().deleted, 1);
  }
}

TEST_F(Session, RefusesWithoutAManagerOrMemory) {
  TheWorld().no_memory = true;
  EXPECT_EQ(OpenSession("SOMEWHERE::ZLT", 10000, &id), VI_ERROR_SYSTEM_ERROR);
  DeleteResManager();  // deleted, so nothing counts as alive
  EXPECT_EQ(OpenSession("SOMEWHERE::ZLT", 10000, &id), VI_ERROR_INV_OBJECT);
  EXPECT_EQ(CScpiResManager::CloseSession(1), VI_ERROR_INV_OBJECT);
  EXPECT_FALSE(SessionUse(1));
}

TEST_F(Session, ClosingGivesUpAfterTenSeconds) {
  Open();
  WriteHold("HOLD\nSET\n");
  const std::int64_t start = support::NowNs();
  auto closing = std::async(std::launch::async, [this] { return CScpiResManager::CloseSession(std::exchange(id, 0)); });
  test::AwaitTimedWaiters(1);
  test::Advance(9999);
  EXPECT_EQ(test::TimedWaiters(), 1U);
  test::Advance(1);
  EXPECT_EQ(closing.get(), VI_SUCCESS);
  EXPECT_EQ(TheWorld().sets, 0);
  EXPECT_TRUE(TheWorld().stopped);
  EXPECT_EQ(support::MillisecondsSince(start), 11000);
}

TEST_F(Session, ClosingLetsReadersOut) {
  Open();
  Buffer().Device().SetAttribute(VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
  WriteHold("HOLD\n");
  std::vector<std::future<Answer>> readers;
  for (int i = 0; i < 4; ++i) readers.push_back(ReadInThread());
  test::AwaitWaiters(5);
  auto closing = std::async(std::launch::async, [this] { return CScpiResManager::CloseSession(id); });
  for (auto& reader : readers) EXPECT_EQ(reader.get().status, VI_ERROR_INV_OBJECT);
  TheWorld().Release();
  EXPECT_EQ(closing.get(), VI_SUCCESS);
  id = 0;
}

/// As many answers as reads: no read may return nothing because the other reader is just taking its own answer. The
/// ring then takes long to find the end of the second answer.
TEST_F(Session, ReadersShareWholeAnswers) {
  Open();
  std::barrier start(2);
  const auto read = [this, &start](bool writes) {
    std::string wrong;
    for (int round = 0; round < 300; ++round) {
      if (writes) Write("*IDN?\nWIDE?\n");
      start.arrive_and_wait();
      const Answer answer = Read(CCharBuff::kCapacity);
      if (answer.status != VI_SUCCESS_TERM_CHAR) wrong += std::to_string(round) + " ";
      start.arrive_and_wait();
    }
    return wrong;
  };
  auto other = std::async(std::launch::async, read, false);
  EXPECT_EQ(read(true), "");
  EXPECT_EQ(other.get(), "");
}

/// No session opens any more in this process afterwards.
TEST_F(Session, ExitEndsOpenAndOpeningSessions) {
  Open();
  WriteHold("HOLD;SET\n");
  TheWorld().hold_open = true;
  unsigned long other = kUntouched;
  auto opening = std::async(std::launch::async, [&] { return OpenSession("OTHER::ZLT", 0xFFFFFFFF, &other); });
  TheWorld().AwaitEntered();
  auto ending = std::async(std::launch::async, EndResManager);
  EXPECT_EQ(opening.get(), VI_ERROR_INV_OBJECT);
  TheWorld().Release();
  ending.get();
  EndResManager();
  EXPECT_EQ(TheWorld().sets, 1);
  EXPECT_EQ(TheWorld().deleted, 2);
  EXPECT_EQ(other, kUntouched);
  EXPECT_EQ(OpenSession("LATE::ZLT", 10000, &other), VI_ERROR_INV_OBJECT);
  EXPECT_EQ(Read().status, VI_ERROR_INV_OBJECT);
  id = 0;
}

TEST(RandomNumber, StaysInItsRange) {
  bool seen[4] = {};
  for (int i = 0; i < 200; ++i) {
    const std::uint32_t number = random_uint32(3);
    ASSERT_TRUE(number >= 1 && number <= 3);
    seen[number] = true;
  }
  EXPECT_TRUE(seen[1] && seen[2] && seen[3]);
}

}  // namespace
