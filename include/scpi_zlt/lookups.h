// Names, numbers and texts (C++ only): statuses, parameters and commands of the instrument's protocol by number, name
// and row, and the routines between a handler's result and its text.
//
// There are three kinds of failure, which never mix: VISA statuses (sign-extended to long), SCPI numbers (int, negative
// or from 103 up) and device statuses (signed 16-bit; widen them with their sign: -32768 is known, 32768 is not).
// ConvertErrorSorvsToScpi makes an SCPI number of a device status.
//
// Any thread may call everything here. Returned pointers point at constant text of the library, valid until it is
// unloaded; they must not be freed. Nothing throws. Wide texts are Russian.
#pragma once

#include <exception>

#include "scpi_zlt/export.h"

/// The failure of a command: an SCPI number, 0 for none, and its text, which is not owned.
struct sComErrorInfo {
  int code = 0;
  const char* text = "No error";
};

// ---- Protocol numbers and their names ----

/// The name of a command (0 to 7), such as "SK_SET"; null for an unknown number.
ZLT_API const char* GetCommandName(int id);
/// The number of a command by its name, or by its name without the first two or three characters ("SK_SET", "SET"),
/// with case; -1 if there is none. A text that begins with a digit is a number, and that number is returned, known or
/// not.
ZLT_API int GetCommandID(const char* text);

/// The row of a status. The first row of a run holds its number: "SE_READ_TIMEOUT = 20486". Note that an unknown number
/// gives "NO_ERROR".
ZLT_API const char* GetErrorName(int id);
/// The message of a status, or L"Неизвестная ошибка".
ZLT_API const wchar_t* GetErrorString(int id);
/// Rows in the table of statuses: 112.
ZLT_API int GetErrorsCount();
/// The status in row `row`, counted from 0; -1 outside the table (which is no status).
ZLT_API int GetErrorIDByIndex(int row);

/// The row of a parameter, as GetErrorName gives it ("P_CLK = 50"); null for an unknown number.
ZLT_API const char* GetParameterName(int id);
/// The description of a parameter, or L"Неизвестный параметр" where there is none: the last 30 rows have no
/// description.
ZLT_API const wchar_t* GetParameterDescriptionW(int id);
/// As GetCommandID.
ZLT_API int GetParameterID(const char* text);
/// Rows in the table of parameters: 176.
ZLT_API int GetParametersCount();
/// The parameter in row `row`, counted from 0; -1 outside the table.
ZLT_API int GetParameterIDByIndex(int row);

// ---- The same routines for tables of the caller's own ----
//
// Rows are written like enumerators in source code, "NAME" or "NAME = 20486": the first is number 0, one with "=" has
// the number after it, any other the number before plus 1. An empty or null row counts as well. Tables are only
// read.

/// Index of the first row with that number; `count` if there is none, 0 if `count` is below 1.
ZLT_API int GetEnumIndexByID(const char** names, int count, int id);
/// That row, whole; null if there is none.
ZLT_API const char* GetEnumName(const char** names, int count, int id);
/// The entry of `values` at the index of that row; null if there is none.
ZLT_API const char* GetEnumValue(const char** names, const char** values, int count, int id);
ZLT_API const wchar_t* GetEnumValueW(const char** names, const wchar_t** values, int count, int id);
/// The number of a name, as GetCommandID gives it.
ZLT_API int GetEnumID(const char** names, int count, const char* text);
/// The number of a row; -1 for a negative index. There is no upper bound: the caller stays inside the table.
ZLT_API int GetEnumID(const char** names, int index);

// ---- Results and errors ----

/// What `data` is for ConvertOutputData. Any other number: it points at a terminated string, which is copied as it is.
enum EResultType : int {
  kResultPointer = 0,      ///< the pointer itself: "0x" and its low 32 bits in hexadecimal
  kResultInt = 1,          ///< points at an int: decimal
  kResultDouble = 2,       ///< at a double: "%.12g", with the decimal point of the current locale
  kResultRegister = 4,     ///< at an int, as kResultInt
  kResultShortDouble = 7,  ///< at a double: exactly eight characters of "%g", a shorter text filled up with zero bytes
};

/// Writes the text of a value to `out`, which the caller makes large enough (128 characters do for numbers). With
/// `terminate` a zero follows it. `type` is an EResultType.
ZLT_API void ConvertOutputData(void* data, int type, char* out, bool terminate);

/// The text of an SCPI number; "No error" for 0, "" for a number that is not known (and for 317 and 318).
ZLT_API const char* GetErrorDescription(int code);

/// True if `status` is a known SCPI number other than 0, which is then recorded in `*info`. Any other status counts as
/// no error and leaves `*info` alone. `device` is not used, `status` not changed.
ZLT_API bool CheckErr(int& status, void* device, sComErrorInfo* info);

/// Records "System error" for a caught exception and returns -310.
ZLT_API int CatchErr(std::exception& error, void* device, sComErrorInfo* info);

/// The SCPI number of a device status: 0 stays 0; -32767 to -1 gain 33068, 1 to 99 gain 100, 20481 and up lose 20280;
/// everything else gives -300.
ZLT_API int ConvertErrorSorvsToScpi(short status);
