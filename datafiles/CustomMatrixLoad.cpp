// Loading of matrix files. A text is worded to be read twice, once to count and once to store. Where the second pass
// cannot find anything else than the first (a file of our own opening, not in ENR form) the numbers of the first are
// kept in blocks instead, and nothing is read again.
//
// Data lines are scanned as they are in the file: a byte above 127 ends the numbers of its line whatever the locale
// makes of it. Only comment and header lines are decoded.
#include <limits>
#include <new>
#include <optional>

#include "scpi_zlt/matrix.h"

#include "datafiles/EnrText.h"
#include "datafiles/LineNumbers.h"
#include "datafiles/MatrixAccess.h"
#include "datafiles/ResultCodes.h"
#include "datafiles/Scramble.h"
#include "datafiles/TextFile.h"
#include "datafiles/ValueStore.h"

namespace datafiles {
namespace {

template <class Char>
bool IsHeader(Char c) {
  return c == Char('[') || c == Char('!') || c == Char('#');
}

template <class Char>
class MatrixLoader {
 public:
  MatrixLoader(Source<Char>& source, const TextCodec& codec, ICustomMatrix<double>* matrix, std::wstring* comment,
               EMatrixFlags flags)
      : m_reader(source), m_codec(codec), m_matrix(matrix), m_comment(comment), m_flags(flags) {}

  /// `one_pass` is granted where the text can be read again and is the same then.
  int Run(bool one_pass) {
    m_keep = one_pass && !Has(kMatrixEnr);
    const int result = Count();
    if (result != 0) {
      return result;
    }
    if (m_matrix != nullptr && !Resize()) {
      return kNotOpened;
    }
    if (!m_reader.Rewind()) {
      return kNotOpened;
    }
    if (m_keep) {
      StoreKept();
    } else {
      StoreAgain();
    }
    if (m_comment != nullptr) {
      *m_comment = std::move(m_text);
    }
    return 0;
  }

 private:
  bool Has(EMatrixFlags flag) const { return (static_cast<int>(m_flags) & static_cast<int>(flag)) != 0; }

  /// Steps to the next line that is not empty, and over the blanks in front of it.
  bool NextLine() {
    while (m_reader.NextLine()) {
      for (;;) {
        const auto text = m_reader.Text();
        const auto trimmed = TrimLeft(text);
        if (!trimmed.empty()) {
          m_reader.More(text.size() - trimmed.size());
          return true;
        }
        if (m_reader.Whole()) {
          break;
        }
        m_reader.More(text.size());
      }
    }
    return false;
  }

  /// The first pass.
  int Count() {
    bool ended = false;
    while ((!ended || CommentKept()) && NextLine()) {
      if (IsHeader(m_reader.Text().front())) {
        ended = HeaderLine() || ended;
      } else if (!ended && !DataLine()) {
        return kUnequalLines;
      }
    }
    return m_columns == 0 || m_rows == 0 ? kNoData : 0;
  }

  bool CommentKept() const { return m_keep && m_comment != nullptr; }

  /// True for the mark after which there is no data.
  bool HeaderLine() {
    m_reader.Ensure(4);
    const bool mark = Has(kMatrixStopAtCrc) && m_reader.Text().starts_with(Literal<Char>("#CRC"));
    if (CommentKept()) {
      AddComment();
    } else if (!mark && Has(kMatrixEnr)) {
      m_reader.Hold();
      m_header.Line(m_codec.Decode(Trim(m_reader.Text())));
    }
    return mark;
  }

  /// False when the line has another number of values than those before.
  bool DataLine() {
    const std::size_t count = ScanData([this](double value) {
      if (m_keep && m_matrix != nullptr) {
        m_kept.Add(value);
      }
    });
    if (count == 0) {
      return true;
    }
    if (m_columns != 0 && m_columns != count) {
      return false;
    }
    m_columns = count;
    ++m_rows;
    return true;
  }

  template <class Take>
  std::size_t ScanData(Take&& take) {
    if (!Has(kMatrixEnr)) {
      return Has(kMatrixCsv) ? ScanLine<CommaRule::kBlank>(m_reader, take)
                             : ScanLine<CommaRule::kPoint>(m_reader, take);
    }
    std::basic_string<Char> line = HeldLine();
    m_header.EraseUnits(line);
    return ScanHeld(line, take);
  }

  std::basic_string<Char> HeldLine() {
    m_reader.Hold();
    return std::basic_string<Char>(Trim(m_reader.Text()));
  }

  template <class Take>
  std::size_t ScanHeld(std::basic_string_view<Char> line, Take&& take) const {
    return Has(kMatrixCsv) ? ScanText<CommaRule::kBlank>(line, take) : ScanText<CommaRule::kPoint>(line, take);
  }

  void AddComment() {
    m_reader.Hold();
    const std::wstring line = m_codec.Decode(Trim(m_reader.Text()));
    if (m_header.Owns(line)) {
      return;
    }
    if (m_any_comment) {
      m_text += L'\n';
    }
    m_any_comment = true;
    m_text += line;
  }

  bool Resize() {
    constexpr std::size_t kLargest = std::numeric_limits<unsigned int>::max();
    if (m_columns > kLargest || m_rows > kLargest) {
      return false;
    }
    if (m_matrix->Cols() != m_columns || m_matrix->Rows() != m_rows) {
      m_matrix->SetSize(static_cast<unsigned int>(m_columns), static_cast<unsigned int>(m_rows));
    }
    return true;
  }

  void StoreKept() {
    if (m_matrix == nullptr) {
      return;
    }
    MatrixWriter writer(*m_matrix);
    for (std::size_t row = 0; row < m_rows; ++row) {
      for (std::size_t column = 0; column < m_columns; ++column) {
        writer.Set(column, row, m_kept.Take());
      }
    }
  }

  /// The second pass. It reads on after the mark, but stores nothing outside the sizes of the first.
  void StoreAgain() {
    if (m_matrix == nullptr && m_comment == nullptr) {
      return;
    }
    std::optional<MatrixWriter> writer;
    if (m_matrix != nullptr) {
      writer.emplace(*m_matrix);
    }
    std::size_t row = 0;
    while (NextLine()) {
      if (IsHeader(m_reader.Text().front())) {
        if (m_comment != nullptr) {
          AddComment();
        }
      } else if (writer && row < m_rows) {
        row += StoreLine(*writer, row) != 0 ? 1 : 0;
      }
    }
  }

  std::size_t StoreLine(MatrixWriter& writer, std::size_t row) {
    double scale = 1.0;
    std::size_t column = 0;
    const auto store = [&](double value) {
      if (column < m_columns) {
        writer.Set(column, row, column == 0 ? value * scale : value);
      }
      ++column;
    };
    if (!Has(kMatrixEnr)) {
      return ScanData(store);
    }
    std::basic_string<Char> line = HeldLine();
    scale = m_header.TakeScale(line);
    return ScanHeld(line, store);
  }

  TextReader<Char> m_reader;
  const TextCodec& m_codec;
  ICustomMatrix<double>* m_matrix;
  std::wstring* m_comment;
  EMatrixFlags m_flags;
  bool m_keep = false;

  EnrHeader m_header;
  std::size_t m_columns = 0;
  std::size_t m_rows = 0;
  ValueStore m_kept;
  std::wstring m_text;
  bool m_any_comment = false;
};

int LoadScrambled(FileSource& file, const TextCodec& codec, ICustomMatrix<double>* matrix, std::wstring* comment,
                  EMatrixFlags flags) {
  const std::wstring text = ReadScrambled(file, codec);
  MemorySource source(text);
  return MatrixLoader<wchar_t>(source, codec, matrix, comment, flags).Run(true);
}

}  // namespace
}  // namespace datafiles

int LoadCustomMatrixFromFile(ICustomMatrix<double>* matrix, std::wistream& stream, std::wstring* comment,
                             EMatrixFlags flags, bool) try {
  const datafiles::TextCodec codec(std::locale::classic());
  datafiles::StreamSource source(stream);
  return datafiles::MatrixLoader<wchar_t>(source, codec, matrix, comment, flags).Run(false);
} catch (...) {
  return datafiles::kNotOpened;  // memory, a caller's matrix, or a caller's stream that throws
}

int LoadCustomMatrixFromFile(ICustomMatrix<double>* matrix, wchar_t const* file_name, std::wstring* comment,
                             EMatrixFlags flags, bool) try {
  datafiles::FileSource file;
  if (!file.Open(file_name)) {
    return datafiles::kNotOpened;
  }
  const datafiles::TextCodec codec(datafiles::EnvironmentLocale());
  if ((static_cast<int>(flags) & kMatrixScrambled) != 0) {
    return datafiles::LoadScrambled(file, codec, matrix, comment, flags);
  }
  return datafiles::MatrixLoader<char>(file, codec, matrix, comment, flags).Run(true);
} catch (...) {
  return datafiles::kNotOpened;
}
