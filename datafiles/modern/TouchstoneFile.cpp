// Reads Touchstone 1.1 files of any number of ports. A line with an odd count of numbers begins a record (frequency and
// pairs), one with an even count goes on with it; a record of five numbers in a two-port file is noise.
#include <array>
#include <cmath>
#include <string>

#include "scpi_zlt/datafiles.h"

#include "datafiles/LineNumbers.h"
#include "datafiles/modern/LineFile.h"

namespace scpi_zlt {
namespace {

using namespace detail;

constexpr double kRadians = 3.141592653589793 / 180.0;
constexpr std::size_t kNoiseNumbers = 5;

class TouchstoneReader {
 public:
  explicit TouchstoneReader(const std::filesystem::path& file) : m_file(file, false), m_promised(PromisedPorts(file)) {}

  Network Read() {
    while (m_file.Next()) {
      std::string_view line = datafiles::Trim(m_file.Line());
      if (line.starts_with('!')) {
        Comment(line.substr(1));
        continue;
      }
      line = datafiles::Trim(line.substr(0, line.find('!')));
      if (line.starts_with('#')) {
        if (!m_options_known) {  // of several option lines the first counts
          Options(line.substr(1));
        }
      } else if (line.starts_with('[')) {
        m_file.Fail("keyword of Touchstone 2.0, which is not supported: " + Quoted(line));
      } else if (!line.empty()) {
        Numbers(line);
      }
    }
    EndRecord();
    if (m_network.frequency_hz.empty()) {
      m_file.FailWhole("no data");
    }
    return std::move(m_network);
  }

 private:
  void Comment(std::string_view text) {
    if (text.starts_with(' ')) {
      text.remove_prefix(1);
    }
    if (m_any_comment) {
      m_network.comment += '\n';
    }
    m_any_comment = true;
    m_network.comment += ToUtf8(FromUtf8(text));
  }

  void Options(std::string_view line) {
    m_options_known = true;
    for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
      const std::string name = Lower(word);
      if (name == "r") {
        const std::string_view ohm = TakeWord(line);
        const auto value = StrictNumber(ohm, false);
        if (!value || !(*value > 0.0)) {
          m_file.Fail("not a reference impedance: " + Quoted(ohm));
        }
        m_network.reference_ohm = *value;
      } else if (!Unit(name) && !Parameter(name) && !Format(name)) {
        m_file.Fail("unknown word on the option line: " + Quoted(word));
      }
    }
  }

  bool Unit(std::string_view name) {
    const double factor = name == "hz"    ? 1.0
                          : name == "khz" ? 1e3
                          : name == "mhz" ? 1e6
                          : name == "ghz" ? 1e9
                          : name == "thz" ? 1e12
                                          : 0.0;
    m_unit = factor != 0.0 ? factor : m_unit;
    return factor != 0.0;
  }

  bool Parameter(std::string_view name) {
    if (name.size() != 1 || std::string_view("syzgh").find(name) == std::string_view::npos) {
      return false;
    }
    m_network.parameter = static_cast<char>(name[0] - 'a' + 'A');
    return true;
  }

  bool Format(std::string_view name) {
    if (name != "db" && name != "ma" && name != "ri") {
      return false;
    }
    m_format = name == "db"   ? SParameterFormat::kDecibelAngle
               : name == "ma" ? SParameterFormat::kMagnitudeAngle
                              : SParameterFormat::kRealImaginary;
    return true;
  }

  void Numbers(std::string_view line) {
    if (!m_options_known) {
      m_file.Fail("data before the option line");
    }
    m_line.clear();
    const char* p = line.data();
    const char* const end = p + line.size();
    for (double value = 0.0; p != end;) {
      const char* const start = p;
      if (!datafiles::ScanNumber<datafiles::CommaRule::kPoint>(p, end, value) || (p != end && !IsSpace(*p))) {
        std::string_view rest(start, static_cast<std::size_t>(end - start));
        m_file.Fail("not a number: " + Quoted(TakeWord(rest)));
      }
      m_line.push_back(value);
    }
    if (m_line.size() % 2 != 0) {
      EndRecord();
    } else if (m_record.empty()) {
      m_file.Fail("an even count of numbers where a row with its frequency should begin");
    }
    m_record.insert(m_record.end(), m_line.begin(), m_line.end());
  }

  void EndRecord() {
    if (m_record.empty()) {
      return;
    }
    if (m_network.ports == 0) {
      SetPorts();
    }
    const std::size_t ports = m_network.ports;
    const double frequency = m_record[0] * m_unit;
    if (!std::isfinite(frequency)) {
      m_file.Fail("the frequency before this line is too large");
    }
    if (ports == 2 && m_record.size() == kNoiseNumbers) {
      if (!m_network.noise.empty() && !(frequency > m_network.noise.back().frequency_hz)) {
        m_file.Fail("the noise frequency before this line does not rise");
      }
      m_network.noise.push_back({frequency, m_record[1], m_record[2], m_record[3], m_record[4]});
    } else if (m_record.size() != 1 + 2 * ports * ports || !m_network.noise.empty()) {
      m_file.Fail("the row before this line has " + std::to_string(m_record.size()) + " numbers, expected " +
                  std::to_string(m_network.noise.empty() ? 1 + 2 * ports * ports : kNoiseNumbers));
    } else {
      AddPoint(frequency);
    }
    m_record.clear();
  }

  void SetPorts() {
    std::size_t ports = 1;
    while (1 + 2 * ports * ports < m_record.size()) {
      ++ports;
    }
    if (1 + 2 * ports * ports != m_record.size()) {
      m_file.Fail("the first row has " + std::to_string(m_record.size()) + " numbers, which fits no number of ports");
    }
    if (m_promised != 0 && m_promised != ports) {
      m_file.Fail("rows of " + std::to_string(ports) + " ports in a file named for " + std::to_string(m_promised));
    }
    m_network.ports = ports;
  }

  void AddPoint(double frequency) {
    if (!m_network.frequency_hz.empty() && !(frequency > m_network.frequency_hz.back())) {
      m_file.Fail("the frequency before this line does not rise");
    }
    m_network.frequency_hz.push_back(frequency);
    for (std::size_t i = 1; i < m_record.size(); i += 2) {
      const std::complex<double> value = Value(m_record[i], m_record[i + 1]);
      if (!std::isfinite(value.real()) || !std::isfinite(value.imag())) {
        m_file.Fail("a value before this line is too large");
      }
      m_network.values.push_back(value);
    }
    if (m_network.ports == 2) {  // the file has S21 before S12
      std::swap(*(m_network.values.end() - 3), *(m_network.values.end() - 2));
    }
  }

  std::complex<double> Value(double first, double second) const {
    if (m_format == SParameterFormat::kRealImaginary) {
      return {first, second};
    }
    const double magnitude = m_format == SParameterFormat::kDecibelAngle ? std::pow(10.0, first / 20.0) : first;
    return {magnitude * std::cos(second * kRadians), magnitude * std::sin(second * kRadians)};
  }

  LineFile m_file;
  std::size_t m_promised;
  Network m_network;
  bool m_any_comment = false;
  bool m_options_known = false;
  double m_unit = 1e9;  // the unit when the option line names none
  SParameterFormat m_format = SParameterFormat::kMagnitudeAngle;
  std::vector<double> m_record;
  std::vector<double> m_line;
};

}  // namespace

Network ReadTouchstone(const std::filesystem::path& file) {
  return TouchstoneReader(file).Read();
}

}  // namespace scpi_zlt
