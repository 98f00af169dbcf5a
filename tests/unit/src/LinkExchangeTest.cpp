// Exchanges against a scripted provider: every call in order, with the time that goes by between them.
#include <deque>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "src/LinkExchange.h"
#include "src/Provider.h"
#include "support/Clock.h"
#include "tests/unit/src/ScriptedProvider.h"

namespace {

using test::Bytes;
using test::ScriptedProvider;
constexpr unsigned long kSession = 2;
constexpr long kNimpl = VI_ERROR_NIMPL_OPER;

/// A reply: head and body, as hexadecimal digits.
Bytes Reply(unsigned command, int status, const std::string& body = "") {
  Bytes reply = test::FromHex("AA 55 00 00 00 00 00 00 01 20 00 00 00 00 00 00" + body);
  const auto length = static_cast<unsigned>(reply.size() - 16);
  reply[2] = static_cast<unsigned char>(command);
  reply[4] = static_cast<unsigned char>(status);
  reply[5] = static_cast<unsigned char>(status >> 8);
  reply[6] = static_cast<unsigned char>(length);
  reply[7] = static_cast<unsigned char>(length >> 8);
  return reply;
}

const std::string kValue = "03 00 02 00";
const std::string kRecord = "000000000000000000000000";
const Bytes kDone = Reply(SK_SET, 0, kValue);
const Bytes kRefused = Reply(SK_SET, 0x8003, kValue);
const Bytes kSaysTimeOut = Reply(SK_SET, 20486, kValue);
const Bytes kResetDone = Reply(SK_RESET, 0);
const Bytes kSwapped = test::FromHex("55 AA 03 00 00 00 04 00 01 20 00 00 00 00 00 00 03 00 02 00");

// Pieces of traces.
const std::string kSet = "W(SET P_MODE 2.0 [1]) T500 ";
const std::string kRun = "W(RUN) T500 ";
const std::string kProbe = "W(GET P_MODE 2.0 [0]) T500 ";
const std::string kReset = "W(RESET) T500 ";
const std::string kBare = "R16:16/0 R0:0/0 ";
const std::string kWithValue = "R16:16/0 R4:4/0 ";
/// The probe that nobody answers, with the clears that end it.
const std::string kSilentProbe = kProbe + "R16x21 C C ";

/// The outcome of an exchange: result, Status, and whether the link is lost.
std::string Outcome(long result, const CDevCommand& packet, bool connected) {
  return test::StatusName(result) + " " + std::to_string(packet.Status()) + (connected ? "" : " lost");
}

CDevParameter Setting() {
  return CDevParameter(P_MODE, 1, 2, 0, SK_SET);
}

TEST(RecvFromDeviceTest, JoinsSlicesAndEndsAsTold) {
  struct Case {
    const char* name;
    std::string trace;  // its reads with bytes are what the provider delivers
    const char* outcome;
    double value;  // 1: the request's; -1: none
    Bytes reply = kDone;
    long clear_status = 0;
    bool cancel = false;
    bool stopping = false;
  };
  // clang-format off
  const Case cases[] = {
      {"at once", "T500 R16:16/0 R4:4/0 T1000", "0 0", 2},
      {"head in two", "T500 R16:10/TMO R6:6/0 R4:4/0 T1000", "0 0", 2},
      {"whole in spite of time-outs", "T500 R16:16/TMO R4:4/TMO T1000", "0 0", 2},
      {"positive statuses", "T500 R16:16/MAX_CNT R4:4/MAX_CNT T1000", "0 0", 2},
      {"4 bytes of head succeed", "T500 R16:4/0 R0:0/0 T1000", "0 0", -1},
      {"short head, positive status", "T500 R16:10/TERM_CHAR C", "TERM_CHAR -32768", 1},
      {"head stays short", "T500 R16:10/TMO R6x2 C " + kSilentProbe + "C", "TMO 20486", 1},
      {"head stays short, no clear", "T500 R16:10/TMO R6x2 C C", "TMO 20486", 1, kDone, kNimpl},
      {"head stays short, clear lost", "T500 R16:10/TMO R6x2 C C", "CONN_LOST 20506 lost", 1, kDone,
       VI_ERROR_CONN_LOST},
      {"body stays short", "T500 R16:16/0 R4:2/TMO R2x2 C " + kSilentProbe + "C", "TMO 20486", 1},
      {"body stays short, no clear", "T500 R16:16/0 R4:2/TMO R2x2 C C", "CONN_LOST 20486 lost", 1, kDone, kNimpl},
      {"half a body succeeds", "T500 R16:16/0 R4:2/0 T1000", "0 0", 1},
      {"lost with a whole head", "T500 R16:16/CONN_LOST R4:4/0 T1000", "0 0 lost", 2},
      {"body breaks", "T500 R16:16/0 R4:2/IO C", "IO 0", 1},
      {"no body is read too", "T500 R16:16/0 R0:0/0 T1000", "0 0", -1, Reply(SK_SET, 0)},
      {"reports a time-out", "T500 R16:16/0 R4:4/0 C " + kSilentProbe + "C", "TMO 20486", 2, kSaysTimeOut},
      {"reports a time-out, 600 bytes", "T500 R16:16/0 R600:600/0 C " + kSilentProbe + "T1000", "0 20486", 2,
       Reply(SK_SET, 20486, kValue + std::string(2 * 596, '0'))},
      {"cancelled", "T500 R16 C", "0 20505", 1, kDone, 0, true},
      {"stopping", "T500", "RAW_RD_PROT_VIOL -32768", 1, kDone, 0, false, true},
      {"more counted than asked", "T500 R16:20/TMO R4:4/0 T1000", "0 0", 0},
  };
  // clang-format on
  for (const Case& c : cases) {
    for (const bool wide : {true, false}) {
      SCOPED_TRACE(std::string(c.name) + (wide ? ", 64 bits" : ", 32 bits"));
      ScriptedProvider scripted;
      scripted.wide = wide;
      scripted.clear_status = c.clear_status;
      scripted.QueueReadsOf(c.trace, c.reply);
      CDevParameter packet = Setting();
      packet.SetValue(0, 1.0);
      bool connected = true;
      const long result = RecvFromDevice(kSession, &packet, c.cancel, 1000, c.stopping, connected);
      EXPECT_EQ(Outcome(result, packet, connected), c.outcome);
      EXPECT_EQ(scripted.Trace(), c.trace);
      EXPECT_EQ(packet.CarriesValues(1) ? packet.CarriedValue(0) : -1, c.value);
    }
  }
}

/// A stop request raised after a time or after a number of requests.
struct Stop {
  std::int64_t after_ms = -1;
  std::size_t after_writes = SIZE_MAX;
};
struct StopContext {
  const ScriptedProvider& scripted;
  std::int64_t start_ns;
  Stop stop;
};
bool IsUp(const void* context) {
  const auto& c = *static_cast<const StopContext*>(context);
  if (c.stop.after_ms >= 0 && support::MillisecondsSince(c.start_ns) >= c.stop.after_ms) return true;
  return c.scripted.WriteCount() >= c.stop.after_writes;
}

struct ProcessCase {
  const char* name;
  ECommand command;
  std::vector<Bytes> replies;  // empty: silence
  std::string trace;
  const char* outcome;
  unsigned time_out = 1000;
  Stop stop = {};
  long clear_status = 0;
  bool no_limit = false;
};

void RunProcessCase(const ProcessCase& c, bool live) {
  SCOPED_TRACE(c.name);
  ScriptedProvider scripted;
  scripted.clear_status = c.clear_status;
  std::size_t next = 0;
  scripted.Respond([&](auto) { return next < c.replies.size() ? c.replies[next++] : Bytes{}; });
  CDevParameter setting = Setting();
  setting.SetValue(0, 1.0);
  CDevCommand command(c.command, 0, 0, 0, 0, 0);
  CDevCommand& packet = c.command == SK_SET ? setting : command;
  packet.SetTimeOut(c.time_out);
  bool connected = true;
  const StopContext context{scripted, support::NowNs(), c.stop};
  const long result = live ? ProcessDevCommand(kSession, &packet, StopTest{IsUp, &context}, connected, c.no_limit)
                           : ProcessDevCommand(kSession, &packet, false, connected, c.no_limit);
  EXPECT_EQ(Outcome(result, packet, connected), c.outcome);
  EXPECT_EQ(scripted.Trace(), c.trace);
}

// clang-format off
TEST(ProcessDevCommandTest, ResetsAfterFailuresAndResendsWhenOutOfStep) {
  const ProcessCase cases[] = {
      {"success", SK_SET, {kDone}, kSet + kWithValue + "T1000", "0 0"},
      {"error", SK_SET, {kRefused, kResetDone}, kSet + kWithValue + "T1000 " + kReset + kBare + "T1000", "0 -32765"},
      {"20480 is harmless", SK_SET, {Reply(SK_SET, 20480, kValue)}, kSet + kWithValue + "T1000", "0 20480"},
      {"20481 is not", SK_SET, {Reply(SK_SET, 20481), kResetDone}, kSet + kBare + "T1000 " + kReset + kBare + "T1000",
       "0 20481"},
      {"reset that fails", SK_RESET, {Reply(SK_RESET, 0x8000)}, kReset + kBare + "T1000", "0 -32768"},
      {"reset answered as another", SK_RESET, {Reply(SK_SET, 0x8000)}, kReset + kBare + "T1000", "0 -32768"},
      {"answered as a reset", SK_SET, {Reply(SK_RESET, 0x8000)}, kSet + kBare + "T1000", "0 -32768"},
      {"swapped signature", SK_SET, {kSwapped, kDone}, kSet + "R16:16/0 C " + kSet + kWithValue + "T500", "0 0"},
      {"run fails at its end", SK_RUN, {Reply(SK_RUN, 0, kRecord + "07 80"), kResetDone},
       kRun + "R16:16/0 R14:14/0 T1000 " + kReset + kBare + "T1000", "0 0"},
      {"run fails at an odd end", SK_RUN, {Reply(SK_RUN, 0, kRecord + "00 07 80"), kResetDone},
       kRun + "R16:16/0 R15:15/0 T1000 " + kReset + kBare + "T1000", "0 0"},
      {"run with a warning", SK_RUN, {Reply(SK_RUN, 6, kRecord + "07 80")}, kRun + "R16:16/0 R14:14/0 T1000", "0 6"},
      {"run without data", SK_RUN, {Reply(SK_RUN, 0)}, kRun + kBare + "T1000", "0 0"},
      {"default limit", SK_SET, {}, kSet + "R16x21 C " + kSilentProbe + "C", "TMO 20486", kDefaultTimeOut},
      {"its own limit", SK_SET, {}, kSet + "R16x3 C " + kSilentProbe + "C", "TMO 20486"},
      {"probes do not nest", SK_SET, {{}, Reply(SK_GET, 0x8003, kValue)},
       kSet + "R16x3 C " + kProbe + kWithValue + "T500 " + kReset + "R16x21 C C C", "TMO 20486"},
      {"reports a time-out, no limit", SK_SET, {kSaysTimeOut}, kSet + kWithValue + "C " + kSilentProbe + "C",
       "TMO 20486", kNoTimeOut},
      {"reset unanswered", SK_SET, {kRefused},
       kSet + kWithValue + "T1000 " + kReset + "R16x21 C " + kSilentProbe + "C", "0 -32765"},
  };
  for (const ProcessCase& c : cases) RunProcessCase(c, false);
}

TEST(ProcessDevCommandTest, StopsWhenAsked) {
  const ProcessCase cases[] = {
      {"up before", SK_SET, {}, "", "ABORT 20505", 1000, {.after_ms = 0}},
      {"poll, up before", SK_RUN, {}, "", "ABORT 20505", 1000, {.after_ms = 0}},
      {"never", SK_SET, {kRefused, kResetDone}, kSet + kWithValue + "T1000 " + kReset + kBare + "T1000", "0 -32765"},
      {"setting", SK_SET, {}, kSet + "R16x2 C", "0 20505", 1000, {.after_ms = 700}},
      {"endless wait", SK_SET, {}, kSet + "R16x40 C", "0 20505", kNoTimeOut, {.after_ms = 20000}},
      {"endless by the caller", SK_SET, {}, kSet + "R16x40 C", "0 20505", kDefaultTimeOut, {.after_ms = 20000}, 0, true},
      {"poll", SK_RUN, {{}, kResetDone}, kRun + "R16x2 C " + kReset + kBare + "T500", "0 20505", kNoTimeOut,
       {.after_ms = 700}},
      {"poll, silence", SK_RUN, {}, kRun + "R16x2 C " + kReset + "R16x3 C C", "0 20505", kNoTimeOut,
       {.after_ms = 700}},
      {"poll, then nonsense", SK_RUN, {{}, kSwapped}, kRun + "R16x2 C " + kReset + "R16:16/0 C", "0 20505", kNoTimeOut,
       {.after_ms = 700}},
      {"poll, no clear", SK_RUN, {}, kRun + "R16x2 C", "NIMPL 20505", kNoTimeOut, {.after_ms = 700}, kNimpl},
      {"poll out of step", SK_RUN, {kSwapped, kResetDone}, kRun + "R16:16/0 C " + kReset + kBare + "T500",
       "ABORT 20505", kNoTimeOut, {.after_writes = 1}},
      {"failing poll", SK_RUN, {Reply(SK_RUN, 0x8007), kResetDone}, kRun + kBare + "T1000 " + kReset + kBare + "T1000",
       "0 -32761", 1000, {.after_writes = 1}},
      {"failing setting", SK_SET, {kRefused}, kSet + kWithValue + "T1000", "0 -32765", 1000, {.after_writes = 1}},
      {"nonsense for ever", SK_SET, {kSwapped, kSwapped, kSwapped}, kSet + "R16:16/0 C " + kSet + "R16:16/0 C",
       "ABORT 20505", 1000, {.after_writes = 2}},
      {"in the probe", SK_SET, {}, kSet + "R16x3 C " + kProbe + "R16x3 C C", "TMO 20486", 1000, {.after_ms = 2600}},
      {"before the probe", SK_SET, {kSaysTimeOut}, kSet + kWithValue + "C", "0 20505", 1000, {.after_writes = 1}},
  };
  for (const ProcessCase& c : cases) RunProcessCase(c, true);
}
// clang-format on

TEST(LinkTest, RefusesToSend) {
  struct Case {
    const char* name;
    std::deque<long> writes;
    std::string trace;
    const char* outcome;
    bool stopping = false;
    unsigned long session = kSession;
    long set_status = 0;
  };
  const long lost = VI_ERROR_CONN_LOST;
  const std::string write = "W(SET P_MODE 2.0 [0])";
  const std::string round = write + " T500 C ";
  const Case cases[] = {
      {"lost", {lost}, write, "CONN_LOST 20506 lost"},
      {"timed out", {VI_ERROR_TMO}, write, "TMO 20487"},
      {"positive", {VI_SUCCESS_MAX_CNT}, write, "MAX_CNT 20487"},
      {"no session", {}, "", "CONN_LOST -32768", false, 0},
      {"no slices", {}, write + " T500", "IO 20486", false, kSession, VI_ERROR_IO},
      {"stopping resends until a write fails", {0, 0, lost}, round + round + write, "CONN_LOST 20506 lost", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedProvider scripted;
    scripted.writes = c.writes;
    scripted.set_status = c.set_status;
    CDevParameter packet = Setting();
    bool connected = true;
    const long result = ProcessDevCommand(c.session, &packet, c.stopping, connected, false);
    EXPECT_EQ(Outcome(result, packet, connected), c.outcome);
    EXPECT_EQ(scripted.Trace(), c.trace);
  }
}

TEST(LinkTest, ProbesOnlyWhereItMay) {
  ScriptedProvider scripted;
  scripted.Respond([](auto request) { return test::Answer(request); });
  const StopTest up{[](const void*) { return true; }, nullptr};
  EXPECT_EQ(ClearDevice(kSession, true, false), 0);
  EXPECT_EQ(ClearDevice(kSession, false, true), 0);
  EXPECT_EQ(ClearDevice(kSession, true, true, up), 0);
  EXPECT_EQ(ResetDevice(kSession, true, up), VI_ERROR_ABORT);
  EXPECT_EQ(scripted.Trace(), "C C C");
  EXPECT_EQ(ClearDevice(kSession, true, true), 0);
  EXPECT_EQ(ResetDevice(kSession, true), 0);
  EXPECT_EQ(scripted.Trace(), "C C C C " + kProbe + kWithValue + "T1000 " + kReset + kBare + "T1000");
}

TEST(LinkTest, ConvertsStatuses) {
  constexpr long kWarning = 0x3FFF0084;
  const std::pair<long, int> cases[] = {{VI_SUCCESS, 0},
                                        {VI_SUCCESS_TERM_CHAR, 0},
                                        {VI_SUCCESS_MAX_CNT, 0},
                                        {VI_ERROR_CONN_LOST, SE_CONNECTION_LOST},
                                        {VI_ERROR_TMO, SE_READ_TIMEOUT},
                                        {VI_ERROR_ABORT, SE_OPERATION_CANCELED},
                                        {VI_ERROR_INV_OBJECT, SE_UNKNOWN_ERROR},
                                        {kWarning, SE_UNKNOWN_ERROR}};
  for (const auto& [visa, status] : cases) {
    for (const unsigned long raw : {static_cast<unsigned long>(visa), visa & 0xFFFFFFFFUL})
      EXPECT_EQ(ConvertErrorVisaToSorvs(provider::ToStatus(raw)), status) << visa;
  }
}

}  // namespace
