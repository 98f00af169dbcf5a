#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "src/PacketTypes.h"
#include "tests/unit/src/ScriptedProvider.h"

namespace {

using test::FromHex;
using test::ToHex;

CDevParameter FromBytes(const std::string& hex) {
  const auto bytes = FromHex(hex);
  CDataBlock block(static_cast<unsigned int>(bytes.size()));
  std::copy(bytes.begin(), bytes.end(), block.Block());
  return CDevParameter(&block);
}

TEST(PacketTest, EncodesAndReadsBack) {
  struct Case {
    const char* name;
    unsigned char size;
    unsigned char fraction;
    std::vector<double> values;
    const char* body;
    std::vector<double> read;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {"whole", 2, 0, {1}, "03 00 01 00", {1}},
      {"none", 2, 0, {}, "03 00", {}},
      {"pad byte", 1, 0, {1, 2, 3, 4, 5}, "03 00 01 02 03 04 05 00", {1, 2, 3, 4, 5}},
      {"fraction", 4, 2, {1.0, -20.5}, "03 00 00 00 01 00 00 80 EB FF", {1.0, -20.5}},
      {"half away from zero", 1, 0, {2.5}, "03 00 03 00", {3}},
      {"just below half", 1, 0, {0.49999999999999994}, "03 00 01 00", {1}},
      {"small negative", 4, 2, {-0.00001}, "03 00 FF FF FF FF", {-1.0 / 65536}},
      {"cut to its size", 2, 0, {70000}, "03 00 70 11", {4464}},
      {"negative reads unsigned", 4, 0, {-1}, "03 00 FF FF FF FF", {4294967295.0}},
      {"6.0", 6, 0, {1e11}, "03 00 00 E8 76 48 17 00", {1e11}},
      {"6.2", 6, 2, {-20}, "03 00 00 00 EC FF FF FF", {-20}},
      {"2.1", 2, 1, {-44}, "03 00 00 D4", {-44}},
      {"2.1 cut", 2, 1, {-300}, "03 00 00 D4", {-44}},
      {"four fraction bytes scale by 1", 4, 4, {7}, "03 00 07 00 00 00", {7}},
      {"five scale as one", 8, 5, {1.5}, "03 00 80 01 00 00 00 00 00 00", {1.5}},
      {"eight bytes stay positive", 8, 0, {-2}, "03 00 FE FF FF FF FF FF FF FF", {18446744073709551614.0}},
      {"eight bytes signed", 8, 1, {-2}, "03 00 00 FE FF FF FF FF FF FF", {-2}},
      {"raw double", 8, 15, {0.1}, "03 00 9A 99 99 99 99 99 B9 3F", {0.1}},
      {"nine bytes", 9, 1, {-65536}, "03 00 00 00 00 FF FF FF FF FF FF 00", {-65536}},
      {"what does not fit", 6, 0, {nan, 1e300}, "03 00 00 00 00 00 00 00 00 00 00 00 00 00", {0, 0}},
      {"size 0 stores nothing", 0, 0, {5}, "03 00", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDevParameter packet(3, static_cast<unsigned int>(c.values.size()), c.size, c.fraction, SK_SET);
    for (unsigned int i = 0; i < c.values.size(); ++i) packet.SetValue(i, c.values[i]);
    EXPECT_EQ(ToHex(packet.BodyBytes()), c.body);
    for (unsigned int i = 0; i < c.read.size(); ++i) {
      EXPECT_EQ(packet.Value(i), c.read[i]);
      EXPECT_EQ(packet.CarriedValue(i), c.read[i]);
    }
  }
}

TEST(PacketTest, WritesHeads) {
  CDevParameter rf_out(P_RF_OUT, 2, 4, 2, SK_SET);
  rf_out.SetValues(1.0, -20.5);
  CDevCommand run(SK_RUN, 0, 0, 0, 0, 0);
  CDevCommand odd(0x0102, 3, 4, 0x56, 0x78563412, 0x9A90);
  EXPECT_EQ(ToHex({rf_out.Block(), rf_out.Size()}),
            "AA 55 03 00 00 80 0A 00 02 42 00 00 00 00 00 00 0C 00 00 00 01 00 00 80 EB FF");
  EXPECT_EQ(ToHex({run.Block(), run.Size()}), "AA 55 06 00 00 80 00 00 00 00 00 00 00 00 00 00");
  EXPECT_EQ(ToHex({odd.Block(), odd.Size()}), "AA 55 02 01 00 80 04 00 04 56 90 9A 12 34 56 78 00 00 00 00");
  // 300 values: the count is cut to its byte and found again in the length.
  EXPECT_EQ(CDevParameter(P_MODE, 300, 2, 0, SK_GET).ValuesCount(), 300U);
  EXPECT_EQ(CDevParameter(P_MODE, 0x7FFF, 2, 0, SK_GET).CheckStructure(), -1);
}

TEST(PacketTest, JudgesWhatCame) {
  struct Case {
    const char* name;
    const char* packet;
    int structure;
    unsigned int count;
    unsigned int carried;  // the most values that it carries, up to 9
    int parameter = 3;
  };
  const Case cases[] = {
      {"sound", "AA55 0300 0000 0400 0120 0000 00000000 0300 0100", 0, 1, 1},
      {"more than counted", "AA55 0300 0000 0A00 0120 0000 00000000 0300 0100020003000400", 0, 4, 4},
      {"pad that makes one more", "AA55 0300 0000 0600 0310 0000 00000000 0300 01020300", 0, 3, 4},
      {"short set", "AA55 0300 0000 0400 0320 0000 00000000 0300 0100", -1, 1, 1},
      {"short get", "AA55 0400 0000 0400 0320 0000 00000000 0300 0100", 0, 1, 1},
      {"short exec", "AA55 0700 0000 0400 0320 0000 00000000 0300 0100", 0, 1, 1},
      {"other command", "AA55 0600 0000 0400 0120 0000 00000000 0300 0100", -1, 1, 1},
      {"no body", "AA55 0400 0000 0000 0120 0000 00000000", -1, 0, 0, -1},
      {"no element size", "AA55 0300 0000 0400 0100 0000 00000000 0300 0100", -1, 0, 0},
      {"no element size, get", "AA55 0400 0000 0400 0100 0000 00000000 0300 0100", 0, 0, 0},
      {"element of nine", "AA55 0300 0000 0C00 0190 0000 00000000 0300 01020304050607080900", 0, 1, 0},
      {"signature", "55AA 0300 0000 0400 0120 0000 00000000 0300 0100", -1, 1, 1},
      {"block too long", "AA55 0300 0000 0400 0120 0000 00000000 0300 0100 0000", -1, 1, 1},
      {"shorter than a head", "AA55 0300 0000", -1, 0, 0, -1},
      {"nothing", "", -1, 0, 0, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const CDevParameter packet = FromBytes(c.packet);
    EXPECT_EQ(packet.CheckStructure(), c.structure);
    EXPECT_EQ(packet.ValuesCount(), c.count);
    EXPECT_EQ(packet.ParameterID(), c.parameter);
    unsigned int carried = 0;
    while (carried < 9 && packet.CarriesValues(carried + 1)) packet.CarriedValue(carried++);
    EXPECT_EQ(carried, c.carried);
  }
}

TEST(PacketTest, ChecksHeads) {
  struct Case {
    const char* name;
    const char* head;
    int structure;  // with 20 bytes at hand
    int format;     // expected: 1 value of 2.0
  };
  const Case cases[] = {
      {"good", "AA55 0300 0000 0400 0120", 0, 0},
      {"signature first", "55AA 0300 0000 0500 0120", SK_SIGNATURE_ERROR, 0},
      {"odd", "AA55 0300 0000 0300 0120", SK_SIZE_ERROR, SK_SMALL_SIZE},
      {"too long", "AA55 0300 0000 0600 0120", SK_SIZE_ERROR, 0},
      {"far too long", "AA55 0300 0000 FEFF 0120", SK_SIZE_ERROR, 0},
      {"small set", "AA55 0300 0000 0200 0120", SK_SMALL_SIZE, SK_SMALL_SIZE},
      {"small get", "AA55 0400 0000 0000 0120", SK_SMALL_SIZE, SK_SMALL_SIZE},
      {"other size", "AA55 0300 0000 0400 0140", 0, SK_PARAMETER_INCORRECT},
      {"other fraction", "AA55 0300 0000 0400 0121", 0, SK_PARAMETER_INCORRECT},
      {"fewer values", "AA55 0300 0000 0400 0020", 0, SK_PARAMETER_INCORRECT},
      {"more values", "AA55 0400 0000 0600 0220", SK_SIZE_ERROR, SK_PARAMETER_IGNORED},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const CDevParameter packet = FromBytes(std::string(c.head) + " 0000 00000000");
    EXPECT_EQ(packet.Head()->Check(20), c.structure);
    EXPECT_EQ(packet.Head()->Check(1, 2, 0, true), c.format);
  }
  CHead head;
  head.SetFlags(0x102, 6, 0x12);
  EXPECT_EQ(head.Flags, 0x6202);
  EXPECT_EQ(head.Check(-1, -1, -1, false), 0);
  head.SpareWord = 1;
  head.SpareLong = 2;
  CHead copy;
  copy = head;
  EXPECT_EQ(copy.SpareWord, 0);
  EXPECT_EQ(copy.SpareLong, 2U);
}

TEST(PacketTest, CopiesAndResizes) {
  CDevParameter packet(P_MODE, 1, 2, 0, SK_SET);
  packet.SetValue(0, 9);
  packet.SetTimeOut(77);
  const std::unique_ptr<CBasePacket> copy(packet.CopyPacket());
  const auto* const parameter = dynamic_cast<CDevParameter*>(copy.get());
  ASSERT_NE(parameter, nullptr);
  EXPECT_EQ(parameter->Value(0), 9);
  EXPECT_EQ(parameter->GetTimeOut(), 77U);
  EXPECT_TRUE(parameter->Allocated());
  const std::unique_ptr<CDataBlock> block(packet.CDataBlock::Copy());
  EXPECT_EQ(CDevCommand(block.get()).GetTimeOut(), kDefaultTimeOut);

  EXPECT_EQ(packet.SetBlockSize(20), 0);
  EXPECT_EQ(packet.Value(0), 9);
  packet.SetBlockSize(22);
  EXPECT_EQ(ToHex({packet.Block(), packet.Size()}), ToHex(test::Bytes(22)));
}

TEST(PacketTest, ReadsTheOddFormats) {
  const auto data = FromHex("00 FE FF 03 00 FD");
  EXPECT_EQ(CDevCommand::ReadComplexValue(data.data(), 1, 0, true, 2, 0), -2);
  EXPECT_EQ(CDevCommand::ReadComplexValue(data.data(), 1, 1, false, 2, 1), 3.0 / 256);
  // Mantissa -2, exponent 3; then mantissa 0, exponent -3.
  EXPECT_EQ(CDevCommand::ReadSorvFloatValue(data.data(), 1, 0, 1, 2), -16);
  EXPECT_EQ(CDevCommand::ReadSorvFloatValue(data.data(), 3, 0, 1, 1), 3);
  const CDevParameter packet = FromBytes("AA55 0300 0000 0600 0221 0000 00000000 0300 00FF 00FE");
  EXPECT_EQ(packet.ReadComplexValue(2, 1, false, 0, 0), -2);
  EXPECT_EQ(packet.ReadComplexValue1(2, 1, false, 0, 0), 254);
  EXPECT_EQ(packet.ReadComplexValue1(2, 1, true, 0, 0), -2);
  EXPECT_EQ(packet.ReadComplexValue1(2, 7, true, 0, 0), 0);
}

TEST(PacketDeathTest, AssertsItsOwnUse) {
  CDevParameter packet(P_MODE, 1, 2, 0, SK_SET);
  const auto command = [](unsigned short number) { CDevParameter(P_MODE, 1, 2, 0, number); };
  EXPECT_DEATH(packet.Value(1), "Некорректный индекс поля параметра(.|\n)*line 487");
  EXPECT_DEATH(packet.SetValue(1, 0), "index >= 0 && index < ValuesCount(.|\n)*line 496");
  EXPECT_DEATH(packet.ReadComplexValue(2, 1, false, 2, 0), "слишком велик(.|\n)*line 362");
  EXPECT_DEATH(CDevCommand::ReadComplexValue(packet.Body(), 0, 0, false, 0, 0), "count .0.(.|\n)*line 330");
  EXPECT_DEATH(CDevCommand(SK_RUN, 2, 0, 0, 0, 0).ReadComplexValue1(0, 0, false, 0, 0), "line 309");
  EXPECT_DEATH(command(SK_RUN), "Некорректная команда(.|\n)*nCommand == SK_SET(.|\n)*line 411");
}

}  // namespace
