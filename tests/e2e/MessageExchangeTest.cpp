// One message, its whole answer, or a time-out after which the session is in step again.
#include <array>
#include <memory>
#include <optional>
#include <thread>

#include "client/MessageExchange.h"
#include "client/Session.h"
#include "client/exchange.h"
#include "tests/e2e/Sessions.h"

namespace {

using scpi_zlt::Answer;
using scpi_zlt::kMaximumMessage;
using scpi_zlt::MessageExchange;
using scpi_zlt::Outcome;
using std::chrono::milliseconds;
using namespace std::string_literals;

constexpr milliseconds kLong{20000};

class Exchanges : public testing::Test {
 protected:
  void Open(int instrument, const std::string& keys = "") {
    ASSERT_EQ(session.Open(test::Simulator(instrument, keys) + "::ZLT", kLong), VI_SUCCESS);
    exchange.emplace(session.Handle());
  }
  std::string Ask(const std::string& message) {
    const Answer answer = exchange->Exchange(message, kLong);
    EXPECT_EQ(answer.outcome, Outcome::kComplete) << message;
    return answer.response;
  }

  scpi_zlt::Session session;
  std::optional<MessageExchange> exchange;
};

TEST_F(Exchanges, HandOutTheWholeAnswerOfEachMessage) {
  Open(70);
  std::string queries;
  std::string answers;
  for (int i = 0; i < 10000; ++i) {
    queries += ":FREQ?;";
    answers += "1000000000;";
  }
  queries.back() = '\n';
  answers.back() = '\n';
  const struct {
    std::string message;
    std::string response;
    std::string tidy;
  } cases[] = {
      {":FREQ 1GHZ", "", ""},
      {":FREQ 1GHZ;:OUTP OFF\n", "\n", ""},
      {"*IDN?", "Sorvik,ZG-20E,000070\0\n"s, "Sorvik,ZG-20E,000070\n"},
      {":FREQ?;:FREQ 1GHZ", "1000000000;", "1000000000;"},
      {"*OPC?", "+1\n", "+1\n"},
      {"*OPC?;*OPC?", "+1;+1\n", "+1;+1\n"},
      {":NONSENSE?", "\n", "\n"},
      // Without a fence, and one line each all the same.
      {"freq?\n", "1000000000\n", "1000000000\n"},
      {"*RST?", "\n", "\n"},
      {"::?", "\n", "\n"},
      {"1?", "\n", "\n"},
      {"", "", ""},
      {"\n\n\n", "", ""},
      {":FREQ?\n:FREQ 2GHZ;:OUTP OFF\n*OPC?\n:FREQ?", "1000000000\n\n+1\n2000000000\n",
       "1000000000\n\n+1\n2000000000\n"},
      {"DATA #14\n\n\n\n", "", ""},
      {"X #", "", ""},
      {":FREQ?" + std::string(kMaximumMessage - 7, ' ') + "\n", "2000000000\n", "2000000000\n"},
      {std::string(300000, '\n') + ":FREQ?", "2000000000\n", "2000000000\n"},
      {":FREQ 1GHZ", "", ""},
      {queries, answers, answers},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.message.substr(0, 60));
    const std::string response = Ask(row.message);
    EXPECT_EQ(response, row.response);
    EXPECT_EQ(scpi_zlt::Tidy(row.message, response), row.tidy);
  }
}

TEST_F(Exchanges, EndAtOnceHoweverTheReadersTurnFalls) {
  Open(69);
  for (int i = 0; i < 50000; ++i) {
    ASSERT_EQ(exchange->Exchange(":FREQ?;:FREQ?", milliseconds(5000)).outcome, Outcome::kComplete) << i;
  }
}

TEST_F(Exchanges, HandOutALoneQueryEarlyAndNothingElse) {
  Open(74);
  const struct {
    std::string message;
    std::string early;
    std::string response;
  } cases[] = {
      {":FREQ? ", "1000000000\n", ""},
      {"*IDN?\n", "Sorvik,ZG-20E,000074\0\n"s, ""},
      {":NONSENSE? MIN", "\n", ""},
      {":FREQ?", "", "1000000000\n"},  // has no fence
      {"*OPC?", "", "+1\n"},           // like the fence's own
      {":FREQ 1GHZ", "", ""},
      {":FREQ 1GHZ;:OUTP OFF", "", "\n"},
      {":FREQ?;:FREQ 1GHZ", "", "1000000000;"},
      {":FREQ?\n:FREQ?", "", "1000000000\n1000000000\n"},
  };
  Ask(":FREQ 1GHZ");
  for (const auto& row : cases) {
    SCOPED_TRACE(row.message);
    std::string early;
    const Answer answer = exchange->Exchange(row.message, kLong, [&](std::string& response) {
      EXPECT_TRUE(early.empty());
      early.swap(response);
      return true;
    });
    EXPECT_EQ(answer.outcome, Outcome::kComplete);
    EXPECT_EQ(answer.response, row.response);
    EXPECT_EQ(early, row.early);
  }
  const auto later = [](std::string&) { return false; };
  EXPECT_EQ(exchange->Exchange(":FREQ? ", kLong, later).response, "1000000000\n");
}

TEST_F(Exchanges, LookWithoutLosingWhatComesLater) {
  Open(78, "latency=20");
  for (const auto& [message, response] : {std::pair{":FREQ 1GHZ;:FREQ?", "1000000000\n"},
                                          {":FREQ?", "1000000000\n"},
                                          {"*OPC?\n:FREQ?", "+1\n1000000000\n"}}) {
    ASSERT_EQ(exchange->Begin(message).outcome, Outcome::kComplete) << message;
    Answer answer = exchange->Look(std::chrono::microseconds(100));
    if (answer.outcome == Outcome::kTimeout) answer = exchange->Await(kLong);
    EXPECT_EQ(answer.outcome, Outcome::kComplete) << message;
    EXPECT_EQ(answer.response, response);
  }
  ASSERT_EQ(exchange->Begin(":FREQ 2GHZ").outcome, Outcome::kComplete);
  EXPECT_EQ(exchange->Look(std::chrono::microseconds(100)).outcome, Outcome::kTimeout) << "the link is slower";
  EXPECT_EQ(Ask(":FREQ?"), "2000000000\n");
}

TEST_F(Exchanges, RefuseWhatWouldSwallowTheFence) {
  Open(71);
  const struct {
    std::string message;
    Outcome outcome;
  } cases[] = {
      {"DATA #14abc", Outcome::kUnfinished},
      {":FREQ?\nDATA #3100\n\n", Outcome::kUnfinished},
      {std::string(kMaximumMessage, ' '), Outcome::kTooLong},
      {":FREQ?\n" + std::string(kMaximumMessage, ' ') + "\n", Outcome::kTooLong},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.message.substr(0, 60));
    EXPECT_EQ(exchange->Exchange(row.message, kLong).outcome, row.outcome);
    EXPECT_EQ(Ask(":SYST:ERR?"), "+0,\"No error\"\n");
  }
}

TEST_F(Exchanges, AreInStepAgainAfterATimeOut) {
  Open(72, "latency=200");
  const std::string slow = ":FREQ 2GHZ;:FREQ?";
  EXPECT_EQ(exchange->Exchange(slow, milliseconds(0)).outcome, Outcome::kTimeout);
  EXPECT_FALSE(exchange->InStep());
  EXPECT_EQ(exchange->Begin(":FREQ?").outcome, Outcome::kBusy);
  EXPECT_EQ(exchange->Exchange(":FREQ 3GHZ", milliseconds(20)).outcome, Outcome::kBusy);
  const Answer late = exchange->Await(kLong);
  EXPECT_EQ(late.outcome, Outcome::kComplete);
  EXPECT_EQ(late.response, "2000000000\n");

  EXPECT_EQ(exchange->Exchange(slow, milliseconds(20)).outcome, Outcome::kTimeout);
  EXPECT_EQ(Ask("*OPC?"), "+1\n");  // what was late is dropped
  EXPECT_TRUE(exchange->InStep());

  // Asks the instrument, so a fence follows late.
  EXPECT_EQ(exchange->Exchange("*ESR?", milliseconds(150)).outcome, Outcome::kTimeout);
  EXPECT_EQ(exchange->Append(":FREQ 3GHZ").outcome, Outcome::kComplete);
  EXPECT_EQ(Ask(":FREQ?"), "3000000000\n");
  EXPECT_EQ(Ask("*ESR?"), "0\n");
  EXPECT_EQ(exchange->Exchange("*ESR?", milliseconds(0)).outcome, Outcome::kTimeout);
  EXPECT_EQ(Ask(":FREQ?"), "3000000000\n");
}

TEST_F(Exchanges, AppendMessagesWhoseAnswersAreDropped) {
  Open(79, "latency=50");
  const std::string lines(2 * kMaximumMessage, '\n');
  const struct {
    std::string begun;
    std::string appended;
    Outcome outcome;
    std::string response;
    std::string frequency;
  } cases[] = {
      {"", ":FREQ 1GHZ;:FREQ?", Outcome::kComplete, "1000000000\n", "1000000000\n"},  // in step: as Begin
      {":FREQ 2GHZ;:FREQ?", ":FREQ 3GHZ", Outcome::kComplete, "", "3000000000\n"},
      {":FREQ 4GHZ", "*OPC?", Outcome::kComplete, "", "4000000000\n"},
      {":FREQ 5GHZ;:FREQ?", "DATA #14abc", Outcome::kUnfinished, "5000000000\n", "5000000000\n"},
      {":FREQ 6GHZ;:FREQ?\n" + lines, ":FREQ 7GHZ", Outcome::kBusy, "6000000000\n",
       "6000000000\n"},  // the ring is full
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.begun.substr(0, 30) + " " + row.appended);
    if (!row.begun.empty()) {
      ASSERT_EQ(exchange->Begin(row.begun).outcome, Outcome::kComplete);
    }
    EXPECT_EQ(exchange->Append(row.appended).outcome, row.outcome);
    EXPECT_FALSE(exchange->InStep());
    const Answer answer = exchange->Await(kLong);
    EXPECT_EQ(answer.outcome, Outcome::kComplete);
    EXPECT_EQ(answer.response, row.response);
    EXPECT_EQ(Ask(":FREQ?"), row.frequency);
  }
}

TEST_F(Exchanges, AreReachedFromC) {
  Open(68, "latency=50");
  const auto deleter = [](zltExchange* c) { zltExchangeDelete(c); };
  const std::unique_ptr<zltExchange, decltype(deleter)> c(zltExchangeCreate(session.Handle()), deleter);
  const auto response = [&] {
    unsigned long length = 0;
    const char* const text = zltExchangeResponse(c.get(), &length);
    return std::string(text, length);
  };
  const struct {
    std::string message;
    unsigned long length;
    int begun;
    std::string response;
  } cases[] = {
      {"*IDN?", 5, ZLT_COMPLETE, "Sorvik,ZG-20E,000068\n"},
      {":FREQ 1GHZ;:OUTP OFF", 20, ZLT_COMPLETE, ""},
      {":FREQ?;*RST", 6, ZLT_COMPLETE, "1000000000\n"},  // as far as `length` says
      {"DATA #14abc", 11, ZLT_UNFINISHED, ""},
      {std::string(kMaximumMessage, ' '), kMaximumMessage, ZLT_TOO_LONG, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.message.substr(0, 30));
    EXPECT_EQ(zltExchangeBegin(c.get(), row.message.data(), row.length), row.begun);
    EXPECT_EQ(zltExchangeBusy(c.get()), row.begun == ZLT_COMPLETE ? 1 : 0);
    EXPECT_EQ(zltExchangeAwait(c.get(), kLong.count()), ZLT_COMPLETE);
    EXPECT_EQ(response(), row.response);
  }
  EXPECT_EQ(zltExchangeBegin(c.get(), ":FREQ 2GHZ;:NONSENSE?", 21), ZLT_COMPLETE);
  EXPECT_EQ(zltExchangeAwait(c.get(), 0), ZLT_TIMEOUT);
  EXPECT_EQ(zltExchangeBegin(c.get(), ":FREQ 3GHZ", 10), ZLT_BUSY);
  EXPECT_EQ(zltExchangeAwait(c.get(), kLong.count()), ZLT_COMPLETE);
  EXPECT_EQ(response(), "\n") << "the refused message must not make it the answer of a setting";
  session.Close();
  EXPECT_EQ(zltExchangeBegin(c.get(), "*OPC?", 5), ZLT_FAILED);
  EXPECT_EQ(zltExchangeStatus(c.get()), VI_ERROR_INV_OBJECT);
  std::array<char, 8> text{};
  zltStatusText(VI_ERROR_INV_OBJECT, text.data(), text.size());
  EXPECT_STREQ(text.data(), "the ses");
}

TEST_F(Exchanges, StayOutstandingBehindAResponseThatOutgrowsItsRing) {
  Open(73);
  std::string message;
  for (int i = 0; i < 10000; ++i) message += "*IDN?;";
  EXPECT_EQ(exchange->Exchange(message + "*OPC?", milliseconds(300)).outcome, Outcome::kTimeout);
  EXPECT_EQ(exchange->Exchange("*OPC?", milliseconds(100)).outcome, Outcome::kBusy);
}

TEST_F(Exchanges, EndWhenTheSessionIsClosed) {
  Open(67, "latency=100");
  const int packets = std::stoi(test::Held(67, "packets"));
  std::thread closer([this, packets] {
    simControl(("SIM67 await=packets:" + std::to_string(packets + 1)).c_str());
    skClose(session.Handle());
  });
  const Answer answer = exchange->Exchange(":FREQ 1GHZ;:FREQ 2GHZ;:FREQ 3GHZ", scpi_zlt::kForever);
  EXPECT_EQ(answer.outcome, Outcome::kFailed);
  EXPECT_EQ(answer.status, VI_ERROR_INV_OBJECT);
  closer.join();
  EXPECT_EQ(exchange->Exchange("*OPC?", kLong).outcome, Outcome::kFailed);
}

TEST(OpenFailure, SaysWhatToDoAndTakesNoWarningForASession) {
  const struct {
    long status;
    const char* part;
  } rows[] = {
      {VI_ERROR_INV_OBJECT, "has to end in ::ZLT"},
      {VI_ERROR_TMO, "not ready within 5 ms"},
      {VI_ERROR_RSRC_NFOUND, "no such instrument"},
      {VI_SUCCESS_MAX_CNT, "a warning, VISA status 0x3FFF0006"},
      {-1, "VISA status 0xFFFFFFFF"},
  };
  for (const auto& row : rows) {
    EXPECT_NE(scpi_zlt::OpenFailureText("X", row.status, milliseconds(5)).find(row.part), std::string::npos)
        << row.part;
  }
}

}  // namespace
