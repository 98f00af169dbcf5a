// Files and matrices as short text, for tables of cases.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdlib.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include "scpi_zlt/touchstone.h"

#include "datafiles/NumberWrite.h"

namespace datafiles_test {

/// A folder that is deleted with its contents at the end of the test.
class Folder {
 public:
  Folder() { m_path = mkdtemp(m_name); }
  ~Folder() { std::filesystem::remove_all(m_path); }
  std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

 private:
  char m_name[32] = "/tmp/datafilesXXXXXX";
  std::filesystem::path m_path;
};

inline void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Rows in braces, each number with the fewest digits that read back the same.
inline std::string Text(const ICustomMatrix<double>& matrix) {
  std::string text;
  for (unsigned int row = 0; row < matrix.Rows(); ++row) {
    text += '{';
    for (unsigned int column = 0; column < matrix.Cols(); ++column) {
      text += column != 0 ? "," : "";
      text += datafiles::NumberText(matrix.GetValue(column, row), -1).View();
    }
    text += '}';
  }
  return text;
}

/// A matrix from rows of equal length.
inline CSimpleMatrix MakeMatrix(const std::vector<std::vector<double>>& rows) {
  CSimpleMatrix matrix;
  matrix.SetSize(static_cast<unsigned int>(rows[0].size()), static_cast<unsigned int>(rows.size()));
  for (unsigned int row = 0; row < matrix.Rows(); ++row) {
    for (unsigned int column = 0; column < matrix.Cols(); ++column) {
      matrix.SetValue(column, row, rows[row][column]);
    }
  }
  return matrix;
}

/// Result, values and comment of a matrix file: "0 {1,2} # a".
inline std::string LoadMatrix(const std::filesystem::path& path, int flags) {
  CSimpleMatrix matrix;
  std::wstring comment;
  const int result =
      LoadCustomMatrixFromFile(&matrix, path.wstring().c_str(), &comment, static_cast<EMatrixFlags>(flags), false);
  std::string text = std::to_string(result) + " " + Text(matrix) + " ";
  for (const wchar_t c : comment) {
    text += c < 128 ? std::string(1, static_cast<char>(c)) : "<" + std::to_string(static_cast<unsigned>(c)) + ">";
  }
  return text;
}

/// Result, values and noise of a Touchstone file: "0 {1,2,3} noise {1,2,3,4,5}".
inline std::string LoadNetwork(const std::filesystem::path& path) {
  CSimpleMatrix matrix;
  CSimpleMatrix noise;
  const int result = LoadTouchstone(path.wstring().c_str(), &matrix, nullptr, nullptr, &noise);
  const std::string noise_text = Text(noise);
  return std::to_string(result) + " " + Text(matrix) + (noise_text.empty() ? "" : " noise " + noise_text);
}

/// The tables of files, which hold in every locale.
void ExpectMatricesLoad();
void ExpectNetworksLoad();

}  // namespace datafiles_test
