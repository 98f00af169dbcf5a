// Writes Touchstone 1.1 files: one line per frequency up to two ports, then one line per matrix row and four pairs.
#include <cmath>
#include <string>

#include "scpi_zlt/datafiles.h"

#include "datafiles/NumberWrite.h"
#include "datafiles/modern/LineFile.h"

namespace scpi_zlt {
namespace {

using namespace detail;

constexpr double kPi = 3.141592653589793;
constexpr std::size_t kPairsPerLine = 4;

// Fewer decibels than the smallest double has: it reads back as zero.
constexpr double kZeroDecibel = -6500.0;

struct UnitName {
  const char* name;
  double factor;
};

UnitName NameOf(FrequencyUnit unit) {
  switch (unit) {
    case FrequencyUnit::kKilohertz:
      return {"kHz", 1e3};
    case FrequencyUnit::kMegahertz:
      return {"MHz", 1e6};
    case FrequencyUnit::kGigahertz:
      return {"GHz", 1e9};
    default:
      return {"Hz", 1.0};
  }
}

/// The number that reads back to the frequency, or the nearest one where there is none.
double InUnit(double frequency, double factor) {
  const double quotient = frequency / factor;
  for (const double candidate : {quotient, std::nextafter(quotient, 0.0), std::nextafter(quotient, HUGE_VAL)}) {
    if (candidate * factor == frequency) {
      return candidate;
    }
  }
  return quotient;
}

void CheckFrequency(const std::filesystem::path& file, const char* what, double before, double frequency, bool first) {
  if (!std::isfinite(frequency) || frequency < 0.0 || (!first && !(frequency > before))) {
    throw DataFileError(file, 0, std::string(what) + " must be finite, not negative, and rise");
  }
}

/// Throws for everything that would not read back.
void Check(const std::filesystem::path& file, const Network& network, SParameterFormat format) {
  const auto fail = [&](const std::string& reason) { throw DataFileError(file, 0, reason); };
  if (network.ports == 0 || network.frequency_hz.empty() ||
      network.values.size() != network.Points() * network.ports * network.ports) {
    fail("a network must have ports, frequencies, and ports x ports values for each of them");
  }
  const std::size_t promised = PromisedPorts(file);
  if (promised != 0 && promised != network.ports) {
    fail("a network of " + std::to_string(network.ports) + " ports in a file named for " + std::to_string(promised));
  }
  if (!(network.reference_ohm > 0.0) || !std::isfinite(network.reference_ohm)) {
    fail("the reference impedance must be above 0");
  }
  if (std::string_view("SYZGH").find(network.parameter) == std::string_view::npos) {
    fail("the parameter must be S, Y, Z, G or H");
  }
  for (std::size_t i = 0; i < network.Points(); ++i) {
    CheckFrequency(file, "frequencies", i != 0 ? network.frequency_hz[i - 1] : 0.0, network.frequency_hz[i], i == 0);
  }
  for (std::size_t i = 0; i < network.values.size(); ++i) {
    const std::complex<double>& value = network.values[i];
    const bool magnitude_written = format != SParameterFormat::kRealImaginary;  // it may overflow where no part does
    if (!std::isfinite(value.real()) || !std::isfinite(value.imag()) ||
        (magnitude_written && !std::isfinite(std::abs(value)))) {
      fail("a value at point " + std::to_string(i / (network.ports * network.ports) + 1) + " is not a finite number");
    }
  }
  if (!network.noise.empty() && network.ports != 2) {
    fail("only two-port files have a noise block");
  }
  for (std::size_t i = 0; i < network.noise.size(); ++i) {
    const NoisePoint& noise = network.noise[i];
    CheckFrequency(file, "noise frequencies", i != 0 ? network.noise[i - 1].frequency_hz : 0.0, noise.frequency_hz,
                   i == 0);
    if (!std::isfinite(noise.minimum_figure_db + noise.gamma_magnitude + noise.gamma_degrees + noise.resistance)) {
      fail("noise point " + std::to_string(i + 1) + " is not finite");
    }
  }
  if (!network.noise.empty() && network.noise[0].frequency_hz > network.frequency_hz.back()) {
    fail("the noise block must begin at or below the last frequency");
  }
}

class TouchstoneWriter {
 public:
  TouchstoneWriter(const Network& network, const TouchstoneOptions& options)
      : m_network(network), m_options(options), m_unit(NameOf(options.unit)) {}

  std::string Text() {
    Comment();
    const char* const format = m_options.format == SParameterFormat::kDecibelAngle     ? "DB"
                               : m_options.format == SParameterFormat::kMagnitudeAngle ? "MA"
                                                                                       : "RI";
    m_text += std::string("# ") + m_unit.name + " " + m_network.parameter + " " + format + " R ";
    Number(m_network.reference_ohm);
    m_text += '\n';
    for (std::size_t point = 0; point < m_network.Points(); ++point) {
      Point(point);
    }
    for (const NoisePoint& noise : m_network.noise) {
      Number(InUnit(noise.frequency_hz, m_unit.factor));
      for (const double value :
           {noise.minimum_figure_db, noise.gamma_magnitude, noise.gamma_degrees, noise.resistance}) {
        m_text += ' ';
        Number(value);
      }
      m_text += '\n';
    }
    return std::move(m_text);
  }

 private:
  void Comment() {
    std::string_view comment = m_network.comment;
    for (bool more = !comment.empty(); more;) {
      const std::size_t end = comment.find('\n');
      more = end != comment.npos;
      const std::string_view line = datafiles::Trim(comment.substr(0, end));
      m_text += line.empty() ? "!" : "! ";
      m_text += line;
      m_text += '\n';
      comment.remove_prefix(more ? end + 1 : comment.size());
    }
  }

  void Point(std::size_t point) {
    Number(InUnit(m_network.frequency_hz[point], m_unit.factor));
    const std::size_t ports = m_network.ports;
    for (std::size_t to = 1; to <= ports; ++to) {
      for (std::size_t from = 1; from <= ports; ++from) {
        const bool new_line = ports > 2 && (from - 1) % kPairsPerLine == 0 && (to != 1 || from != 1);
        m_text += new_line ? "\n " : " ";
        // Files of two ports have S21 before S12.
        Pair(ports == 2 ? m_network.At(point, from, to) : m_network.At(point, to, from));
      }
    }
    m_text += '\n';
  }

  void Pair(const std::complex<double>& value) {
    double first = value.real();
    double second = value.imag();
    if (m_options.format != SParameterFormat::kRealImaginary) {
      const double magnitude = std::abs(value);
      const bool zero = magnitude == 0.0;
      first = m_options.format == SParameterFormat::kMagnitudeAngle ? magnitude
              : zero                                                ? kZeroDecibel
                                                                    : 20.0 * std::log10(magnitude);
      second = zero ? 0.0 : std::arg(value) * 180.0 / kPi;
    }
    Number(first);
    m_text += ' ';
    Number(second);
  }

  void Number(double value) { m_text += datafiles::NumberText(value, -1).View(); }

  const Network& m_network;
  TouchstoneOptions m_options;
  UnitName m_unit;
  std::string m_text;
};

}  // namespace

void WriteTouchstone(const std::filesystem::path& file, const Network& network, const TouchstoneOptions& options) {
  Check(file, network, options.format);
  detail::WriteFile(file, TouchstoneWriter(network, options).Text());
}

}  // namespace scpi_zlt
