// One parsed program message unit, as the parser sees it (C++ only). To debug a message, print it with Show.
//
// Offset and length mark a token in one private copy of the text; nothing in it is terminated. An sCommand owns all
// that it points at, and copies are deep.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "scpi_zlt/export.h"
#include "scpi_zlt/lookups.h"

/// The kind of a token.
enum ETokenType : std::int32_t {
  kTokenUnknown = 0,
  kTokenNode = 1,       ///< a header token that matched a row of the command tree
  kTokenParameter = 2,  ///< a parameter token that became a value
};

/// The kind of a parsed parameter.
enum EParamType : std::int32_t {
  kParamNumber = 2,
  kParamCharacter = 3,  ///< character data: one of the words of a table
  kParamString = 6,
  kParamBlock = 7,
  kParamHeaderSuffix = 8,  ///< the numeric suffix of a header token
};

/// One token.
struct sSubString {
  std::int32_t offset = 0;
  std::int32_t length = 0;  ///< without any numeric suffix
  ETokenType type = kTokenUnknown;
  std::int32_t channel = 0;  ///< numeric suffix of a header token, 0 if none, -1 if no letter begins the token
};

/// One parsed parameter, as handlers receive it.
struct sParamInfo {
  EParamType type = kParamNumber;
  std::int32_t unit_index = -1;  ///< row of the unit table, -1 if no unit was written
  bool flag = false;
  double value = -1.0;         ///< number in base units; row of the word; length of the data; -1 for a string
  std::string text;            ///< of a string, without its quotes
  const char* data = nullptr;  ///< first byte of block data, inside the command's text
};

struct ZLT_API sCommand {
  sCommand();
  /// Copies the text; a null text leaves it null.
  sCommand(char* text, int length);
  sCommand(const sCommand& other);
  sCommand& operator=(const sCommand&) = delete;
  ~sCommand();

  /// A character of a token, in lower case; 0 outside of the token or of the text.
  char GetChar(int token, int position) const;

  char* text = nullptr;
  std::int32_t length = 0;
  std::int32_t level_count = 0;      ///< header tokens
  std::int32_t first_character = 0;  ///< "*" and ":" have meaning
  std::vector<sSubString> substrings;
  std::int32_t parameter_count = 0;  ///< parameter tokens
  std::int32_t substring_count = 0;
  bool query = false;
  std::int32_t error = 0;  ///< SCPI number of the unit so far
  std::vector<sParamInfo> parameters;
  std::int32_t parsed_count = 0;
  sComErrorInfo* error_info = nullptr;  ///< the handler's detailed error
  bool final_attempt = false;           ///< the unit is not tried again, so its handler may take the parameters over
};

/// Prints a command's tokens and values on standard output.
ZLT_API void Show(sCommand command);

/// 1 plus the count of ":" in a terminated text.
ZLT_API int GetCLC(char* text);
