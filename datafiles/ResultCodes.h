// What the functions for files of matrices and Touchstone files return.
#pragma once

namespace datafiles {

enum EResult : int {
  kDone = 0,
  kNotOpened = -1,     ///< not opened, rewound or written whole; no memory
  kUnequalLines = -3,  ///< data lines with different numbers of values
  kNoData = -4,        ///< a matrix file without data, a null matrix
  kFormatError = -5,   ///< what Touchstone does not have
  kNoMatrix = -6,      ///< Touchstone: a null matrix, or too few columns to save
};

}  // namespace datafiles
