#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <semaphore>
#include <thread>

#include "protocol/visa.h"
#include "tests/unit/src/DeviceBench.h"

namespace {

using test::Bytes;
using test::OpenBench;
using test::Row;
using test::Status16;
using Strings = std::vector<std::string>;
using Request = std::span<const unsigned char>;

TEST(Connection, OpensAndCloses) {
  const std::string open = "OPENRM OPEN(A::INSTR,1,77)";
  const std::string reset = open + " T1000 W(RESET) T500 ";
  const std::string answered = reset + "R16:16/0 R0:0/0 T1000 CLOSE(2) CLOSE(1)";
  constexpr long kWarning = 0x3FFF0084;
  const struct {
    const char* name;
    const char* resource;
    long manager_status;
    long open_status;
    std::optional<std::int16_t> reset_status;
    long result;
    std::string trace;  // of the open and of the close after it
  } cases[] = {
      {"no marker", "A::INSTR", 0, 0, 0, VI_ERROR_INV_OBJECT, ""},
      {"no manager", "A::INSTR::ZLT", VI_ERROR_RSRC_NFOUND, 0, 0, VI_ERROR_RSRC_NFOUND, "OPENRM"},
      {"no instrument", "A::INSTR::ZLT::B", 0, VI_ERROR_RSRC_NFOUND, 0, VI_ERROR_RSRC_NFOUND, open + " CLOSE(1)"},
      {"opens with a warning", "A::INSTR::ZLT", 0, kWarning, 0, kWarning, open + " CLOSE(2) CLOSE(1)"},
      {"silent", "A::INSTR::ZLT", 0, 0, {}, VI_ERROR_RSRC_NFOUND, reset + "R16x11 C C CLOSE(2) CLOSE(1)"},
      {"refuses", "A::INSTR::ZLT", 0, 0, Status16(0x8003), VI_ERROR_RAW_RD_PROT_VIOL, answered},
      {"warns", "A::INSTR::ZLT", 0, 0, SK_PARAMETER_CORRECTED, VI_ERROR_RAW_RD_PROT_VIOL, answered},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::ScriptedProvider provider;
    provider.open_manager_status = c.manager_status;
    provider.open_status = c.open_status;
    provider.Respond(test::Instrument({{"RESET", c.reset_status}}));
    {
      test::BenchDevice device;
      EXPECT_EQ(device.OpenConnection(c.resource, 77), c.result);
      EXPECT_FALSE(device.GetConnected());
      EXPECT_EQ(device.GetCurrentStatus(), VI_ERROR_NIMPL_OPER);
      EXPECT_EQ(device.CloseConnection(), 0);
      EXPECT_EQ(device.GetCurrentStatus(), 0);
    }
    EXPECT_EQ(provider.Trace(), c.trace);
  }
}

TEST(Connection, StaysOpenWhenProbingFailsUntilTheDeviceGoes) {
  test::ScriptedProvider provider;
  provider.Respond(test::Instrument({{"SET P_MODE", SK_UNKNOWN_COMMAND}}));
  {
    test::BenchDevice device;
    EXPECT_EQ(device.OpenConnection("A::ZLT", 1), VI_ERROR_RSRC_NFOUND);
    EXPECT_TRUE(device.GetConnected());
    EXPECT_EQ(provider.Trace().find("CLOSE"), std::string::npos);
  }
  EXPECT_TRUE(provider.Trace().ends_with(" CLOSE(2) CLOSE(1)"));
}

TEST(Connection, ADeviceThatWasNeverOpened) {
  test::BenchDevice device;
  bool on = true;
  EXPECT_EQ(device.GetModulationEnabled(on), -108);
  EXPECT_EQ(device.GetModulationPolarity(on), -108);
  EXPECT_EQ(device.Limits().high_frequency, 4e10);
}

TEST(Connection, LostLinkRefusesWithoutTouchingIt) {
  OpenBench bench;
  bench.provider.writes = {VI_ERROR_CONN_LOST};
  int mode = 1;
  EXPECT_EQ(bench.device.HW_SetMode(mode), SE_CONNECTION_LOST);
  EXPECT_FALSE(bench.device.GetConnected());
  bench.provider.TakeLines();
  EXPECT_EQ(bench.device.HW_SetMode(mode), SE_CONNECTION_LOST);
  EXPECT_EQ(bench.provider.TakeLines(), Strings{});
  bench.provider.close_status = VI_ERROR_INV_OBJECT;
  EXPECT_EQ(bench.device.CloseConnection(), VI_ERROR_INV_OBJECT);
  EXPECT_EQ(bench.device.CloseConnection(), 0);
}

TEST(Connection, StopRequestLetsNothingOut) {
  OpenBench bench;
  CDevCommand packet(SK_RUN, 0, 0, 0, 0, 0);
  long process = 0;
  long receive = 0;
  bench.device.body = [&] {
    while (!bench.device.ThreadShouldStop()) std::this_thread::yield();
    process = bench.device.ProcessCommand(&packet, false);
    receive = bench.device.Recv(&packet, false, 0);
    bench.device.Reset();
  };
  bench.device.ThreadStart();
  bench.device.ThreadStop(0);
  EXPECT_EQ(process, VI_ERROR_ABORT);
  EXPECT_EQ(receive, VI_ERROR_ABORT);
  EXPECT_EQ(packet.Status(), SE_OPERATION_CANCELED);
  EXPECT_EQ(bench.provider.TakeLines(), Strings{});
}

TEST(Connection, StopRequestEndsAnExchangeUnderWay) {
  OpenBench bench;
  std::binary_semaphore asked{0};
  std::binary_semaphore stopped{0};
  bench.provider.Respond([&](Request) {
    asked.release();
    stopped.acquire();
    return Bytes{};
  });
  int result = 0;
  bench.device.body = [&] {
    int mode = 1;
    result = bench.device.HW_SetMode(mode);
  };
  bench.device.ThreadStart();
  asked.acquire();
  bench.device.ThreadStopAsync();
  stopped.release();
  bench.device.ThreadStop(0);
  EXPECT_EQ(result, SE_OPERATION_CANCELED);
  EXPECT_EQ(bench.provider.TakeLines(), Strings{"SET P_MODE 2.0 [1]"});
  EXPECT_TRUE(bench.provider.Trace().ends_with("T500 R16 C"));
}

// One reply of a file read. No status: silence.
struct Chunk {
  std::optional<int> status;
  int delivered = 0;
  int carried = -1;  // -1: what it delivers
  std::string text = {};
  bool has_body = true;
  bool spoils_name = false;
  std::size_t lacks = 0;  // bytes of the body that never come
};

Bytes FileReply(Request request, const Chunk& chunk) {
  if (!chunk.status) return {};
  const std::size_t name_length = std::strlen(reinterpret_cast<const char*>(request.data()) + 26);
  Bytes reply(request.begin(), request.begin() + static_cast<std::ptrdiff_t>(chunk.has_body ? 27 + name_length : 16));
  if (chunk.has_body) {
    const std::uint32_t delivered = static_cast<std::uint32_t>(chunk.delivered);
    std::memcpy(reply.data() + 22, &delivered, sizeof delivered);
    if (chunk.spoils_name) reply.back() = 'x';
    std::string data = chunk.text;
    data.resize(static_cast<std::size_t>(chunk.carried < 0 ? chunk.delivered : chunk.carried), 'd');
    reply.insert(reply.end(), data.begin(), data.end());
    if (reply.size() % 2 != 0) reply.push_back(0);
  }
  const auto status = static_cast<std::int16_t>(*chunk.status);
  const auto length = static_cast<std::uint16_t>(reply.size() - 16);
  std::memcpy(reply.data() + 4, &status, sizeof status);
  std::memcpy(reply.data() + 6, &length, sizeof length);
  return reply;
}

TEST(InstrumentFile, Reads) {
  const std::string kKept = "as it was";
  const std::string kNul("AB\0CD", 5);
  const struct {
    const char* name;
    std::vector<Chunk> chunks;  // the last one for ever
    const char* wire;           // offsets asked for
    std::string content;
  } cases[] = {
      {"two replies", {{0, 10}, {1, 0}}, "0 10", std::string(10, 'd')},
      {"end by refusal", {{0, 10}, {0x8003}}, "0 10 RESET", std::string(10, 'd')},
      {"not there", {{0x8103}}, "0 RESET", kKept},
      {"not there, without body", {{0x8103, 0, 0, "", false}}, "0 RESET", kKept},
      {"no such parameter", {{0x8002}}, "0 RESET", kKept},
      {"warning first", {{1, 10}, {1, 0}}, "0 10", std::string(10, 'd')},
      {"large", {{0, 60000}, {1, 60000}, {0x8003}}, "0 60000 120000 RESET", std::string(120000, 'd')},
      {"900 goes on", {{0, 10}, {1, 900}, {1, 899}}, "0 10 910", std::string(1809, 'd')},
      {"no progress", {{0, 10}, {0, 0}}, "0 10 10 10 10 10 10 10 10", kKept},
      {"refused at once", {{0x8003}}, "0 RESET", kKept},
      {"silence", {{}}, "0 probe 64000 probe", kKept},
      {"silence, then the end", {{}, {0x8003}}, "0 probe 64000 RESET", kKept},
      {"claims more than it carries", {{0, 64000, 10}, {1, 0}}, "0 64000", kKept},
      {"claims more later", {{0, 10}, {0, 64000, 10}}, "0 10", kKept},
      {"first chunk breaks off", {{0, 10, 10, "", true, false, 4}, {0, 10}}, "0 probe 10", kKept},
      {"later chunk breaks off", {{0, 10}, {0, 10, 10, "", true, false, 4}}, "0 10 probe", kKept},
      {"another refusal", {{0, 10}, {0x8105}}, "0 10 RESET", kKept},
      {"empty, then refused", {{0, 0}, {0x8003}}, "0 0 RESET", kKept},
      {"empty", {{0, 0}, {1, 0}}, "0 0", ""},
      {"ends at a zero", {{0, 5, 5, kNul}, {0, 2, 2, "EF"}, {1, 0}}, "0 5 7", "ABEF"},
      {"name without its zero", {{0, 10, 10, "", true, true}}, "0", kKept},
      {"never ends", {{0, 64000}}, nullptr, kKept},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OpenBench bench;
    std::size_t next = 0;
    bench.provider.Respond([&](Request request) {
      if (!test::Describe(request).starts_with("GET P_FILE")) return test::Answer(request);
      const Chunk& chunk = c.chunks[std::min(next++, c.chunks.size() - 1)];
      const Bytes reply = FileReply(request, chunk);
      if (chunk.lacks == 0) return reply;
      bench.provider.QueueRead(Bytes(reply.begin(), reply.begin() + 16));
      bench.provider.QueueRead(Bytes(reply.begin() + 16, reply.end() - static_cast<std::ptrdiff_t>(chunk.lacks)),
                               VI_ERROR_TMO);
      return Bytes{};
    });
    std::string content = kKept;
    bench.device.GetFile("\\fram\\type.txt", &content);
    EXPECT_EQ(content, c.content);
    std::string wire;
    for (const std::string& line : bench.provider.TakeLines()) {
      const std::size_t offset = line.find('[') + 1;
      wire += wire.empty() ? "" : " ";
      wire += line.starts_with("GET P_FILE")   ? line.substr(offset, line.find(',') - offset)
              : line.starts_with("GET P_MODE") ? "probe"
                                               : line;
    }
    if (c.wire != nullptr) {
      EXPECT_EQ(wire, c.wire);
    }
  }
}

TEST(InstrumentFile, Identity) {
  const Chunk end{1, 0};
  const Chunk missing{0x8103};
  const struct {
    const char* name;
    Chunk type, serial;
    const char* identity;
  } cases[] = {
      {"both", {0, 5, 5, "MODEL"}, {0, 3, 3, "123"}, "Sorvik,MODEL,123"},
      {"no serial number", {0, 5, 5, "MODEL"}, missing, "Sorvik,MODEL,MODEL"},
      {"no model", missing, {0, 3, 3, "123"}, "Sorvik,,123"},
      {"none", missing, missing, "Sorvik,,"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OpenBench bench;
    bench.provider.Respond([&](Request request) {
      const std::string line = test::Describe(request);
      if (!line.starts_with("GET P_FILE")) return test::Answer(request);
      if (line.find("[0,") == std::string::npos) return FileReply(request, end);
      return FileReply(request, line.find("type") != std::string::npos ? c.type : c.serial);
    });
    bench.device.ReadIdn();
    std::string identity;
    EXPECT_EQ(bench.device.GetIdn(identity), 0);
    EXPECT_EQ(identity, c.identity);
  }
}

}  // namespace
