// Matrix files of the modern layer: the forms of matrix.h, read strictly and written so that they read back.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "scpi_zlt/datafiles.h"

#include "datafiles/NumberScan.h"
#include "datafiles/NumberWrite.h"
#include "datafiles/Scramble.h"
#include "datafiles/modern/LineFile.h"
#include "support/Ascii.h"

namespace scpi_zlt {
namespace {

using namespace detail;

constexpr std::string_view kEnrType = "[Filetype ENR]";

MatrixForm FormOf(const std::filesystem::path& file, const MatrixOptions& options) {
  const std::string extension = Lower(file.extension().string());
  return options.form.value_or(extension == ".csv"   ? MatrixForm::kCsv
                               : extension == ".enr" ? MatrixForm::kEnr
                                                     : MatrixForm::kPlain);
}

/// What a line of column names may have in a field.
bool IsName(const std::string& field) {
  return !field.empty() && !StrictNumber(field, true);
}

class MatrixReader {
 public:
  MatrixReader(const std::filesystem::path& file, const MatrixOptions& options)
      : m_file(file, options.scrambled), m_form(FormOf(file, options)), m_options(options) {}

  Matrix Read() {
    while (m_file.Next()) {
      std::string_view line = datafiles::Trim(m_file.Line());
      if (line.empty()) {
        continue;
      }
      if (m_options.stop_at_crc && line.starts_with("#CRC")) {
        break;
      }
      if (line.front() == '[' || line.front() == '!' || line.front() == '#') {
        HeaderLine(line);
      } else if (m_form == MatrixForm::kCsv) {
        CsvLine(line);
      } else {
        WordLine(line);
      }
    }
    if (m_matrix.columns == 0) {
      m_file.FailWhole("no numbers");
    }
    return std::move(m_matrix);
  }

 private:
  void HeaderLine(std::string_view line) {
    if (m_form == MatrixForm::kEnr && line == kEnrType) {
      return;
    }
    if (m_form == MatrixForm::kEnr && line.starts_with("[Version")) {
      if (line != "[Version 1.0]" && line != "[Version 1.1]") {
        m_file.Fail("unknown version " + Quoted(line));
      }
      m_hertz_only = line == "[Version 1.1]";
      m_version_known = true;
      return;
    }
    Remark(line);
  }

  void Remark(std::string_view line) {
    if (!m_matrix.comment.empty()) {
      m_matrix.comment += '\n';
    }
    m_matrix.comment += ToUtf8(FromUtf8(line));
  }

  std::string_view TakeField(std::string_view& line) const {
    const std::size_t end = line.find(m_separator);
    const std::string_view field = datafiles::Trim(line.substr(0, end));
    line.remove_prefix(end != line.npos ? end + 1 : line.size());
    return field;
  }

  /// The fields of a line, without their quotes; doubled quotes inside become one.
  std::vector<std::string> Fields(std::string_view line) const {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
      if (line[i] == '"') {
        const bool doubled = quoted && i + 1 < line.size() && line[i + 1] == '"';
        quoted = doubled || !quoted;
        i += doubled ? 1 : 0;
        if (!doubled) {
          continue;
        }
      } else if (line[i] == m_separator && !quoted) {
        fields.emplace_back();
        continue;
      }
      fields.back() += line[i];
    }
    for (std::string& field : fields) {
      field = ToUtf8(FromUtf8(datafiles::Trim(std::string_view(field))));
    }
    return fields;
  }

  void CsvLine(std::string_view line) {
    if (m_separator == '\0') {
      m_separator = line.find(';') != line.npos ? ';' : ',';
      std::vector<std::string> names = Fields(line);
      if (std::all_of(names.begin(), names.end(), IsName)) {
        m_matrix.names = std::move(names);
        m_names_line = line;
        return;
      }
    }
    std::size_t count = 0;
    for (bool more = true; more; ++count) {
      more = line.find(m_separator) != line.npos;
      Add(TakeField(line));
    }
    EndRow(count);
  }

  void WordLine(std::string_view line) {
    std::size_t count = 0;
    for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
      if (word.ends_with(',')) {
        word.remove_suffix(1);
      }
      if (m_form == MatrixForm::kEnr && count == 0) {
        AddFrequency(word, line);
      } else {
        Add(word);
      }
      ++count;
    }
    EndRow(count);
  }

  void Add(std::string_view word) {
    const auto value = StrictNumber(word, true);
    if (!value) {
      m_file.Fail(word.empty() ? "empty field" : "not a number: " + Quoted(word));
    }
    m_matrix.values.push_back(*value);
  }

  /// A unit may follow the number, with or without a blank before it and a comma after it.
  void AddFrequency(std::string_view word, std::string_view& rest) {
    if (!m_version_known) {
      m_file.Fail("no version line before the numbers");
    }
    std::size_t size = word.size();
    while (size != 0 && IsLetter(word[size - 1]) && !StrictNumber(word.substr(0, size), true)) {
      --size;
    }
    std::string_view unit = word.substr(size);
    if (unit.empty()) {
      std::string_view after = rest;
      const std::string_view next = TakeWord(after);
      if (!next.empty() && !StrictNumber(next.substr(0, next.size() - (next.ends_with(',') ? 1 : 0)), true)) {
        unit = next.substr(0, next.size() - (next.ends_with(',') ? 1 : 0));
        rest = after;
      }
    }
    Add(word.substr(0, size));
    m_matrix.values.back() = Megahertz(m_matrix.values.back(), unit);
  }

  double Megahertz(double value, std::string_view unit) const {
    const std::string name = Lower(unit);
    if (!name.empty() && m_hertz_only) {
      m_file.Fail("version 1.1 has no units: " + Quoted(unit));
    }
    if (name == "ghz") {
      return value * 1000.0;
    }
    if (name == "mhz") {
      return value;
    }
    if (name == "khz") {
      return value / 1e3;
    }
    if (!name.empty() && name != "hz") {
      m_file.Fail("unknown unit " + Quoted(unit));
    }
    return value / 1e6;
  }

  void EndRow(std::size_t count) {
    if (m_matrix.columns != 0 && m_matrix.columns != count) {
      m_file.Fail(std::to_string(count) + " values, " + std::to_string(m_matrix.columns) + " in the rows before");
    }
    m_matrix.columns = count;
    if (!m_matrix.names.empty() && m_matrix.names.size() != count) {
      m_matrix.names.clear();
      Remark("# " + m_names_line);
    }
  }

  LineFile m_file;
  MatrixForm m_form;
  MatrixOptions m_options;
  Matrix m_matrix;
  char m_separator = '\0';  // of a CSV file, as in its first line
  std::string m_names_line;
  bool m_version_known = false;
  bool m_hertz_only = false;
};

/// Comment lines in the form in which they read back.
void AppendComment(std::string& text, std::string_view comment, bool enr, std::string_view line_end,
                   const MatrixOptions& options, const std::filesystem::path& file) {
  while (!comment.empty()) {
    const std::size_t end = std::min(comment.find('\n'), comment.size());
    const std::string_view line = datafiles::Trim(comment.substr(0, end));
    comment.remove_prefix(std::min(end + 1, comment.size()));
    if (line.empty()) {
      continue;
    }
    if ((enr && (line == kEnrType || line.starts_with("[Version"))) ||
        (options.stop_at_crc && line.starts_with("#CRC"))) {
      throw DataFileError(file, 0, "a comment line that reads back as a header: " + Quoted(line));
    }
    if (line.front() != '[' && line.front() != '!' && line.front() != '#') {
      text += "# ";
    }
    text += line;
    text += line_end;
  }
}

/// The names of the columns, in the first line of a CSV file, in a comment of another one.
void AppendNames(std::string& text, const Matrix& matrix, MatrixForm form, std::string_view line_end,
                 const std::filesystem::path& file) {
  if (matrix.names.empty()) {
    return;
  }
  if (matrix.names.size() != matrix.columns) {
    throw DataFileError(file, 0, "a matrix must have a name for each column, or none");
  }
  text += form == MatrixForm::kCsv ? "" : "# ";
  for (const std::string& name : matrix.names) {
    if (!IsName(name) || name != datafiles::Trim(std::string_view(name)) || name.find_first_of(";\r\n") != name.npos) {
      throw DataFileError(file, 0, "a column cannot be named " + Quoted(name));
    }
    text += &name == &matrix.names.front() ? "" : form == MatrixForm::kCsv ? "," : "\t";
    if (form != MatrixForm::kCsv || (name.find_first_of(",\"") == name.npos && name.find_first_of("[!#") != 0)) {
      text += name;
      continue;
    }
    text += '"';
    for (const char c : name) {
      text.append(c == '"' ? 2 : 1, c);
    }
    text += '"';
  }
  text += line_end;
}

std::string ScrambledUtf8(std::string_view text) {
  std::wstring wide = FromUtf8(text);
  for (std::size_t i = 0; i < wide.size(); ++i) {
    wide[i] = datafiles::Scramble(wide[i], i);
  }
  return ToUtf8(wide);
}

}  // namespace

Matrix ReadMatrix(const std::filesystem::path& file, const MatrixOptions& options) {
  return MatrixReader(file, options).Read();
}

void WriteMatrix(const std::filesystem::path& file, const Matrix& matrix, const MatrixOptions& options) {
  if (matrix.columns == 0 || matrix.values.empty() || matrix.values.size() % matrix.columns != 0) {
    throw DataFileError(file, 0, "a matrix must have whole rows, and at least one");
  }
  const MatrixForm form = FormOf(file, options);
  const bool enr = form == MatrixForm::kEnr;
  const std::string_view line_end = enr ? "\r\n" : "\n";
  const std::string_view separator = form == MatrixForm::kCsv ? "," : enr ? ", " : "\t";
  // Version 1.0: its unit leaves the frequency in the file as it is in memory.
  std::string text = enr ? std::string(kEnrType) + "\r\n[Version 1.0]\r\n" : std::string();
  AppendComment(text, matrix.comment, enr, line_end, options, file);
  AppendNames(text, matrix, form, line_end, file);
  for (std::size_t i = 0; i < matrix.values.size(); ++i) {
    const std::size_t column = i % matrix.columns;
    text += column != 0 ? separator : "";
    text += datafiles::NumberText(matrix.values[i], -1).View();
    text += enr && column == 0 ? " MHz" : "";
    text += column + 1 == matrix.columns ? line_end : "";
  }
  WriteFile(file, options.scrambled ? ScrambledUtf8(text) : text);
}

}  // namespace scpi_zlt
