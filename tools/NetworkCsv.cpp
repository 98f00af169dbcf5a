#include "tools/NetworkCsv.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <sstream>
#include <string_view>

namespace {

using scpi_zlt::DataFileError;
using scpi_zlt::Matrix;
using scpi_zlt::MatrixForm;
using scpi_zlt::Network;

constexpr double kRadians = std::numbers::pi / 180.0;
/// As in Touchstone files: a number for spreadsheets, and zero again when it is read.
constexpr double kZeroInDecibels = -6500.0;
constexpr std::string_view kReference = "reference_ohm ";
// In the order of FrequencyUnit and of SParameterFormat.
constexpr std::array kUnits = {"hz", "khz", "mhz", "ghz"};
constexpr std::array kFactors = {1.0, 1e3, 1e6, 1e9};
constexpr const char* kSuffixes[][2] = {{"db", "deg"}, {"mag", "deg"}, {"re", "im"}};

/// "S21_re" or, from ten ports on, "S2_1_re".
std::string Name(const Network& network, std::size_t to, std::size_t from, const char* suffix) {
  return network.parameter + std::to_string(to) + (network.ports > 9 ? "_" : "") + std::to_string(from) + "_" + suffix;
}

/// The two numbers of a value in a format, in degrees.
std::array<double, 2> Pair(const std::complex<double>& value, scpi_zlt::SParameterFormat format) {
  if (format == scpi_zlt::SParameterFormat::kRealImaginary) return {value.real(), value.imag()};
  const double magnitude = std::abs(value);
  const double degrees = std::arg(value) / kRadians;
  const bool decibels = format == scpi_zlt::SParameterFormat::kDecibelAngle;
  if (decibels && magnitude == 0.0) return {kZeroInDecibels, 0.0};
  return {decibels ? 20.0 * std::log10(magnitude) : magnitude, degrees};
}

std::complex<double> Value(double first, double second, std::string_view suffix) {
  if (suffix == "re") return {first, second};
  return std::polar(suffix == "db" ? std::pow(10.0, first / 20.0) : first, second * kRadians);
}

double FactorOf(const std::string& file, const std::string& name) {
  for (std::size_t unit = 0; unit < kUnits.size(); ++unit) {
    if (name == std::string("frequency_") + kUnits[unit]) return kFactors[unit];
  }
  throw DataFileError(file, 0, "the first column must be named frequency_hz, _khz, _mhz or _ghz, not \"" + name + "\"");
}

/// Takes the reference impedance out of the comment of a table; its other lines are those of the file.
void TakeComment(const std::string& comment, Network& network) {
  std::istringstream lines(comment);
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of("#! "));
    if (line.starts_with(kReference)) {
      network.reference_ohm = std::strtod(line.c_str() + kReference.size(), nullptr);
    } else {
      network.comment += (network.comment.empty() ? "" : "\n") + line;
    }
  }
}

std::string CommentOf(const Network& network) {
  char reference[32];
  std::snprintf(reference, sizeof reference, "%.17g", network.reference_ohm);
  std::string comment = "# " + std::string(kReference) + reference;
  std::istringstream lines(network.comment);
  for (std::string line; std::getline(lines, line);) comment += (line.starts_with(' ') ? "\n#" : "\n# ") + line;
  return comment;
}

/// The parameter whose two columns begin at `column`: each has to be there once.
struct Place {
  std::size_t to = 0;
  std::size_t from = 0;
  std::string suffix;
};

Place PlaceOf(const std::string& file, const Network& network, const std::vector<std::string>& names,
              std::size_t column) {
  for (std::size_t to = 1; to <= network.ports; ++to) {
    for (std::size_t from = 1; from <= network.ports; ++from) {
      for (const auto& suffix : kSuffixes) {
        if (names[column] == Name(network, to, from, suffix[0]) &&
            names[column + 1] == Name(network, to, from, suffix[1]))
          return {to, from, suffix[0]};
      }
    }
  }
  throw DataFileError(
      file, 0,
      "the columns \"" + names[column] + "," + names[column + 1] +
          "\" are no pair such as S11_re,S11_im or S11_mag,S11_deg or S11_db,S11_deg, with ports up to " +
          std::to_string(network.ports));
}

/// What a Touchstone file could not have: also a column that is there twice, which leaves another without values.
void Check(const std::string& file, const Network& network) {
  const auto& hertz = network.frequency_hz;
  for (std::size_t row = 0; row < hertz.size(); ++row) {
    if (std::isfinite(hertz[row]) && (row == 0 ? hertz[row] >= 0 : hertz[row] > hertz[row - 1])) continue;
    throw DataFileError(file, 0, "the frequencies must rise, and that of row " + std::to_string(row + 1) + " does not");
  }
  const auto finite = [](const std::complex<double>& value) { return std::isfinite(std::abs(value)); };
  if (!std::all_of(network.values.begin(), network.values.end(), finite)) {
    throw DataFileError(file, 0, "a value is not finite, or a parameter has no columns");
  }
}

}  // namespace

Network ReadNetworkCsv(const std::string& file) {
  const Matrix matrix = scpi_zlt::ReadMatrix(file, {.form = MatrixForm::kCsv});
  if (matrix.names.empty())
    throw DataFileError(file, 0, "no header line that names the columns, such as frequency_hz,S11_re,S11_im");
  Network network;
  const std::size_t parameters = (matrix.columns - 1) / 2;
  network.ports = static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(parameters))));
  if (network.ports == 0 || 1 + 2 * network.ports * network.ports != matrix.columns) {
    throw DataFileError(file, 0, std::to_string(matrix.columns) + " columns fit no number of ports");
  }
  network.parameter = matrix.names[1].front();
  TakeComment(matrix.comment, network);
  network.values.resize(matrix.Rows() * parameters, std::nan(""));
  const double factor = FactorOf(file, matrix.names.front());
  for (std::size_t row = 0; row < matrix.Rows(); ++row) network.frequency_hz.push_back(matrix.At(row, 0) * factor);
  for (std::size_t column = 1; column < matrix.columns; column += 2) {
    const Place place = PlaceOf(file, network, matrix.names, column);
    for (std::size_t row = 0; row < matrix.Rows(); ++row) {
      network.values[(row * network.ports + place.to - 1) * network.ports + place.from - 1] =
          Value(matrix.At(row, column), matrix.At(row, column + 1), place.suffix);
    }
  }
  Check(file, network);
  return network;
}

void WriteNetworkCsv(const std::string& file, const Network& network, const scpi_zlt::TouchstoneOptions& options) {
  const auto unit = static_cast<std::size_t>(options.unit);
  const auto& suffix = kSuffixes[static_cast<std::size_t>(options.format)];
  Matrix table;
  table.comment = CommentOf(network);
  table.names = {std::string("frequency_") + kUnits[unit]};
  for (std::size_t to = 1; to <= network.ports; ++to) {
    for (std::size_t from = 1; from <= network.ports; ++from) {
      for (const char* const part : suffix) table.names.push_back(Name(network, to, from, part));
    }
  }
  table.columns = table.names.size();
  auto value = network.values.begin();
  for (const double hertz : network.frequency_hz) {
    table.values.push_back(hertz / kFactors[unit]);
    for (std::size_t i = 0; i < network.ports * network.ports; ++i, ++value) {
      for (const double number : Pair(*value, options.format)) table.values.push_back(number);
    }
  }
  scpi_zlt::WriteMatrix(file, table, {.form = MatrixForm::kCsv});
}
