// A program's side of sessions: the shared library over the simulated generator, on real time. Each test uses
// instruments of its own numbers.
#pragma once

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <string>

#include "scpi_zlt/scpi_zlt.h"

#include "simulator/control.h"

namespace test {

using Clock = std::chrono::steady_clock;

inline double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

inline unsigned long Open(const std::string& resource) {
  unsigned long session = 0;
  EXPECT_EQ(skOpen(0, (resource + "::ZLT").c_str(), 0, 20000, &session), VI_SUCCESS) << resource;
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 20000);
  return session;
}

inline unsigned long Write(unsigned long session, std::string text) {
  unsigned long written = 0;
  EXPECT_EQ(skWrite(session, reinterpret_cast<unsigned char*>(text.data()), text.size(), &written), VI_SUCCESS);
  return written;
}

inline std::string Read(unsigned long session) {
  std::array<unsigned char, 1000> buffer{};
  unsigned long count = 0;
  const long status = skRead(session, buffer.data(), buffer.size(), &count);
  if (status != VI_SUCCESS_TERM_CHAR) return "status " + std::to_string(status);
  return {buffer.begin(), buffer.begin() + static_cast<long>(count)};
}

/// What the instrument itself holds, or "-" if it has not been opened yet.
inline std::string Held(int instrument, const std::string& what) {
  std::array<char, 256> text{};
  const std::string question = "SIM" + std::to_string(instrument) + " " + what;
  return simQuery(question.c_str(), text.data(), text.size()) < 0 ? "-" : text.data();
}

inline std::string Simulator(int instrument, const std::string& keys = "") {
  return "SIM" + std::to_string(instrument) + (keys.empty() ? "" : "::" + keys) + "::INSTR";
}

}  // namespace test
