#include <gtest/gtest.h>
#include <string>

#include "scpi_core/sStatusReg.h"

namespace {

std::string Shown(sStatusReg& reg) {
  std::string text(8, ' ');
  reg.ShowStatusByte(text.data());
  return text;
}

TEST(StatusRegisters, GuardAndUnknownRegistersChangeNothing) {
  sStatusReg reg;
  reg.SetRegBit(3, 2, false);
  reg.SetRegBit(4, 2, true);
  reg.SetRegBit(3, -1, true);
  reg.SetRegBit(3, 8, true);
  reg.SetRegBit(0, 9, true);
  EXPECT_EQ(reg.status_byte, 0);
  EXPECT_EQ(reg.standard_event, 0);
  reg.SetRegBit(3, 2, true);
  reg.ClrRegBit(3, 2, false);
  reg.ClrReg(3, false);
  EXPECT_EQ(reg.status_byte, 4);
}

TEST(StatusRegisters, ClearingOperationClearsTheStatusByteToo) {
  sStatusReg reg;
  reg.SetRegBit(2, 3, true);
  reg.SetRegBit(3, 3, true);
  reg.SetRegBit(3, 5, true);
  reg.ClrRegBit(2, 3, true);
  EXPECT_EQ(reg.operation, 0);
  EXPECT_EQ(reg.status_byte, 0x20);
  reg.ClrReg(2, true);
  EXPECT_EQ(reg.status_byte, 0);
}

TEST(StatusRegisters, SummariesOnlyEverSet) {
  struct {
    short reg, bit;
    int summary;
  } const cases[] = {{0, 5, 0x20}, {0, 7, 0x20}, {1, 0, 0x08}, {1, 14, 0x08}, {1, 15, 0}, {2, 14, 0x80}, {2, 15, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reg * 100 + c.bit);
    sStatusReg reg;
    reg.SetRegBit(c.reg, c.bit, true);
    reg.SetStatusByteBits(false);
    EXPECT_EQ(reg.status_byte, 0);
    reg.SetStatusByteBits(true);
    EXPECT_EQ(reg.status_byte, c.summary);
    if (c.reg != 2) {
      reg.ClrReg(c.reg, true);
      EXPECT_EQ(reg.status_byte, c.summary);
    }
  }
}

TEST(StatusRegisters, ShowingClears) {
  sStatusReg reg;
  reg.status_byte = 0x21;
  EXPECT_EQ(Shown(reg), "10000100");
  EXPECT_EQ(Shown(reg), "00000000");
  reg.standard_event = 0x81;
  std::string text(8, ' ');
  reg.ShowStandardEventByte(text.data());
  EXPECT_EQ(text, "10000001");
  EXPECT_EQ(reg.standard_event, 0);
}

}  // namespace
