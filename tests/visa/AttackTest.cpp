// Calls as no sane program makes them: from many threads, on handles that others close, in any order.
// --gtest_shuffle --gtest_random_seed=N makes other sequences.
#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

#include "tests/visa/Front.h"

namespace {

using test::Library;
using visa::kSuccess;

constexpr const char* kName = "SIM1::INSTR::ZLT";

class Attack : public testing::Test {
 protected:
  Library library{FRONT};
  ViSession manager = library.Manager();
  std::array<std::atomic<ViSession>, 6> handles{};

  void TearDown() override { EXPECT_EQ(library.Call("viClose", manager), kSuccess); }

  /// The answer shows that the session is in step. On a busy machine the others may be long at it.
  void ExpectInStep(ViSession session, const std::string& level) {
    library.Call("viSetAttribute", session, visa::kTimeoutValue, ViAttrState{60000});
    EXPECT_EQ(library.Ask(session, ":POW " + level + ";:POW?\n"), level + "\n");
  }

  ViStatus Open(std::atomic<ViSession>& handle) {
    ViSession opened = 0;
    const ViStatus status = library.Open(manager, kName, opened);
    if (status != kSuccess) return status;
    library.Call("viSetAttribute", opened, visa::kTimeoutValue, ViAttrState{20});
    const ViSession before = handle.exchange(opened);
    return before != 0 ? library.Call("viClose", before) : kSuccess;
  }

  ViStatus CallSomething(std::mt19937& random) {
    std::atomic<ViSession>& handle = handles[random() % handles.size()];
    const ViSession vi = handle;
    static const std::vector<std::string> kMessages = {
        ":FREQ?\n",         ":POW?;:FREQ?", "*IDN?\n:POW?\n", ":POW -3", ":FREQ", ";;;\n", "*STB?",
        ":LIST:FREQ #15ab", "\n",           ":NONSENSE?",     "*RST\n",  "\"",    "*CLS"};
    std::array<ViUInt8, 8> bytes{};
    std::array<char, 256> text{};
    ViUInt16 word = 0;
    ViUInt32 number = 0;
    const auto size = static_cast<ViUInt32>(1 + random() % bytes.size());
    switch (random() % 20) {
      case 0:
      case 1:
        return Open(handle);
      case 2:
        return library.Call("viClose", handle.exchange(0));
      case 3:
        return library.Call("viClose", static_cast<ViObject>(1000000 + random()));
      case 4:
        return library.Call("viClear", vi);
      case 5:
        return library.Call("viReadSTB", vi, &word);
      case 6:
        return library.Call("viLock", vi, static_cast<ViUInt32>(1 + random() % 2), static_cast<ViUInt32>(random() % 3),
                            static_cast<const char*>(nullptr), text.data());
      case 7:
      case 8:
        return library.Call("viUnlock", vi);
      case 9:
        return library.Call("viSetAttribute", vi, static_cast<ViAttr>(0x3FFF0000 + random() % 0x200),
                            ViAttrState{random() % 5 + 1});
      case 10:
        return library.Call("viGetAttribute", vi, static_cast<ViAttr>(0x3FFF0000 + random() % 0x200),
                            static_cast<void*>(text.data()));
      case 11:
        return library.Call("viFlush", vi, static_cast<ViUInt16>(random() % 64));
      case 12:
        return library.Call("viBufRead", vi, bytes.data(), size, &number);
      case 13:
        return library.Get<ViStatus (*)(ViSession, const char*, ...)>("viPrintf")(vi, ":POW %d\n", -5);
      case 14:
        return library.Call("viRead", vi, bytes.data(), size, &number);
      default:
        return library.Write(vi, kMessages[random() % kMessages.size()]);
    }
  }
};

TEST_F(Attack, AnyCallsInAnyOrder) {
  ViSession own = 0;
  ASSERT_EQ(library.Open(manager, kName, own), kSuccess);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      std::mt19937 random(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()) * 4 + i);
      std::array<char, 256> text{};
      for (int call = 0; call < 500; ++call) {
        const ViStatus status = CallSomething(random);
        EXPECT_EQ(library.Call("viStatusDesc", manager, status, text.data()), kSuccess) << std::hex << status;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::atomic<ViSession>& handle : handles) library.Call("viClose", handle.exchange(0));
  ExpectInStep(own, "-7");
  EXPECT_EQ(library.Call("viClose", own), kSuccess);
}

TEST_F(Attack, ClosingWhileOthersReadAndWrite) {
  ViSession own = 0;
  ASSERT_EQ(library.Open(manager, kName, own), kSuccess);
  for (int round = 0; round < 50; ++round) {
    ViSession session = 0;
    ASSERT_EQ(library.Open(manager, kName, session), kSuccess);
    // Without a limit: only closing ends these.
    library.Call("viSetAttribute", session, visa::kTimeoutValue, ViAttrState{visa::kNoTimeout});
    std::vector<std::thread> threads;
    for (const bool writes : {false, false, true}) {
      threads.emplace_back([this, session, writes] {
        ViStatus status = kSuccess;
        std::array<ViUInt8, 3> bytes{};
        ViUInt32 got = 0;
        while (status >= kSuccess) {
          status = writes ? library.Write(session, "*IDN?\n")
                          : library.Call("viRead", session, bytes.data(), ViUInt32{bytes.size()}, &got);
        }
        EXPECT_EQ(status, visa::kInvalidObject);
      });
    }
    ExpectInStep(own, std::to_string(-round));
    EXPECT_EQ(library.Call("viClose", session), kSuccess);
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(library.Call("viClose", own), kSuccess);
}

TEST_F(Attack, TenThousandSessions) {
  ViSession own = 0;
  ASSERT_EQ(library.Open(manager, kName, own), kSuccess);
  ASSERT_EQ(library.Write(own, ":POW?\n"), kSuccess);
  std::vector<std::thread> threads(4);
  for (std::thread& thread : threads) {
    thread = std::thread([this] {
      for (int count = 0; count < 2500; ++count) {
        ViSession session = 0;
        EXPECT_EQ(library.Open(manager, kName, session), kSuccess);
        EXPECT_EQ(library.Call("viClose", session), kSuccess);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(library.Read(own), "-100\n") << "what was asked before";
  EXPECT_EQ(library.Call("viClose", own), kSuccess);
}

/// A manager that is closed takes the sessions along that other threads are just opening.
TEST_F(Attack, OpeningWhileTheManagerCloses) {
  ViSession own = 0;
  ASSERT_EQ(library.Open(manager, kName, own), kSuccess);
  for (int round = 0; round < 200; ++round) {
    const ViSession closing = library.Manager();
    std::vector<ViSession> opened;
    std::atomic<bool> opens{false};
    std::thread opener([&] {
      ViStatus status = kSuccess;
      while (status == kSuccess) {
        ViSession session = 0;
        status = library.Open(closing, kName, session);
        if (status == kSuccess) opened.push_back(session);
        opens = true;
        opens.notify_one();
      }
      EXPECT_EQ(status, visa::kInvalidObject);
    });
    opens.wait(false);
    EXPECT_EQ(library.Call("viClose", closing), kSuccess);
    opener.join();
    for (const ViSession session : opened) EXPECT_EQ(library.Call("viClose", session), visa::kInvalidObject);
  }
  ExpectInStep(own, "-5");
  EXPECT_EQ(library.Call("viClose", own), kSuccess);
}

/// A long answer byte for byte, with another session's messages in between.
TEST_F(Attack, AnAnswerByteForByte) {
  ViSession own = 0;
  ViSession other = 0;
  ASSERT_EQ(library.Open(manager, kName, own), kSuccess);
  ASSERT_EQ(library.Open(manager, kName, other), kSuccess);
  std::string question = ":FREQ?";
  std::string expected = "10005000000";
  for (int i = 0; i < 500; ++i) {
    question += ";:FREQ?";
    expected += ";10005000000";
  }
  ASSERT_EQ(library.Write(own, question), kSuccess);
  std::string answer;
  ViUInt8 byte = 0;
  ViUInt32 got = 0;
  ViStatus status = visa::kMaxCount;
  while (status == visa::kMaxCount) {
    status = library.Call("viRead", own, &byte, ViUInt32{1}, &got);
    answer.append(reinterpret_cast<char*>(&byte), got);
    if (answer.size() % 1000 == 0) ExpectInStep(other, "-4");
  }
  EXPECT_EQ(status, kSuccess);
  EXPECT_EQ(answer, expected + "\n");
}

}  // namespace
