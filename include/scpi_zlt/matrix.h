// Tables of doubles in text files: plain tables, CSV, and noise-source ENR files. Each may be scrambled.
//
// Results of every function here: 0 success, -1 the file cannot be opened, rewound or written whole, -3 data lines with
// different numbers of values, -4 no data. No exception leaves these functions. They keep no state: threads may call
// them at once, each on its own matrix.
//
// Numbers have a decimal point whatever the locale of the process. Comment text is decoded and encoded by the
// environment's locale; a byte that cannot be decoded is read as the character of the same number, a character that
// cannot be encoded goes out as "?". File names are converted by the C locale of the process (`setlocale`); a name that
// does not convert, or has 4096 bytes or more, gives -1.
//
// What does not come back as it was saved:
//  - values are written with 6 significant digits;
//  - the ENR form writes ", " between values and reads a comma as a decimal point, so "2000, 15.3" loads but "1.5, 2"
//    loads as 1.5 alone; the frequency is written as it is, but read in the unit of the version line;
//  - NaN and infinity are written as words, and a word ends its line on load;
//  - a comment line without "#", "!" or "[" in front is read as data.
// The functions of scpi_zlt/datafiles.h do without these surprises.
#pragma once

#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "scpi_zlt/export.h"

/// A table that files are read into and written from. Column first, then row, in every argument list.
template <class T>
class ZLT_API ICustomMatrix {
 public:
  /// Resizes to (columns, rows). 0 on success.
  virtual int SetSize(unsigned int columns, unsigned int rows) = 0;
  /// Values per column.
  virtual unsigned int Rows() const = 0;
  virtual unsigned int Cols() const = 0;
  virtual T GetValue(unsigned int column, unsigned int row) const = 0;
  virtual void SetValue(unsigned int column, unsigned int row, T value) = 0;
  virtual ~ICustomMatrix() = default;
};

/// The table as a vector of columns. Indices are not checked.
class ZLT_API CSimpleMatrix : public ICustomMatrix<double> {
 public:
  CSimpleMatrix();
  CSimpleMatrix(const CSimpleMatrix& other);
  CSimpleMatrix(CSimpleMatrix&& other) noexcept;
  CSimpleMatrix& operator=(const CSimpleMatrix& other);
  CSimpleMatrix& operator=(CSimpleMatrix&& other) noexcept;
  ~CSimpleMatrix() override;

  /// Keeps the values if the size does not change; otherwise every value becomes 0. Always 0.
  int SetSize(unsigned int columns, unsigned int rows) override;
  /// Size of the first column; 0 without columns.
  unsigned int Rows() const override;
  unsigned int Cols() const override;
  double GetValue(unsigned int column, unsigned int row) const override;
  void SetValue(unsigned int column, unsigned int row, double value) override;

  /// The values of one column, one after the other.
  double* ColumnData(unsigned int column);
  const double* ColumnData(unsigned int column) const;

 private:
  std::vector<std::vector<double>> m_columns;
};

/// Form of a file, whatever its name.
enum EMatrixFlags : int {
  kMatrixPlain = 0,
  kMatrixStopAtCrc = 1,  ///< a line that starts with "#CRC" ends the data; nothing is checked
  kMatrixScrambled = 2,  ///< reading holds the whole text in memory
  kMatrixCsv = 4,        ///< a comma separates values; in the other forms it is a decimal comma
  kMatrixEnr = 8         ///< "[Filetype ENR]", a version line, frequencies read into MHz
};

constexpr EMatrixFlags operator|(EMatrixFlags a, EMatrixFlags b) {
  return static_cast<EMatrixFlags>(static_cast<int>(a) | static_cast<int>(b));
}

/// 0. Resizes the target if its size differs, then copies every value. A null matrix gives -4.
ZLT_API int CopyCustomMatrix(ICustomMatrix<double> const* from, ICustomMatrix<double>* to);

/// Reads from the stream's position to count, then from the stream's start to store, so the stream must be able to seek
/// (-1). `matrix` and `comment` may each be null; with both null the data is still checked. The comment lines are
/// joined by "\n". The last argument has no effect. After a failure the matrix may be resized and partly filled.
ZLT_API int LoadCustomMatrixFromFile(ICustomMatrix<double>* matrix, std::wistream& stream, std::wstring* comment,
                                     EMatrixFlags flags, bool reserved);

/// The same on a named file. A UTF-8 mark at its beginning is skipped (in a stream it hides the numbers of its line). A
/// pipe gives -1 unless the form is scrambled, because it cannot be read twice; a directory gives -4.
ZLT_API int LoadCustomMatrixFromFile(ICustomMatrix<double>* matrix, wchar_t const* file_name, std::wstring* comment,
                                     EMatrixFlags flags, bool reserved);

/// Writes the lines of the comment (null for none; "#CRC" and empty lines are left out) and the values.
/// An ENR file gets its "[Filetype ENR]" and "[Version x.y]" lines from the comment, or not at all.
ZLT_API int SaveCustomMatrixToFile(ICustomMatrix<double> const* matrix, std::wostream& stream, wchar_t const* comment,
                                   EMatrixFlags flags);

/// The same into a named file, which is emptied even when there is nothing to save (-4).
ZLT_API int SaveCustomMatrixToFile(ICustomMatrix<double> const* matrix, wchar_t const* file_name,
                                   wchar_t const* comment, EMatrixFlags flags);

/// Looks in `text` for the first line that starts with "#" and `name`; the rest of that line, trimmed, or
/// `default_value`. The name is compared without regard to what follows it: "Freq" finds "#Frequency 5" as "uency 5".
ZLT_API std::wstring GetParameter(wchar_t const* text, wchar_t const* name, wchar_t const* default_value);
