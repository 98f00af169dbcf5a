// Saves Touchstone files: always Hz and 50 ohm, in aligned columns.
#include <cmath>
#include <ctime>
#include <iterator>
#include <sstream>

#include "scpi_zlt/touchstone.h"

#include "datafiles/NumberWrite.h"
#include "datafiles/ResultCodes.h"
#include "datafiles/TextFile.h"

namespace datafiles {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr int kDigits = 12;
constexpr int kWideDigits = 13;  // frequencies and noise
constexpr std::size_t kFrequencyField = 11;
constexpr std::size_t kField = 15;
constexpr std::size_t kNegativeField = 16;
constexpr std::size_t kLeastWidth = 6;
constexpr std::string_view kMissing = " -200 0";

/// One row of the file.
class RowText {
 public:
  void Clear() { m_text.clear(); }
  std::string_view View() const { return m_text; }
  void Add(std::string_view text) { m_text += text; }

  void AddFrequency(double value) {
    const NumberText number(value, kWideDigits);
    m_text += number.View();
    Pad(number.View().size(), kFrequencyField);
  }

  /// The place of the sign: two blanks, or one and the sign. Odd, and kept: minus zero is written with its sign and
  /// counts as not negative. Otherwise saved files would differ.
  void AddPrefix(double value) { m_text += value < 0.0 ? " " : "  "; }

  /// The number, right-aligned in six characters. Returns how many characters it took.
  std::size_t AddNumber(double value, int digits) {
    const NumberText number(value, digits);
    Pad(number.View().size(), kLeastWidth);
    m_text += number.View();
    return std::max(number.View().size(), kLeastWidth);
  }

  /// Prefix and number in a field. True when the number leaves no blank after it.
  bool AddField(double value, int digits) {
    AddPrefix(value);
    const std::size_t size = AddNumber(value, digits);
    const std::size_t field = value < 0.0 ? kNegativeField : kField;
    Pad(size, field);
    return size >= field;
  }

 private:
  void Pad(std::size_t size, std::size_t field) {
    if (size < field) {
      m_text.append(field - size, ' ');
    }
  }

  std::string m_text;
};

/// The parameter whose first column is `column`.
void AddPair(RowText& line, ICustomMatrix<double> const& matrix, unsigned int row, unsigned int column, bool last,
             ETouchstoneFormat format) {
  if (column + 1 >= matrix.Cols()) {
    line.Add(kMissing);
    return;
  }
  const double re = matrix.GetValue(column, row);
  const double im = matrix.GetValue(column + 1, row);
  const double magnitude = std::sqrt(re * re + im * im);
  if (magnitude == 0.0) {
    line.Add(kMissing);  // odd, and kept: in MA and RI too
    return;
  }
  double first = re;
  double second = im;
  if (format != kTouchstoneRi) {
    first = format == kTouchstoneDb ? 20.0 * std::log10(magnitude) : magnitude;
    second = std::atan2(im, re) * 180.0 / kPi;
  }
  line.AddField(first, kDigits);
  if (last) {
    line.AddPrefix(second);
    line.AddNumber(second, kDigits);
  } else {
    line.AddField(second, kDigits);
  }
}

void SaveData(Sink& sink, ICustomMatrix<double> const& matrix, unsigned int value_columns, ETouchstoneFormat format) {
  RowText line;
  const unsigned int rows = matrix.Rows();
  for (unsigned int row = 0; row < rows; ++row) {
    line.Clear();
    line.AddFrequency(matrix.GetValue(0, row));
    for (unsigned int column = 1; column <= value_columns; column += 2) {
      AddPair(line, matrix, row, column, column + 1 == value_columns, format);
    }
    line.Add("\n");
    sink.Ascii(line.View());
  }
}

void SaveNoise(Sink& sink, ICustomMatrix<double> const& noise) {
  sink.Ascii("! NOISE PARAMETERS\n! Frequency NF(dB) REFL PHASE ENR\n");
  constexpr unsigned int kLast = 4;
  RowText line;
  for (unsigned int row = 0; row < noise.Rows(); ++row) {
    line.Clear();
    line.AddFrequency(noise.GetValue(0, row));
    bool full = false;
    for (unsigned int column = 1; column <= kLast; ++column) {
      if (column >= noise.Cols()) {
        line.Add(kMissing);
        full = false;
        continue;
      }
      const double value = noise.GetValue(column, row);
      const double shown = column == 1 ? 10.0 * std::log10(std::max(std::abs(value), 1e-100)) : value;
      if (column != kLast) {
        full = line.AddField(shown, kWideDigits);
        continue;
      }
      line.Add(full ? " " : "");  // the last column has no prefix to separate it
      line.AddNumber(shown, kWideDigits);
    }
    line.Add("\n");
    sink.Ascii(line.View());
  }
}

/// The only text in a file that follows the environment's locale.
std::wstring DateLine(const std::locale& locale) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  constexpr std::wstring_view kForm = L"! Date: %Y-%m-%d %X\n";
  std::wostringstream text;
  text.imbue(locale);
  std::use_facet<std::time_put<wchar_t>>(locale).put(std::ostreambuf_iterator<wchar_t>(text), text, L' ', &local,
                                                     kForm.data(), kForm.data() + kForm.size());
  return text.str();
}

void SaveComment(Sink& sink, std::wstring_view comment) {
  if (comment.empty()) {
    return;
  }
  std::wstring text = L"! ";
  for (std::size_t i = 0; i < comment.size(); ++i) {
    if (comment.substr(i).starts_with(L"\r\n")) {
      continue;
    }
    text += comment[i];
    if (comment[i] == L'\n') {
      text += L"! ";
    }
  }
  text += L'\n';
  sink.Wide(text);
}

/// The name with the extension for its number of ports. A name with a "." anywhere stays as it is.
std::wstring FullName(std::wstring_view name, int ports) {
  std::wstring full(name);
  if (full.find(L'.') == full.npos) {
    full += L".s";
    full += static_cast<wchar_t>(L'0' + ports);
    full += L'p';
  }
  return full;
}

}  // namespace
}  // namespace datafiles

int SParamMatrix::Save(wchar_t const* file_name, wchar_t const* comment, ICustomMatrix<double>* noise,
                       ETouchstoneFormat format) try {
  if (m_matrix == nullptr || m_matrix->Cols() < 2) {
    return datafiles::kNoMatrix;
  }
  static constexpr std::string_view kFormats[] = {"dB", "MA", "RI"};
  const double root = std::sqrt((m_matrix->Cols() - 1) * 0.5);
  int ports = 1;
  while (ports < root && ports <= 4) {
    ++ports;
  }
  const int format_number = static_cast<int>(format);
  if (ports > 4 || format_number < 0 || format_number > 2) {
    return datafiles::kFormatError;
  }
  const datafiles::TextCodec codec(datafiles::EnvironmentLocale());
  datafiles::FileSink file(codec);
  if (file_name == nullptr || !file.Open(datafiles::FullName(file_name, ports).c_str())) {
    return datafiles::kNotOpened;
  }
  file.Ascii("! Sorvik, Research & Production Company\n");
  file.Wide(datafiles::DateLine(codec.Locale()));
  datafiles::SaveComment(file, datafiles::Trim(std::wstring_view(comment != nullptr ? comment : L"")));
  file.Ascii("# Hz S ");
  file.Ascii(kFormats[format_number]);
  file.Ascii(" R 50\n");
  datafiles::SaveData(file, *m_matrix, static_cast<unsigned int>(ports * ports * 2), format);
  if (noise != nullptr) {
    datafiles::SaveNoise(file, *noise);
  }
  return file.Close() ? 0 : datafiles::kNotOpened;
} catch (...) {
  return datafiles::kNotOpened;
}

int SaveTouchstone(wchar_t const* file_name, ICustomMatrix<double>* matrix, wchar_t const* comment,
                   ICustomMatrix<double>* noise, ETouchstoneFormat format) {
  return SParamMatrix(matrix).Save(file_name, comment, noise, format);
}
