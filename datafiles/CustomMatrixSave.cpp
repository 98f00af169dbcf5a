// Saving of matrix files.
#include "scpi_zlt/matrix.h"

#include "datafiles/NumberWrite.h"
#include "datafiles/ResultCodes.h"
#include "datafiles/Scramble.h"
#include "datafiles/TextFile.h"

namespace datafiles {
namespace {

constexpr int kDigits = 6;

struct FileForm {
  explicit FileForm(EMatrixFlags flags)
      : enr((static_cast<int>(flags) & kMatrixEnr) != 0),
        separator((static_cast<int>(flags) & kMatrixCsv) != 0 ? ","
                  : enr                                       ? ", "
                                                              : "\t"),
        line_end(enr ? "\r\n" : "\n") {}

  bool enr;
  std::string_view separator;
  std::string_view line_end;
};

/// Lines that the reader takes for a mark or for nothing are left out; what has no comment mark goes out as it is.
void SaveComment(std::wstring_view comment, const FileForm& form, Sink& sink) {
  while (!comment.empty()) {
    const std::size_t end = std::min(comment.find(L'\n'), comment.size());
    const std::wstring_view line = Trim(comment.substr(0, end));
    comment.remove_prefix(std::min(end + 1, comment.size()));
    if (!line.empty() && !line.starts_with(L"#CRC")) {
      sink.Wide(line);
      sink.Ascii(form.line_end);
    }
  }
  if (!form.enr) {
    sink.Ascii(form.line_end);
  }
}

int SaveMatrix(ICustomMatrix<double> const* matrix, Sink& sink, wchar_t const* comment, EMatrixFlags flags) {
  const unsigned int columns = matrix != nullptr ? matrix->Cols() : 0;
  const unsigned int rows = matrix != nullptr ? matrix->Rows() : 0;
  if (rows == 0 || columns == 0) {
    return kNoData;
  }
  const FileForm form(flags);
  if (comment != nullptr && *comment != L'\0') {
    SaveComment(comment, form, sink);
  }
  std::string line;
  for (unsigned int row = 0; row < rows; ++row) {
    line.clear();
    for (unsigned int column = 0; column < columns; ++column) {
      if (column != 0) {
        line += form.separator;
      }
      line += NumberText(matrix->GetValue(column, row), kDigits).View();
    }
    line += form.line_end;
    sink.Ascii(line);
  }
  return 0;
}

}  // namespace
}  // namespace datafiles

int SaveCustomMatrixToFile(ICustomMatrix<double> const* matrix, std::wostream& stream, wchar_t const* comment,
                           EMatrixFlags flags) try {
  datafiles::StreamSink sink(stream);
  const int result = datafiles::SaveMatrix(matrix, sink, comment, flags);
  return result == 0 && !stream.good() ? datafiles::kNotOpened : result;
} catch (...) {
  return datafiles::kNotOpened;
}

int SaveCustomMatrixToFile(ICustomMatrix<double> const* matrix, wchar_t const* file_name, wchar_t const* comment,
                           EMatrixFlags flags) try {
  const datafiles::TextCodec codec(datafiles::EnvironmentLocale());
  datafiles::FileSink file(codec);
  if (!file.Open(file_name)) {
    return datafiles::kNotOpened;
  }
  int result = 0;
  if ((static_cast<int>(flags) & kMatrixScrambled) != 0) {
    datafiles::MemorySink text;
    result = datafiles::SaveMatrix(matrix, text, comment, flags);
    file.Ascii(datafiles::WriteScrambled(text.Text(), codec));
  } else {
    result = datafiles::SaveMatrix(matrix, file, comment, flags);
  }
  return file.Close() ? result : datafiles::kNotOpened;
} catch (...) {
  return datafiles::kNotOpened;
}
