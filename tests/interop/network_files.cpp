// Reads and writes Touchstone files for scikit_rf.py, by the exact functions and by the modern layer.
//   network_files read exact|modern FILE     prints a line per row: frequency and values; noise rows after "noise"
//   network_files write exact|modern IN OUT dB|MA|RI
#include <cstdio>
#include <filesystem>
#include <string>

#include "scpi_zlt/datafiles.h"
#include "scpi_zlt/touchstone.h"

namespace {

void Print(const CSimpleMatrix& matrix, const char* head) {
  for (unsigned int row = 0; row < matrix.Rows(); ++row) {
    std::printf("%s", head);
    for (unsigned int column = 0; column < matrix.Cols(); ++column) {
      std::printf(" %.17g", matrix.GetValue(column, row));
    }
    std::printf("\n");
  }
}

int Exact(const std::string& what, char** names) {
  CSimpleMatrix matrix;
  CSimpleMatrix noise;
  const std::filesystem::path in(names[0]);
  const int loaded = LoadTouchstone(in.wstring().c_str(), &matrix, nullptr, nullptr, &noise);
  if (loaded != 0 || what == "read") {
    Print(matrix, "data");
    Print(noise, "noise");
    return -loaded;
  }
  const std::filesystem::path out(names[1]);
  const std::string format = names[2];
  const auto number = format == "dB" ? kTouchstoneDb : format == "MA" ? kTouchstoneMa : kTouchstoneRi;
  return -SaveTouchstone(out.wstring().c_str(), &matrix, L"network_files", noise.Rows() != 0 ? &noise : nullptr,
                         number);
}

int Modern(const std::string& what, char** names) {
  const scpi_zlt::Network network = scpi_zlt::ReadTouchstone(names[0]);
  if (what == "write") {
    const std::string format = names[2];
    using Format = scpi_zlt::SParameterFormat;
    const Format number = format == "dB"   ? Format::kDecibelAngle
                          : format == "MA" ? Format::kMagnitudeAngle
                                           : Format::kRealImaginary;
    scpi_zlt::WriteTouchstone(names[1], network, {number, scpi_zlt::FrequencyUnit::kMegahertz});
    return 0;
  }
  for (std::size_t point = 0; point < network.Points(); ++point) {
    std::printf("data %.17g", network.frequency_hz[point]);
    for (std::size_t i = 0; i < network.ports * network.ports; ++i) {
      const std::size_t to = i / network.ports + 1;
      const std::size_t from = i % network.ports + 1;
      const auto& value = network.ports == 2 ? network.At(point, from, to) : network.At(point, to, from);
      std::printf(" %.17g %.17g", value.real(), value.imag());
    }
    std::printf("\n");
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    return 64;
  }
  return std::string(argv[2]) == "exact" ? Exact(argv[1], argv + 3) : Modern(argv[1], argv + 3);
}
