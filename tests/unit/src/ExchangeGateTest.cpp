#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "src/Device/ExchangeGate.h"
#include "tests/unit/DrivenClock.h"

namespace {

using Result = ExchangeGate::Result;

/// Enters on a thread of its own and leaves again; Join returns how that went.
class Visitor {
 public:
  template <class Enter>
  explicit Visitor(ExchangeGate& gate, Enter enter)
      : m_thread([this, &gate, enter] {
          const GateHold hold(gate, enter());
          m_result = hold.GetResult();
        }) {}
  Result Join() {
    m_thread.join();
    return m_result;
  }

 private:
  Result m_result = Result::kTimedOut;
  std::thread m_thread;
};

class ExchangeGateTest : public testing::Test {
 protected:
  ~ExchangeGateTest() override { neosmart::DestroyEvent(stop); }

  ExchangeGate gate;
  neosmart::neosmart_event_t stop = neosmart::CreateEvent(true, false);
};

TEST_F(ExchangeGateTest, LetsOneInAndTimesOutToTheMillisecond) {
  ASSERT_EQ(gate.Enter(stop, 0), Result::kEntered);
  EXPECT_EQ(gate.Enter(nullptr, 0), Result::kTimedOut);
  Visitor visitor(gate, [&] { return gate.Enter(stop, 400); });
  test::AwaitTimedWaiters(1);
  test::Advance(399);
  EXPECT_EQ(test::TimedWaiters(), 1U);
  test::Advance(1);
  EXPECT_EQ(visitor.Join(), Result::kTimedOut);
  gate.Leave();
  EXPECT_EQ(gate.Enter(stop, 0), Result::kEntered);
}

TEST_F(ExchangeGateTest, StopLetsWaitersOutButNotIn) {
  ASSERT_EQ(gate.Enter(stop, 0), Result::kEntered);
  Visitor visitor(gate, [&] { return gate.EnterAheadOfPoll(stop); });
  test::AwaitWaiters(1);
  neosmart::SetEvent(stop);
  EXPECT_EQ(visitor.Join(), Result::kStopped);
  EXPECT_EQ(gate.Enter(nullptr, 0), Result::kTimedOut);
}

TEST_F(ExchangeGateTest, WhoLeavesCannotOvertakeWhoWaits) {
  ASSERT_EQ(gate.Enter(stop, 0), Result::kEntered);
  std::string order;
  Visitor waiting(gate, [&] {
    const Result result = gate.Enter(stop, ExchangeGate::kForEver);
    order += "waiter ";
    return result;
  });
  test::AwaitWaiters(1);
  gate.Leave();
  ASSERT_EQ(gate.Enter(stop, ExchangeGate::kForEver), Result::kEntered);
  order += "poller";
  EXPECT_EQ(waiting.Join(), Result::kEntered);
  EXPECT_EQ(order, "waiter poller");
}

TEST_F(ExchangeGateTest, AsksThePollToGiveUpAfterASecond) {
  ASSERT_EQ(gate.Enter(stop, 0), Result::kEntered);
  Visitor setting(gate, [&] { return gate.EnterAheadOfPoll(stop); });
  test::AwaitTimedWaiters(1);
  test::Advance(999);
  EXPECT_FALSE(gate.GiveUpAsked());
  test::Advance(1);
  while (!gate.GiveUpAsked()) std::this_thread::yield();
  gate.Leave();
  EXPECT_EQ(setting.Join(), Result::kEntered);
  gate.ClearGiveUp();
  EXPECT_FALSE(gate.GiveUpAsked());
}

}  // namespace
