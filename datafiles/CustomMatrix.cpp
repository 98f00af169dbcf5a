// The matrix class, copies, and the named values of a comment text.
#include <string_view>

#include "scpi_zlt/matrix.h"

#include "datafiles/ResultCodes.h"
#include "datafiles/TextReader.h"

CSimpleMatrix::CSimpleMatrix() = default;
CSimpleMatrix::CSimpleMatrix(const CSimpleMatrix& other) = default;
CSimpleMatrix::CSimpleMatrix(CSimpleMatrix&& other) noexcept = default;
CSimpleMatrix& CSimpleMatrix::operator=(const CSimpleMatrix& other) = default;
CSimpleMatrix& CSimpleMatrix::operator=(CSimpleMatrix&& other) noexcept = default;
CSimpleMatrix::~CSimpleMatrix() = default;

int CSimpleMatrix::SetSize(unsigned int columns, unsigned int rows) {
  if (columns == Cols() && rows == Rows()) {
    return 0;
  }
  m_columns.clear();
  m_columns.resize(columns);
  for (auto& column : m_columns) {
    column.resize(rows);
  }
  return 0;
}

unsigned int CSimpleMatrix::Rows() const {
  return m_columns.empty() ? 0 : static_cast<unsigned int>(m_columns.front().size());
}

unsigned int CSimpleMatrix::Cols() const {
  return static_cast<unsigned int>(m_columns.size());
}

double CSimpleMatrix::GetValue(unsigned int column, unsigned int row) const {
  return m_columns[column][row];
}

void CSimpleMatrix::SetValue(unsigned int column, unsigned int row, double value) {
  m_columns[column][row] = value;
}

double* CSimpleMatrix::ColumnData(unsigned int column) {
  return m_columns[column].data();
}

const double* CSimpleMatrix::ColumnData(unsigned int column) const {
  return m_columns[column].data();
}

int CopyCustomMatrix(ICustomMatrix<double> const* from, ICustomMatrix<double>* to) try {
  if (from == nullptr || to == nullptr) {
    return datafiles::kNoData;
  }
  const unsigned int columns = from->Cols();
  const unsigned int rows = from->Rows();
  if (to->Cols() != columns || to->Rows() != rows) {
    to->SetSize(columns, rows);
  }
  for (unsigned int column = 0; column < columns; ++column) {
    for (unsigned int row = 0; row < rows; ++row) {
      to->SetValue(column, row, from->GetValue(column, row));
    }
  }
  return 0;
} catch (...) {
  return datafiles::kNotOpened;
}

std::wstring GetParameter(wchar_t const* text, wchar_t const* name, wchar_t const* default_value) try {
  const std::wstring_view wanted = name != nullptr ? name : L"";
  std::wstring_view rest = text != nullptr ? text : L"";
  while (!rest.empty()) {
    const std::wstring_view line = rest.substr(0, rest.find(L'\n'));
    if (line.starts_with(L'#') && line.substr(1).starts_with(wanted)) {
      return std::wstring(datafiles::Trim(line.substr(1 + wanted.size())));
    }
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
  return default_value != nullptr ? default_value : L"";
} catch (...) {
  return {};  // no memory
}
