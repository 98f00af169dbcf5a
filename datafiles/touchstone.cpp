// Loads Touchstone files, and converts the numbers of a file to real and imaginary parts.
//
// The file is read once: numbers wait in blocks until it is known how many rows there are. A row is data until a
// frequency falls; from there on every row is noise.
#include "scpi_zlt/touchstone.h"

#include <cmath>
#include <cwctype>
#include <limits>
#include <new>
#include <optional>

#include "datafiles/LineNumbers.h"
#include "datafiles/MatrixAccess.h"
#include "datafiles/ResultCodes.h"
#include "datafiles/TextFile.h"
#include "datafiles/ValueStore.h"

namespace datafiles {
namespace {

constexpr std::size_t kNoiseColumns = 5;

/// All that is read from a file, before anything is stored where the caller sees it.
class TouchstoneText {
 public:
  TouchstoneText(Source<char>& source, const TextCodec& codec, bool comments_wanted)
      : m_reader(source), m_codec(codec), m_comments_wanted(comments_wanted) {}

  /// kDone or kUnequalLines.
  int Read() {
    while (m_reader.NextLine()) {
      const auto text = m_reader.Text();
      const char first = text.empty() ? '\0' : text.front();
      if (first == '#') {
        m_reader.Hold();
        SplitOptions(m_codec.Decode(m_reader.Text()));
      } else if (first == '!') {
        if (m_comments_wanted) {
          m_reader.Hold();
          m_comments += m_codec.Decode(m_reader.Text());
        }
      } else if (!NumberLine()) {
        return kUnequalLines;
      }
    }
    return 0;
  }

  bool Rewind() { return m_reader.Rewind(); }

  std::size_t rows = 0;
  std::size_t width = 0;
  std::size_t noise_rows = 0;
  std::size_t noise_width = 0;
  ValueStore values;  ///< data rows, then noise rows
  std::optional<std::vector<std::wstring>> options;

  const std::wstring& Comments() const { return m_comments; }

 private:
  /// Lines without numbers do not count. False when the row is not as wide as those before.
  bool NumberLine() {
    double frequency = 0.0;
    std::size_t at = 0;
    const std::size_t count = ScanLine<CommaRule::kPoint>(m_reader, [&](double value) {
      frequency = at++ == 0 ? value : frequency;
      values.Add(value);
    });
    if (count == 0) {
      return true;
    }
    const bool falls = frequency < m_largest;
    m_largest = falls ? m_largest : frequency;
    const bool noise = noise_rows != 0 || falls;
    std::size_t& noted_width = noise ? noise_width : width;
    std::size_t& noted_rows = noise ? noise_rows : rows;
    if (noted_rows != 0 && noted_width != count) {
      return false;
    }
    noted_width = count;
    ++noted_rows;
    return true;
  }

  /// The first word is dropped, whatever it is. Odd, and kept: "#GHZ S MA" is read as "S" and "MA", so its unit is
  /// lost.
  void SplitOptions(const std::wstring& line) {
    std::vector<std::wstring> words;
    std::size_t at = 0;
    const auto is_space = [&](std::size_t i) { return IsSpace(line[i]); };
    for (;;) {
      while (at < line.size() && is_space(at)) {
        ++at;
      }
      if (at == line.size()) {
        break;
      }
      const std::size_t start = at;
      while (at < line.size() && !is_space(at)) {
        ++at;
      }
      words.push_back(line.substr(start, at - start));
    }
    words.erase(words.begin());
    options = std::move(words);
  }

  TextReader<char> m_reader;
  const TextCodec& m_codec;
  bool m_comments_wanted;
  std::wstring m_comments;
  double m_largest = -std::numeric_limits<double>::infinity();
};

void StoreRows(ValueStore& values, ICustomMatrix<double>* matrix, std::size_t rows, std::size_t width) {
  std::optional<MatrixWriter> writer;
  if (matrix != nullptr) {
    writer.emplace(*matrix);
  }
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < width; ++column) {
      const double value = values.Take();
      if (writer) {
        writer->Set(column, row, value);
      }
    }
  }
}

/// Resizes what the file has rows for. kDone or kFormatError.
int Resize(const TouchstoneText& text, ICustomMatrix<double>& matrix, ICustomMatrix<double>* noise) {
  constexpr std::size_t kLargest = std::numeric_limits<unsigned int>::max();
  if (text.rows == 0 || (text.width != 3 && text.width != 9) || text.rows > kLargest || text.noise_rows > kLargest) {
    return kFormatError;
  }
  matrix.SetSize(static_cast<unsigned int>(text.width), static_cast<unsigned int>(text.rows));
  if (noise != nullptr && text.noise_rows != 0) {
    if (text.noise_width != kNoiseColumns) {
      return kFormatError;
    }
    noise->SetSize(kNoiseColumns, static_cast<unsigned int>(text.noise_rows));
  }
  return 0;
}

/// Appends at the caller's position. Text beyond the largest count is left out.
void StoreComment(const std::wstring& text, wchar_t* comment, int* length) {
  const auto position = static_cast<std::size_t>(*length);
  const std::size_t room = static_cast<std::size_t>(std::numeric_limits<int>::max()) - position;
  const std::size_t size = std::min(text.size(), room != 0 ? room - 1 : 0);
  text.copy(comment + position, size);
  comment[position + size] = L'\0';
  *length = static_cast<int>(std::min(position + size + 1, static_cast<std::size_t>(std::numeric_limits<int>::max())));
}

std::wstring Upper(std::wstring_view word) {
  std::wstring upper(word);
  for (wchar_t& c : upper) {
    c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
  }
  return upper;
}

std::optional<double> UnitFactor(std::wstring_view unit) {
  struct Unit {
    std::wstring_view name;
    double factor;
  };
  static constexpr Unit kUnits[] = {{L"HZ", 1.0}, {L"KHZ", 1e3}, {L"MHZ", 1e6}, {L"GHZ", 1e9}, {L"THZ", 1e12}};
  for (const Unit& known : kUnits) {
    if (Upper(unit) == known.name) {
      return known.factor;
    }
  }
  return std::nullopt;
}

}  // namespace
}  // namespace datafiles

SParamMatrix::SParamMatrix(ICustomMatrix<double>* matrix) : m_matrix(matrix) {}

SParamMatrix::~SParamMatrix() = default;

int SParamMatrix::Load(wchar_t const* file_name, wchar_t* comment, int* comment_length,
                       ICustomMatrix<double>* noise) try {
  if (m_matrix == nullptr) {
    return datafiles::kNoMatrix;
  }
  datafiles::FileSource file;
  if (!file.Open(file_name)) {
    return datafiles::kNotOpened;
  }
  const bool comment_wanted = comment != nullptr && comment_length != nullptr && *comment_length >= 0;
  const datafiles::TextCodec codec{std::locale()};
  datafiles::TouchstoneText text(file, codec, comment_wanted);
  int result = text.Read();
  if (result == 0) {
    result = datafiles::Resize(text, *m_matrix, noise);
  }
  if (result != 0) {
    return result;
  }
  if (!text.Rewind()) {
    return datafiles::kNotOpened;  // odd, and kept: a pipe is refused, though it is read only once
  }
  datafiles::StoreRows(text.values, m_matrix, text.rows, text.width);
  datafiles::StoreRows(text.values, noise, text.noise_rows, text.noise_width);
  if (text.options) {
    m_options = std::move(*text.options);
  }
  if (comment_wanted) {
    datafiles::StoreComment(text.Comments(), comment, comment_length);
  }
  // If the file has no noise block, the noise matrix keeps its values.
  return ChangeMatrix(text.noise_rows != 0 ? noise : nullptr) ? 0 : datafiles::kFormatError;
} catch (...) {
  return datafiles::kNotOpened;
}

bool SParamMatrix::ChangeMatrix(ICustomMatrix<double>* noise) {
  if (m_options.empty()) {
    return true;
  }
  const auto factor = datafiles::UnitFactor(m_options[0]);
  if (!factor || m_matrix == nullptr) {
    return false;
  }
  const unsigned int rows = m_matrix->Rows();
  const unsigned int columns = m_matrix->Cols();
  for (unsigned int row = 0; row < rows && columns != 0; ++row) {
    m_matrix->SetValue(0, row, m_matrix->GetValue(0, row) * *factor);
  }
  if (noise != nullptr && noise->Cols() > 1) {
    for (unsigned int row = 0; row < noise->Rows(); ++row) {
      noise->SetValue(0, row, noise->GetValue(0, row) * *factor);
      noise->SetValue(1, row, std::pow(10.0, noise->GetValue(1, row) / 10.0));
    }
  }
  const std::wstring format = m_options.size() > 2 ? datafiles::Upper(m_options[2]) : std::wstring();
  if (format == L"DB") {
    for (unsigned int row = 0; row < rows; ++row) {
      for (unsigned int column = 1; column + 1 < columns; column += 2) {
        m_matrix->SetValue(column, row, std::pow(10.0, m_matrix->GetValue(column, row) / 20.0));
      }
    }
  }
  if (format == L"DB" || format == L"MA") {
    ConvertToComplex();
    return true;
  }
  return format == L"RI";
}

void SParamMatrix::ConvertToComplex() {
  const unsigned int rows = m_matrix != nullptr ? m_matrix->Rows() : 0;
  const unsigned int columns = m_matrix != nullptr ? m_matrix->Cols() : 0;
  for (unsigned int row = 0; row < rows; ++row) {
    for (unsigned int column = 1; column + 1 < columns; column += 2) {
      const double magnitude = m_matrix->GetValue(column, row);
      const double angle = m_matrix->GetValue(column + 1, row) / 180.0 * 3.141592653589793;
      m_matrix->SetValue(column, row, magnitude * std::cos(angle));
      m_matrix->SetValue(column + 1, row, magnitude * std::sin(angle));
    }
  }
}

int LoadTouchstone(wchar_t const* file_name, ICustomMatrix<double>* matrix, wchar_t* comment, int* comment_length,
                   ICustomMatrix<double>* noise) {
  return SParamMatrix(matrix).Load(file_name, comment, comment_length, noise);
}
