// Matrix and Touchstone files for C++ programs: value objects, std::filesystem paths, UTF-8 text, and errors that name
// file, line and reason. Not part of the shared library: link the static library scpi_zlt_datafiles (in CMake
// scpi_zlt::datafiles).
//
//   const auto network = scpi_zlt::ReadTouchstone("filter.s2p");
//   std::cout << std::abs(network.At(0, 2, 1)) << '\n';  // |S21| at the first frequency
//
// The functions of matrix.h and touchstone.h keep odd answers, so that older programs read and write the same files (a
// word ends its line, zero is saved as -200, a falling frequency begins the noise). These functions have no such
// answers: what is written reads back to the same numbers, and what would not, or is not understood, is refused. A
// refusal writes nothing.
//
// Touchstone files follow Touchstone 1.1: any number of ports, rows over several lines, any reference impedance, S, Y,
// Z, G and H parameters. Version 2.0 keywords ("[Version] 2.0") are refused.
//
// All functions throw DataFileError, and std::bad_alloc. Any number of threads may call them at once.
#pragma once

#include <complex>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace scpi_zlt {

/// what() is "file:line: reason"; without the line where there is none.
class DataFileError : public std::runtime_error {
 public:
  DataFileError(std::filesystem::path file, std::size_t line, std::string reason)
      : std::runtime_error(file.string() + (line != 0 ? ":" + std::to_string(line) : "") + ": " + reason),
        m_file(std::move(file)),
        m_line(line),
        m_reason(std::move(reason)) {}

  const std::filesystem::path& File() const noexcept { return m_file; }
  /// Counted from 1; 0 if the error belongs to no line.
  std::size_t Line() const noexcept { return m_line; }
  const std::string& Reason() const noexcept { return m_reason; }

 private:
  std::filesystem::path m_file;
  std::size_t m_line;
  std::string m_reason;
};

/// A table of numbers, row by row.
struct Matrix {
  std::size_t columns = 0;
  std::vector<double> values;
  /// Comment lines with their marks ("#", "!" or "["), joined by "\n". A line without a mark is written after "# ".
  std::string comment;
  /// Of the columns, one each, or none at all. A CSV file has them in its first line, the other forms in a comment.
  std::vector<std::string> names = {};

  std::size_t Rows() const { return columns != 0 ? values.size() / columns : 0; }
  double At(std::size_t row, std::size_t column) const { return values[row * columns + column]; }
};

enum class MatrixForm {
  kPlain,  ///< blanks or tabs between values; the comma of "1,5" is decimal, one before a blank separates
  kCsv,    ///< commas between values; when read also ";", with decimal points or commas, as the first line has it
  kEnr     ///< noise source: first column is a frequency in MHz in memory, with a unit or in Hz in the file
};

struct MatrixOptions {
  std::optional<MatrixForm> form;  ///< unset: by the extension (.csv, .enr, else plain)
  bool scrambled = false;
  bool stop_at_crc = false;  ///< reading: a line that starts with "#CRC" ends the file
};

/// Reads "nan" and "inf" as the numbers that they name. A first line of words in a CSV file names the columns (fields
/// in quotes as in RFC 4180); if it does not have a name for each, it becomes a comment. Refuses other words, ragged
/// rows, and files without numbers.
Matrix ReadMatrix(const std::filesystem::path& file, const MatrixOptions& options = {});

/// Writes every number with as many digits as it needs to read back the same. Refuses names that would not read back: a
/// number, an empty text, one with ";" or a line end.
void WriteMatrix(const std::filesystem::path& file, const Matrix& matrix, const MatrixOptions& options = {});

/// One row of the noise block, as in the file, but for the frequency.
struct NoisePoint {
  double frequency_hz = 0.0;
  double minimum_figure_db = 0.0;
  double gamma_magnitude = 0.0;
  double gamma_degrees = 0.0;
  double resistance = 0.0;  ///< effective noise resistance, normalised
};

/// Parameters over frequency. Y, Z, G and H values are those of the file, normalised to the reference.
struct Network {
  std::size_t ports = 0;
  char parameter = 'S';
  double reference_ohm = 50.0;
  std::vector<double> frequency_hz;
  /// Per frequency ports x ports values, row by row: S11, S12, ..., S21, S22, ... (files of two ports have S21 first).
  std::vector<std::complex<double>> values;
  std::vector<NoisePoint> noise;  ///< two ports only
  std::string comment;            ///< lines of their own after "!", joined by "\n"

  std::size_t Points() const { return frequency_hz.size(); }
  /// Ports are counted from 1: At(point, 2, 1) is S21.
  const std::complex<double>& At(std::size_t point, std::size_t to, std::size_t from) const {
    return values[(point * ports + to - 1) * ports + from - 1];
  }
};

enum class SParameterFormat { kDecibelAngle, kMagnitudeAngle, kRealImaginary };
enum class FrequencyUnit { kHz, kKilohertz, kMegahertz, kGigahertz };

struct TouchstoneOptions {
  SParameterFormat format = SParameterFormat::kRealImaginary;
  FrequencyUnit unit = FrequencyUnit::kHz;
};

/// The number of ports comes from the rows; an extension like ".s2p" must agree with it. Frequencies must rise. A
/// number that is finite in the file but would not be in memory ("1e300 GHz", "1e5 dB") is refused.
Network ReadTouchstone(const std::filesystem::path& file);

/// Numbers have as many digits as they need. RI and Hz read back to the same bits, the other forms to within rounding.
/// Zero is "-6500 0" in decibels, which reads back as zero. Refused are NaN, infinity, a magnitude that overflows,
/// frequencies that do not rise, and ports that an extension like ".s2p" contradicts. Not noticed are frequencies that
/// rise by the last bit or two and become equal in a unit other than Hz: such a file is refused when it is read.
void WriteTouchstone(const std::filesystem::path& file, const Network& network, const TouchstoneOptions& options = {});

}  // namespace scpi_zlt
