// Writes generated text to a session over the simulated generator, for as long as asked: broken headers, numbers,
// blocks, quotes, NUL and 8-bit bytes, half messages. After each burst the session has to take a message and answer it.
// Prints the seed of a failure, so that it can be repeated.
//
//   session_fuzz [SECONDS [SEED]]
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "scpi_zlt/scpi_zlt.h"

namespace {

using Random = std::mt19937;

const char* const kPieces[] = {"*IDN",    "*RST",
                               "*CLS",    "*STB",
                               "*ESR",    "*OPC",
                               ":FREQ",   "FREQUENCY",
                               ":SOUR",   ":POW",
                               ":LEV",    ":MODE",
                               ":STAR",   ":STOP",
                               ":SWE",    ":POIN",
                               ":STEP",   ":DWEL",
                               ":SPAC",   ":LIST",
                               ":TRIG",   ":SOUR",
                               ":SLOP",   ":AUX",
                               ":INT",    ":DUR",
                               ":PULM",   ":STAT",
                               ":PER",    ":PWID",
                               ":TRA",    ":ONT",
                               ":ABOR",   ":OUTP",
                               ":UNIT",   ":ROSC",
                               ":EXT",    ":PHAS",
                               ":AM",     ":SYST",
                               ":ERR",    ":COUN",
                               ":VERS",   "?",
                               " ",       "  ",
                               ",",       ";",
                               ";;",      ":",
                               "\t",      "\r",
                               "\"",      "'",
                               "#",       "#15",
                               "#0",      "#9",
                               "#21",     "hello",
                               "1",       "-1",
                               "1e9",     "1GHZ",
                               "1.5 GHZ", "1e400",
                               "1e-400",  "nan",
                               "inf",     "-inf",
                               "0x10",    "+",
                               "-",       ".",
                               "MIN",     "MAX",
                               "DEF",     "ON",
                               "OFF",     "BUS",
                               "IMM",     "EXT",
                               "LOG",     "LIN",
                               "FIX",     "SWEEP",
                               "LIST",    "MHZ",
                               "DBM",     "S",
                               "NS",      "\x80",
                               "\xff",    "12345678901234567890"};

std::string Burst(Random& random) {
  std::string text;
  const int messages = 1 + static_cast<int>(random() % 8);
  for (int m = 0; m < messages; ++m) {
    const int pieces = static_cast<int>(random() % 12);
    for (int p = 0; p < pieces; ++p) {
      if (random() % 40 == 0) {
        text += static_cast<char>(random() % 256);
      } else {
        text += kPieces[random() % std::size(kPieces)];
      }
    }
    text += '\n';
  }
  // No block that says it is longer than the ring: it would end the session's conversation for good, as it should.
  for (std::size_t at = text.find('#'); at < text.size() - 1; at = text.find('#', at + 1)) {
    if (text[at + 1] >= '3' && text[at + 1] <= '9') text[at + 1] = '2';
  }
  return text;
}

void Fail(unsigned seed, const char* what) {
  std::fprintf(stderr, "seed %u: %s\n", seed, what);
  std::exit(1);
}

class Session {
 public:
  explicit Session(unsigned seed) : m_seed(seed) {
    if (skOpen(0, "SIM0::INSTR::ZLT", 0, 20000, &m_session) != VI_SUCCESS) Fail(seed, "does not open");
    // A setting during a sweep takes two and a half seconds.
    skSetAttribute(m_session, VI_ATTR_TMO_VALUE, 60000);
  }
  ~Session() { skClose(m_session); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void Write(std::string text) {
    unsigned long written = 0;
    if (skWrite(m_session, reinterpret_cast<unsigned char*>(text.data()), text.size(), &written) != VI_SUCCESS) {
      Fail(m_seed, "a write fails");
    }
  }

  /// Reads until the answer to a last query is there; everything before it belongs to the burst.
  void ExpectAlive() {
    // The burst may have left a block or a quote open: a long run of line ends closes every block of up to two digits.
    Write(std::string(128, '\n'));
    Write(":ABOR\n:SYST:VERS?\n");
    std::string text;
    for (int reads = 0; reads < 4096; ++reads) {
      std::array<unsigned char, 65536> piece{};
      unsigned long count = 0;
      if (skRead(m_session, piece.data(), piece.size(), &count) == VI_ERROR_TMO) Fail(m_seed, "no answer");
      text.append(reinterpret_cast<const char*>(piece.data()), count);
      if (text.ends_with("\"1999.0\"\n")) return;
    }
    Fail(m_seed, "the answer does not come");
  }

 private:
  unsigned m_seed;
  unsigned long m_session = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const long seconds = argc > 1 ? std::atol(argv[1]) : 10;
  unsigned seed = argc > 2 ? static_cast<unsigned>(std::atol(argv[2])) : 1;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  long bursts = 0;
  for (; std::chrono::steady_clock::now() < end; ++seed) {
    Random random(seed);
    Session session(seed);
    for (int i = 0; i < 200 && std::chrono::steady_clock::now() < end; ++i, ++bursts) {
      const std::string text = Burst(random);
      if (random() % 4 == 0) {
        for (const char c : text) session.Write(std::string(1, c));
      } else {
        session.Write(text);
      }
      session.ExpectAlive();
    }
  }
  std::printf("%ld bursts, no failure\n", bursts);
  return 0;
}
