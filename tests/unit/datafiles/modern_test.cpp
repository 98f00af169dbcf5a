// The modern layer: what it reads, what it refuses and how it says so, and that what it writes reads back.
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "scpi_zlt/datafiles.h"

#include "tests/unit/datafiles/Files.h"

using namespace datafiles_test;
using namespace scpi_zlt;

namespace {

std::string Numbers(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) {
    text += (text.empty() ? "" : " ") + std::string(datafiles::NumberText(value, -1).View());
  }
  return text;
}

/// Numbers of a file, or "line: reason" of the refusal.
std::string Read(const std::filesystem::path& file) {
  try {
    if (!file.extension().string().starts_with(".s")) {
      const Matrix matrix = ReadMatrix(file);
      std::string names;
      for (const std::string& name : matrix.names) names += "<" + name + ">";
      return std::to_string(matrix.columns) + names + ": " + Numbers(matrix.values);
    }
    const Network network = ReadTouchstone(file);
    std::vector<double> values = network.frequency_hz;
    for (const auto& value : network.values) {
      values.insert(values.end(), {value.real(), value.imag()});
    }
    for (const auto& noise : network.noise) {
      values.insert(values.end(), {noise.frequency_hz, noise.minimum_figure_db, noise.gamma_magnitude,
                                   noise.gamma_degrees, noise.resistance});
    }
    return std::to_string(network.ports) + network.parameter + Numbers({network.reference_ohm}) + ": " +
           Numbers(values);
  } catch (const DataFileError& error) {
    return std::to_string(error.Line()) + ": " + error.Reason();
  }
}

TEST(ModernFiles, Read) {
  const std::string enr = "[Filetype ENR]\n[Version 1.0]\n";
  const std::string two = "# Hz S RI R 75\n1 1 2 3 4 5 6 7 8\n";
  struct {
    const char* file;
    std::string text;
    const char* expected;
  } cases[] = {
      {"m.txt", "1,5, 2\n-3 4e5 \r\n", "2: 1.5 2 -3 4e+05"},
      {"m.txt", "1 nan\ninf -4", "2: 1 nan inf -4"},
      {"m.txt", "1 2\n3", "2: 1 values, 2 in the rows before"},
      {"m.txt", "1 2\n\n3 x", "3: not a number: \"x\""},
      {"m.txt", "1e400", "1: not a number: \"1e400\""},
      {"m.txt", "# c\n", "0: no numbers"},
      {"m.csv", "1, 2,3\n", "3: 1 2 3"},
      {"m.csv", "1,,3\n", "1: empty field"},
      {"m.csv", "f / Hz,\"S21, \"\"dB\"\"\"\n1,2\n", "2<f / Hz><S21, \"dB\">: 1 2"},
      {"m.csv", "# c\nf;p\n1,5; 2.5\n3;4\n", "2<f><p>: 1.5 2.5 3 4"},
      {"m.csv", "f;p\n1,5\n", "1: 1.5"},
      {"m.csv", "1,2\n3;4\n", "2: not a number: \"3;4\""},
      {"m.csv", "f,1\n", "1: not a number: \"f\""},
      {"m.csv", "1,2\na,b\n", "2: not a number: \"a\""},
      {"m.csv", "a,b\nc,d\n", "2: not a number: \"c\""},
      {"m.enr", enr + "2 GHz, 15,5\n2000MHz 15\n5 kHz, 1\n7 2\n", "2: 2000 15.5 2000 15 0.005 1 7e-06 2"},
      {"m.enr", "[Filetype ENR]\n[Version 1.1]\n5000000 2\n", "2: 5 2"},
      {"m.enr", enr + "2 THz 5", "3: unknown unit \"THz\""},
      {"m.enr", "[Version 3.0]", "1: unknown version \"[Version 3.0]\""},
      {"m.enr", "1 2", "1: no version line before the numbers"},
      {"n.s1p", "! a\n# MHz S RI R 75 ! tail\n1 2 3 ! x\n", "1S75: 1e+06 2 3"},
      {"n.s1p", "#\n1 2 0\n", "1S50: 1e+09 2 0"},
      {"n.s1p", "# THz S RI\n1 2 0\n", "1S50: 1e+12 2 0"},
      {"n.s2p", two, "2S75: 1 1 2 5 6 3 4 7 8"},
      {"n.s2p", two + "0.5 3 0.5 90 0.2\n", "2S75: 1 1 2 5 6 3 4 7 8 0.5 3 0.5 90 0.2"},
      {"n.s3p", "# Hz Z RI\n1 1 0 2 0 3 0\n4 0 5 0 6 0\n7 0 8 0 9 0\n", "3Z50: 1 1 0 2 0 3 0 4 0 5 0 6 0 7 0 8 0 9 0"},
      {"n.s3p", two, "2: rows of 2 ports in a file named for 3"},
      {"n.s2p", two + "1 1 2 3 4 5 6 7 8\n", "3: the frequency before this line does not rise"},
      {"n.s2p", two + "2 1 2\n", "3: the row before this line has 3 numbers, expected 9"},
      {"n.s2p", "[Version] 2.0\n", "1: keyword of Touchstone 2.0, which is not supported: \"[Version] 2.0\""},
      {"n.s2p", "1 2 3", "1: data before the option line"},
      {"n.s2p", "# Hz S XY\n", "1: unknown word on the option line: \"XY\""},
      {"n.s2p", "# Hz S RI R 0\n", "1: not a reference impedance: \"0\""},
      {"n.s1p", "# Hz S RI\n1 2 nan\n", "2: not a number: \"nan\""},
      {"n.s1p", "# Hz S RI\n1 2 3\n4 5x 6\n", "3: not a number: \"5x\""},
      {"n.s1p", "# Hz S RI\n1 2\n", "2: an even count of numbers where a row with its frequency should begin"},
      {"n.s1p", "# Hz S RI\n", "0: no data"},
      {"n.s1p", "# Hz S DB\n1 1e5 0\n", "2: a value before this line is too large"},
      {"n.s1p", "# GHz S RI\n1e300 1 0\n", "2: the frequency before this line is too large"},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    WriteBytes(folder / c.file, c.text);
    EXPECT_EQ(Read(folder / c.file), c.expected);
  }
  EXPECT_EQ(Read(folder / "missing"), "0: cannot open: No such file or directory");
  EXPECT_EQ(Read("/tmp"), "0: cannot read: Is a directory");
}

TEST(ModernFiles, MatricesComeBack) {
  std::mt19937_64 random(5);
  Folder folder;
  for (const MatrixForm form : {MatrixForm::kPlain, MatrixForm::kCsv, MatrixForm::kEnr}) {
    for (const bool scrambled : {false, true}) {
      Matrix matrix{3, {}, "# \u00e4\n! b"};
      while (matrix.values.size() < 300) {
        matrix.values.push_back(std::bit_cast<double>(random()));
      }
      matrix.values[4] = std::numeric_limits<double>::quiet_NaN();
      matrix.values[5] = -std::numeric_limits<double>::infinity();
      matrix.values[6] = -0.0;
      if (form == MatrixForm::kCsv) matrix.names = {"# f", "a, \"b\"", "\u00e4"};
      const MatrixOptions options{form, scrambled};
      WriteMatrix(folder / "m", matrix, options);
      const Matrix read = ReadMatrix(folder / "m", options);
      EXPECT_EQ(Numbers(read.values), Numbers(matrix.values));
      EXPECT_EQ(read.columns, 3u);
      EXPECT_EQ(read.comment, matrix.comment);
      EXPECT_EQ(read.names, matrix.names);
      const std::string bytes = ReadBytes(folder / "m");
      WriteMatrix(folder / "m", read, options);
      EXPECT_EQ(ReadBytes(folder / "m"), bytes);
    }
  }
}

Network Generated(std::size_t ports, std::mt19937_64& random) {
  std::uniform_real_distribution<double> values(-1.0, 1.0);
  Network network;
  network.ports = ports;
  network.reference_ohm = 75;
  network.comment = "\u00e4\n\nb";
  for (int point = 0; point < 20; ++point) {
    network.frequency_hz.push_back(1e6 * point + std::abs(values(random)));
    for (std::size_t i = 0; i < ports * ports; ++i) {
      network.values.emplace_back(values(random), values(random));
    }
  }
  network.values[0] = 0.0;
  if (ports == 2) {
    network.noise.push_back({5.5e5, 1.5, 0.25, -45, 0.1});
  }
  return network;
}

TEST(ModernFiles, NetworksComeBack) {
  std::mt19937_64 random(6);
  Folder folder;
  for (std::size_t ports = 1; ports <= 6; ++ports) {
    for (const auto format :
         {SParameterFormat::kRealImaginary, SParameterFormat::kMagnitudeAngle, SParameterFormat::kDecibelAngle}) {
      for (const auto unit : {FrequencyUnit::kHz, FrequencyUnit::kGigahertz}) {
        SCOPED_TRACE(ports);
        const Network network = Generated(ports, random);
        const auto file = folder / ("n.s" + std::to_string(ports) + "p");
        WriteTouchstone(file, network, {format, unit});
        const Network read = ReadTouchstone(file);
        ASSERT_EQ(read.Points(), network.Points());
        EXPECT_EQ(read.comment, network.comment);
        EXPECT_EQ(read.reference_ohm, 75);
        EXPECT_EQ(read.noise.size(), network.noise.size());
        EXPECT_EQ(read.values[0], 0.0);
        for (std::size_t i = 0; i < network.values.size(); ++i) {
          const bool exact = format == SParameterFormat::kRealImaginary;
          ASSERT_LE(std::abs(read.values[i] - network.values[i]), exact ? 0.0 : 1e-14);
        }
        for (std::size_t i = 0; i < network.Points(); ++i) {
          ASSERT_LE(std::abs(read.frequency_hz[i] / network.frequency_hz[i] - 1.0),
                    unit == FrequencyUnit::kHz ? 0.0 : 3e-16);
        }
      }
    }
  }
}

TEST(ModernFiles, WhatWouldNotComeBackIsRefusedBeforeAnythingIsWritten) {
  std::mt19937_64 random(7);
  const Network good = Generated(2, random);
  const double nan = std::nan("");
  struct {
    const char* name;
    void (*spoil)(Network&, double);
  } cases[] = {
      {"NaN",
       [](Network& n, double bad) {
         n.values[5] = {0.0, bad};
       }},
      {"overflowing magnitude", [](Network& n, double) { n.values[5] = std::complex(1.5e308, 1.5e308); }},
      {"falling", [](Network& n, double) { n.frequency_hz[3] = 1; }},
      {"equal", [](Network& n, double) { n.frequency_hz[3] = n.frequency_hz[2]; }},
      {"NaN frequency", [](Network& n, double bad) { n.frequency_hz[0] = bad; }},
      {"sizes", [](Network& n, double) { n.values.pop_back(); }},
      {"ports", [](Network& n, double) { n.ports = 0; }},
      {"noise above the data", [](Network& n, double) { n.noise[0].frequency_hz = 1e9; }},
      {"noise that does not rise", [](Network& n, double) { n.noise.push_back(n.noise[0]); }},
      {"noise", [](Network& n, double bad) { n.noise[0].resistance = bad; }},
      {"impedance", [](Network& n, double) { n.reference_ohm = 0; }},
      {"parameter", [](Network& n, double) { n.parameter = 'T'; }},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Network bad = good;
    c.spoil(bad, nan);
    EXPECT_THROW(WriteTouchstone(folder / "n.s2p", bad, {SParameterFormat::kMagnitudeAngle}), DataFileError);
    EXPECT_FALSE(std::filesystem::exists(folder / "n.s2p"));
  }
  EXPECT_THROW(WriteTouchstone(folder / "n.s1p", good), DataFileError);
  Network large = good;
  large.values[5] = {1.5e308, 1.5e308};
  EXPECT_NO_THROW(WriteTouchstone(folder / "n.s2p", large));  // as real and imaginary part it fits
  EXPECT_THROW(WriteMatrix(folder / "m", Matrix{2, {1, 2, 3}, ""}), DataFileError);
  EXPECT_THROW(WriteMatrix(folder / "m.enr", Matrix{1, {1}, "[Version 1.1]"}), DataFileError);
  for (const char* name : {"", " f", "1", "inf", "f;p", "f\np"}) {
    EXPECT_THROW(WriteMatrix(folder / "m.csv", Matrix{2, {1, 2}, "", {"f", name}}), DataFileError) << name;
  }
  EXPECT_THROW(WriteMatrix(folder / "m.csv", Matrix{2, {1, 2}, "", {"f"}}), DataFileError);
  EXPECT_FALSE(std::filesystem::exists(folder / "m.csv"));
}

}  // namespace
