// The exported session functions: sessions opened, used and closed in any order.
#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "tests/e2e/Sessions.h"

namespace test {
namespace {

TEST(Session, OpensByName) {
  const struct {
    const char* name;
    std::string resource;
    long status;
  } cases[] = {
      {"good", "SIM1::INSTR::ZLT", VI_SUCCESS},
      {"text after the suffix is dropped", "SIM2::INSTR::ZLT::INSTR", VI_SUCCESS},
      {"without the suffix", "SIM3::INSTR", VI_ERROR_INV_OBJECT},
      {"suffix in lower case", "SIM3::INSTR::zlt", VI_ERROR_INV_OBJECT},
      {"empty", "", VI_ERROR_INV_OBJECT},
      {"255 characters", "SIM4::INSTR::ZLT" + std::string(239, 'x'), VI_SUCCESS},
      {"256 characters", "SIM3::INSTR::ZLT" + std::string(240, 'x'), VI_ERROR_INV_RSRC_NAME},
      {"10000 characters", "SIM3::INSTR::ZLT" + std::string(9984, 'x'), VI_ERROR_INV_RSRC_NAME},
      {"silent instrument, time to find out", "SIM5::silent=0::INSTR::ZLT", VI_ERROR_RSRC_NFOUND},
      {"broken link", "SIM6::lost=0::INSTR::ZLT", VI_ERROR_RSRC_NFOUND},
      {"no generator", "SIM7::status=0x8003@0::INSTR::ZLT", VI_ERROR_RAW_RD_PROT_VIOL},
  };
  std::vector<std::future<void>> openings;
  for (const auto& row : cases) {
    openings.push_back(std::async(std::launch::async, [&row] {
      SCOPED_TRACE(row.name);
      const auto start = Clock::now();
      unsigned long session = 4711;
      EXPECT_EQ(skOpen(4711, row.resource.c_str(), 4711, 60000, &session), row.status);
      if (row.status == VI_SUCCESS) {
        EXPECT_NE(session, 4711UL);
        EXPECT_EQ(skClose(session), VI_SUCCESS);
      } else {
        EXPECT_EQ(session, 4711UL);
      }
      EXPECT_GE(SecondsSince(start), 1.0);  // closing takes that long, a failed opening too
    }));
  }
  for (auto& opening : openings) opening.get();
  EXPECT_EQ(Held(3, "packets"), "-");
  for (const int instrument : {1, 2, 4, 5, 6, 7}) EXPECT_EQ(Held(instrument, "links"), "0");
}

TEST(Session, RefusesWhatIsNull) {
  try {
    unsigned long session = 0;
    skOpen(0, nullptr, 0, 1000, &session);
    ADD_FAILURE();
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "basic_string::_M_construct null not valid");
  }
  EXPECT_THROW(skOpen(0, nullptr, 0, 1000, nullptr), std::logic_error);
  EXPECT_EQ(skOpen(0, "SIM8::INSTR::ZLT", 0, 10000, nullptr), VI_ERROR_INV_OBJECT);
  EXPECT_EQ(Held(8, "packets"), "-");

  const unsigned long session = Open(Simulator(9));
  std::string text = ":FREQ?\n";
  auto* bytes = reinterpret_cast<unsigned char*>(text.data());
  EXPECT_EQ(skWrite(session, nullptr, 10, nullptr), VI_SUCCESS);
  EXPECT_EQ(skWrite(session, bytes, text.size(), nullptr), VI_SUCCESS);
  unsigned long count = 4711;
  EXPECT_EQ(skRead(session, nullptr, 10, &count), VI_ERROR_TMO);
  EXPECT_EQ(count, 0UL);
  EXPECT_EQ(skRead(session, bytes, 1, nullptr), VI_SUCCESS_MAX_CNT);
  std::array<unsigned char, 100> rest{};
  EXPECT_EQ(skRead(session, rest.data(), (1UL << 32U) + 1, nullptr), VI_SUCCESS_TERM_CHAR);
  EXPECT_EQ(skGetAttribute(session, VI_ATTR_TMO_VALUE, nullptr), VI_ERROR_NSUP_ATTR_STATE);
  EXPECT_EQ(skSetAttribute(session, VI_ATTR_TERMCHAR, 0), VI_ERROR_NSUP_ATTR_STATE);
  EXPECT_EQ(skClose(session), VI_SUCCESS);
}

TEST(Session, UnknownHandles) {
  const unsigned long open = Open(Simulator(10));
  const unsigned long closed = Open(Simulator(11));
  EXPECT_EQ(skClose(closed), VI_SUCCESS);
  for (const unsigned long handle : {0UL, closed, open | 1UL << 32U, ~0UL}) {
    SCOPED_TRACE(handle);
    unsigned char byte = 0;
    unsigned long count = 4711;
    std::int32_t value = 4711;
    EXPECT_EQ(skWrite(handle, &byte, 1, &count), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(skRead(handle, &byte, 1, &count), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(skGetAttribute(handle, VI_ATTR_TMO_VALUE, &value), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(skSetAttribute(handle, VI_ATTR_TMO_VALUE, 5), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(skClose(handle), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(count, 4711UL);
    EXPECT_EQ(value, 4711);
  }
  EXPECT_EQ(skClose(open), VI_SUCCESS);
}

TEST(Session, Stubs) {
  unsigned long manager = 4711;
  EXPECT_EQ(static_cast<unsigned long>(skOpenDefaultRM(&manager)), 0xFFFFFFFFBFFF0000UL);
  EXPECT_EQ(static_cast<unsigned long>(skGetDefaultRM(&manager)), 0xFFFFFFFFBFFF0000UL);
  EXPECT_EQ(manager, 4711UL);
  EXPECT_EQ(static_cast<unsigned long>(skReadSTB(1, nullptr)), 0xFFFFFFFFBFFF0081UL);
  EXPECT_EQ(skQueryf(1, nullptr, nullptr, 1, 2.0), VI_ERROR_NIMPL_OPER);
  EXPECT_EQ(skMoveAsyncEx(1, 0, 0, 0, 0, 0, 0, 0, nullptr), VI_ERROR_NIMPL_OPER);
  unsigned long word = 4711;
  skPoke64(1, &word, 1);
  EXPECT_EQ(word, 4711UL);
}

TEST(Session, WhatWasAcknowledgedBeforeClosingTakesEffect) {
  const unsigned long session = Open(Simulator(12, "latency=20"));
  std::string messages;
  for (int i = 1; i <= 50; ++i) messages += ":FREQ " + std::to_string(1000000000 + i) + "\n";
  EXPECT_EQ(Write(session, messages + ":OUTP ON\n"), messages.size() + 9);
  EXPECT_EQ(skClose(session), VI_SUCCESS);
  EXPECT_EQ(Held(12, "P_FREQUENCY").substr(0, 10), "1000000050");
  EXPECT_EQ(Held(12, "P_RF_OUT2").substr(0, 1), "1");
  EXPECT_EQ(Held(12, "links"), "0");
}

TEST(Session, ARunIsEndedByClosing) {
  const unsigned long session = Open(Simulator(13));
  for (const char* message : {":FREQ:MODE SWE\n", ":TRIG:SOUR EXT\n", ":INIT\n"}) Write(session, message);
  EXPECT_EQ(simControl("SIM13 await=held"), 0);
  const auto start = Clock::now();
  EXPECT_EQ(skClose(session), VI_SUCCESS);
  EXPECT_GE(SecondsSince(start), 2.5);  // one second for the interpreter, one and a half for the run
  EXPECT_LT(SecondsSince(start), 9.0);
  EXPECT_EQ(Held(13, "held"), "0");
  EXPECT_EQ(Held(13, "links"), "0");
}

TEST(Session, SixteenAtATime) {
  constexpr int kCount = 16;
  std::array<unsigned long, kCount> handles{};
  const auto start = Clock::now();
  std::vector<std::future<std::string>> talks;
  for (int i = 0; i < kCount; ++i) {
    talks.push_back(std::async(std::launch::async, [&handles, i] {
      const unsigned long session = handles[static_cast<std::size_t>(i)] = Open(Simulator(20 + i));
      std::string wrong;
      for (int round = 0; round < 20; ++round) {
        const std::string frequency = std::to_string(1000000000 + 100 * i + round);
        Write(session, ":FREQ " + frequency + ";:FREQ?\n");
        const std::string answer = Read(session);
        if (answer != frequency + "\n") wrong += answer;
      }
      return wrong;
    }));
  }
  for (auto& talk : talks) EXPECT_EQ(talk.get(), "");
  EXPECT_EQ(std::set<unsigned long>(handles.begin(), handles.end()).size(), handles.size());
  std::shuffle(handles.begin(), handles.end(), std::mt19937(4711));
  std::vector<std::future<long>> closings;
  for (const unsigned long handle : handles) {
    for (int i = 0; i < 2; ++i)
      closings.push_back(std::async(std::launch::async, [handle] { return skClose(handle); }));
  }
  int closed = 0;
  for (auto& closing : closings) closed += closing.get() == VI_SUCCESS ? 1 : 0;
  EXPECT_EQ(closed, kCount);  // of two threads that close a session, one succeeds
  EXPECT_LT(SecondsSince(start), 15.0);
  for (int i = 0; i < kCount; ++i) EXPECT_EQ(Held(20 + i, "links"), "0");
}

TEST(Session, ClosingLetsReadersOut) {
  const unsigned long session = Open(Simulator(40));
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 0xFFFFFFFF);
  Write(session, ":FREQ?\n");
  EXPECT_NE(Read(session), "");
  Write(session, ":FREQ 1GHZ\n");  // answers nothing
  std::vector<std::future<std::string>> readers;
  for (int i = 0; i < 3; ++i) readers.push_back(std::async(std::launch::async, [session] { return Read(session); }));
  for (auto& reader : readers) EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  EXPECT_EQ(skClose(session), VI_SUCCESS);
  for (auto& reader : readers) EXPECT_EQ(reader.get(), "status " + std::to_string(VI_ERROR_INV_OBJECT));
}

TEST(Session, TakesTextInAnyPortions) {
  const unsigned long session = Open(Simulator(41));
  for (const char c : std::string(":FREQ 1.5 GHZ;:FREQ?\n")) EXPECT_EQ(Write(session, std::string(1, c)), 1UL);
  EXPECT_EQ(Read(session), "1500000000\n");
  std::string longest;
  while (longest.size() < 160130) longest += "*CLS;";
  EXPECT_EQ(Write(session, longest + ":FREQ?\n"), longest.size() + 7);
  EXPECT_EQ(Read(session), "1500000000\n");
  // More than the ring holds: the rest is dropped with its line end, and the ring takes nothing more.
  EXPECT_EQ(Write(session, std::string(200000, 'A') + "\n"), 160144UL);
  EXPECT_EQ(Write(session, "\n"), 0UL);
  EXPECT_EQ(skClose(session), VI_SUCCESS);
}

}  // namespace
}  // namespace test
