// Touchstone files (.s1p to .s4p), read into and written from a matrix.
//
// In memory column 0 is the frequency in Hz; columns 1 and 2 are real and imaginary part of the first parameter in the
// order of the file, 3 and 4 of the second, and so on. A noise matrix has five columns: frequency in Hz, noise figure
// as a linear ratio, and the three further numbers of the noise block as in the file.
//
// Results: 0 success, -1 the file cannot be opened, rewound or written whole, -3 lines of unequal length, -5 format
// error, -6 null matrix or (saving) fewer than two columns. No exception leaves these functions.
//
// Loading takes one and two ports, one row per line; the reference impedance is ignored. A frequency that falls begins
// the noise block, so rows after a fall never load as data. Saving takes up to four ports, always in Hz and 50 ohm,
// with 12 digits (13 for the frequency). A pair that is zero or missing is saved as "-200 0" in every format, so in MA
// and RI it does not come back as zero. NaN is saved as a word, which ends its row on load. In dB a magnitude within
// about 1e-5 of 1 comes back with fewer than 12 digits of its decibels, so saving it again may differ in the last of
// them; RI and MA give the same file again. The functions of scpi_zlt/datafiles.h do not have these surprises.
//
// "!" lines are decoded by the global C++ locale of the program (`std::locale::global`; the classic one if it was never
// set) and encoded by that of the environment. If the two differ, comments beyond ASCII do not come back. A byte that
// cannot be decoded is read as the character of the same number; a character that cannot be encoded is written as "?".
#pragma once

#include <string>
#include <vector>

#include "scpi_zlt/export.h"
#include "scpi_zlt/matrix.h"

enum ETouchstoneFormat : int { kTouchstoneDb = 0, kTouchstoneMa = 1, kTouchstoneRi = 2 };

/// Wraps a caller's matrix for one call.
class ZLT_API SParamMatrix {
 public:
  /// Borrows the matrix; it must outlive this object.
  explicit SParamMatrix(ICustomMatrix<double>* matrix);
  ~SParamMatrix();
  SParamMatrix(const SParamMatrix&) = delete;
  SParamMatrix& operator=(const SParamMatrix&) = delete;

  /// As LoadTouchstone. Without an option line in this file, the option words of the last load apply.
  int Load(wchar_t const* file_name, wchar_t* comment, int* comment_length, ICustomMatrix<double>* noise);
  /// As SaveTouchstone.
  int Save(wchar_t const* file_name, wchar_t const* comment, ICustomMatrix<double>* noise, ETouchstoneFormat format);
  /// Converts numbers of a file to the form in memory, by the option words of the last load. True without option words;
  /// false for an unknown unit (nothing changed) or format (frequencies and noise changed).
  bool ChangeMatrix(ICustomMatrix<double>* noise);
  /// Converts pairs of magnitude and degrees to real and imaginary part.
  void ConvertToComplex();

 private:
  std::vector<std::wstring> m_options;
  ICustomMatrix<double>* m_matrix;
};

/// `comment_length` is a start position on entry: the "!" lines are appended to `comment` from there on, with nothing
/// between them, and then a zero. On return it counts all of that, the zero too. The buffer must hold the start
/// position, all "!" lines of the file, and 1. If either is null or the length is negative, nothing is stored. `noise`
/// may be null; it is resized only when the file has a noise block, which then must have five columns (-5).
ZLT_API int LoadTouchstone(wchar_t const* file_name, ICustomMatrix<double>* matrix, wchar_t* comment,
                           int* comment_length, ICustomMatrix<double>* noise);

/// A name without any "." (in its folders too) gets ".s1p" to ".s4p". `comment` and `noise` may be null. More than four
/// ports, or a format that does not exist, give -5 and touch no file.
ZLT_API int SaveTouchstone(wchar_t const* file_name, ICustomMatrix<double>* matrix, wchar_t const* comment,
                           ICustomMatrix<double>* noise, ETouchstoneFormat format);
