// Data files as ratios within one run: reading against std::from_chars over the same bytes in memory, writing against
// std::to_chars of the same numbers into memory, memory against the matrix, and all of it against an independent reader
// (python3-scikit-rf under /usr/bin/python3, when it is installed). Best of several turns of each, turns interleaved.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>

#include "scpi_zlt/touchstone.h"

namespace {

constexpr int kTurns = 7;

const std::filesystem::path& Folder() {
  static const std::filesystem::path folder = [] {
    char name[] = "/tmp/datafiles_bench.XXXXXX";
    return std::filesystem::path(mkdtemp(name));
  }();
  return folder;
}

std::wstring Name(const char* file) {
  return (Folder() / file).wstring();
}

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Pair {
  double measured;
  double bound;
};

Pair Best(const std::function<void()>& measured, const std::function<void()>& bound) {
  Pair best{1e9, 1e9};
  for (int turn = 0; turn < kTurns; ++turn) {
    best.bound = std::min(best.bound, Seconds(bound));
    best.measured = std::min(best.measured, Seconds(measured));
  }
  return best;
}

bool g_missed = false;

void Print(const char* what, double ratio, double goal, const char* detail) {
  g_missed = g_missed || ratio > goal;
  std::printf("%-48s %6.2f   goal <= %.0f   %s   %s\n", what, ratio, goal, ratio > goal ? "MISSED" : "ok", detail);
}

void Print(const char* what, const Pair& pair, double goal) {
  char detail[64];
  std::snprintf(detail, sizeof detail, "(%.1f ms / %.1f ms)", pair.measured * 1e3, pair.bound * 1e3);
  Print(what, pair.measured / pair.bound, goal, detail);
}

std::string Bytes(const char* file) {
  std::ifstream stream(Folder() / file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The bound of reading: every number of the text, once.
double SumOfNumbers(const std::string& bytes) {
  double sum = 0.0;
  const char* p = bytes.data();
  const char* const end = p + bytes.size();
  while (p != end) {
    double value = 0.0;
    const auto result = std::from_chars(p, end, value);
    sum += value;
    p = result.ec == std::errc() ? result.ptr : p + 1;
  }
  return sum;
}

/// The bound of writing: every number of the matrix, with the digits that the file has.
std::size_t FormatAll(const CSimpleMatrix& matrix, std::string& out) {
  char* p = out.data();
  for (unsigned int row = 0; row < matrix.Rows(); ++row) {
    for (unsigned int column = 0; column < matrix.Cols(); ++column) {
      p = std::to_chars(p, p + 32, matrix.ColumnData(column)[row], std::chars_format::general, column == 0 ? 13 : 12)
              .ptr;
    }
  }
  return static_cast<std::size_t>(p - out.data());
}

CSimpleMatrix Generated(unsigned int columns, unsigned int rows) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> values(-1.0, 1.0);
  CSimpleMatrix matrix;
  matrix.SetSize(columns, rows);
  for (unsigned int row = 0; row < rows; ++row) {
    for (unsigned int column = 0; column < columns; ++column) {
      matrix.SetValue(column, row, column == 0 ? 1e7 + row * 2e5 : values(random));
    }
  }
  return matrix;
}

/// The number that a command prints; 0 when it fails.
double Answer(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  double number = 0.0;
  const bool read = pipe != nullptr && std::fscanf(pipe, "%lf", &number) == 1;
  const bool good = pipe != nullptr && pclose(pipe) == 0;
  return read && good ? number : 0.0;
}

/// Peak memory of this program in a process of its own, in bytes.
double PeakBytes(const char* what, const std::string& file) {
  return Answer(std::filesystem::read_symlink("/proc/self/exe").string() + " " + what + " " + file) * 1024.0;
}

/// Run by PeakBytes in a process of its own: loads a file or does nothing, then prints the peak in KiB.
int PrintPeak(const std::string& what, const std::filesystem::path& file) {
  CSimpleMatrix matrix;
  if (what == "--load" && LoadCustomMatrixFromFile(&matrix, file.wstring().c_str(), nullptr, kMatrixCsv, false) != 0) {
    return 1;
  }
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) {
      std::puts(line.c_str() + 6);
    }
  }
  return 0;
}

/// Seconds that the independent reader needs for a file; 0 when it is not installed. It prints other text too.
double IndependentSeconds(const char* file) {
  const std::string command =
      "/usr/bin/python3 -W ignore -c 'import sys, time, skrf\n"
      "best = 1e9\n"
      "for i in range(3):\n"
      "  start = time.perf_counter()\n"
      "  skrf.Network(\"" +
      (Folder() / file).string() +
      "\")\n"
      "  best = min(best, time.perf_counter() - start)\n"
      "print(best, file=sys.stderr)' 2>&1 >/dev/null";
  return Answer(command);
}

void TwoPort() {
  CSimpleMatrix matrix = Generated(9, 100'000);
  const std::wstring name = Name("n.s2p");
  std::string out(matrix.Rows() * matrix.Cols() * std::size_t{32}, '\0');
  std::size_t formatted = 0;
  const Pair write = Best([&] { SaveTouchstone(name.c_str(), &matrix, nullptr, nullptr, kTouchstoneRi); },
                          [&] { formatted += FormatAll(matrix, out); });
  const std::string bytes = Bytes("n.s2p");
  CSimpleMatrix loaded;
  double sum = 0.0;
  const Pair read = Best([&] { LoadTouchstone(name.c_str(), &loaded, nullptr, nullptr, nullptr); },
                         [&] { sum += SumOfNumbers(bytes); });
  if (loaded.Rows() != matrix.Rows() || formatted == 0 || std::isnan(sum)) {
    std::puts("two-port file: not read back");
    g_missed = true;
  }
  Print("read two-port, 100,000 rows, RI / from_chars", read, 3);
  Print("write two-port, 100,000 rows, RI / to_chars", write, 4);
  const double independent = IndependentSeconds("n.s2p");
  if (independent == 0.0) {
    std::puts("independent reader: python3-scikit-rf is not installed, not compared");
    return;
  }
  const double times = independent / read.measured;
  g_missed = g_missed || times < 9.0;
  std::printf("%-48s %6.1f   goal >= 9   %s   (%.0f ms / %.1f ms)\n", "independent reader / read two-port", times,
              times < 9.0 ? "MISSED" : "ok", independent * 1e3, read.measured * 1e3);
}

void CsvMatrix() {
  const std::wstring name = Name("m.csv");
  {
    const CSimpleMatrix matrix = Generated(10, 100'000);
    SaveCustomMatrixToFile(&matrix, name.c_str(), nullptr, kMatrixCsv);
  }
  double sum = 0.0;
  CSimpleMatrix loaded;
  {
    const std::string bytes = Bytes("m.csv");
    const Pair read = Best([&] { LoadCustomMatrixFromFile(&loaded, name.c_str(), nullptr, kMatrixCsv, false); },
                           [&] { sum += SumOfNumbers(bytes); });
    Print("read CSV, 1,000,000 values / from_chars", read, 3);
  }
  const double matrix_bytes = 8.0 * loaded.Cols() * loaded.Rows();
  loaded = CSimpleMatrix();
  constexpr double kFixed = 2 << 20;
  const std::string file = (Folder() / "m.csv").string();
  const double peak = PeakBytes("--load", file) - PeakBytes("--idle", file);
  char detail[96];
  std::snprintf(detail, sizeof detail, "(%.1f MB less 2 MiB fixed / %.1f MB)", peak / 1e6, matrix_bytes / 1e6);
  Print("memory while reading / the matrix", (peak - kFixed) / matrix_bytes, 2, detail);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3) {
    return PrintPeak(argv[1], argv[2]);
  }
  CsvMatrix();
  TwoPort();
  std::filesystem::remove_all(Folder());
  return g_missed ? 1 : 0;
}
