// Stores and fetches by column and row: straight into the columns of our own class, by virtual calls otherwise.
#pragma once

#include <cstddef>
#include <typeinfo>
#include <vector>

#include "scpi_zlt/matrix.h"

namespace datafiles {

/// Sizes are taken when this is made: make a new one after a resize.
class MatrixWriter {
 public:
  explicit MatrixWriter(ICustomMatrix<double>& matrix)
      : m_matrix(matrix), m_columns(matrix.Cols()), m_rows(matrix.Rows()) {
    if (typeid(matrix) == typeid(CSimpleMatrix)) {
      auto& simple = static_cast<CSimpleMatrix&>(matrix);
      for (unsigned int column = 0; column < m_columns; ++column) {
        m_direct.push_back(simple.ColumnData(column));
      }
    }
  }

  /// What lies outside the matrix is dropped.
  void Set(std::size_t column, std::size_t row, double value) {
    if (column >= m_columns || row >= m_rows) {
      return;
    }
    if (!m_direct.empty()) {
      m_direct[column][row] = value;
    } else {
      m_matrix.SetValue(static_cast<unsigned int>(column), static_cast<unsigned int>(row), value);
    }
  }

 private:
  ICustomMatrix<double>& m_matrix;
  std::size_t m_columns;
  std::size_t m_rows;
  std::vector<double*> m_direct;
};

}  // namespace datafiles
