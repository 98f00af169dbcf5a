// The records that the parser, the command tables and the handlers share.
#pragma once

#include <cstdint>
#include <vector>

#include "scpi_zlt/command.h"
#include "scpi_zlt/lookups.h"
#include "scpi_zlt/scpi_errors.h"

/// Where the parser and the handlers send responses and errors.
class IResponseStream {
 public:
  /// Appends text to the response; returns how many characters were stored.
  virtual int SendResponse(const char* text, int length) = 0;
  /// Reports a SCPI error number.
  virtual int RaiseError(int code, const char* text) = 0;
  /// Ends the response message.
  virtual int SendEnd() = 0;

 protected:
  ~IResponseStream() = default;
};

/// Instead of the length of a short form: only the whole word matches.
inline constexpr std::int32_t kNoShortForm = -1;

/// A word of character data; the short form is the first `short_length` characters.
struct sMnemonicRow {
  const char* name;
  std::int32_t value;  ///< nothing reads it
  std::int32_t short_length;
};

/// A suffix of a number, and its multiplier.
struct sUnitRow {
  const char* name;
  double multiplier;
};

/// The program data that a parameter takes. A value without a name counts as character data.
enum EParamKind : std::uint32_t {
  kKindDecimal = 2,  ///< matched as kKindNumeric
  kKindCharacter = 3,
  kKindNumeric = 4,
  kKindNumericList = 5,  ///< any number of them, or block data
  kKindString = 6,
  kKindBlock = 7,
};

/// How a parameter may be written; the values are bits. Nothing reads kForSet and kForQuery: the forms of a command
/// (EForms) decide.
enum EParamFlags : std::int32_t {
  kForSet = 1,
  kTakesWords = 2,    ///< a number may also be one of the words: MINimum, MAXimum, DEFault
  kMayBeLeftOut = 4,  ///< of a set form; of a query everything may
  kForQuery = 8,
};
constexpr EParamFlags operator|(EParamFlags a, EParamFlags b) {
  return static_cast<EParamFlags>(static_cast<std::int32_t>(a) | static_cast<std::int32_t>(b));
}

/// Which forms a command has; the values are bits.
enum EForms : unsigned char { kQueryForm = 1, kSetForm = 2, kBothForms = 3 };

/// One parameter position of a command.
struct sFParam {
  EParamKind kind;
  const sMnemonicRow* mnemonics;
  std::int32_t mnemonic_count;
  const sUnitRow* units;
  std::int32_t unit_count;
  EParamFlags flags;
};

/// Which forms a command has, and its parameters.
struct sFunctionCallInfo {
  EForms flags;
  const sFParam* parameters;
  std::int32_t count;
};

/// A command's function: parameters, query form, device, error record. Returns 0 or a number for the error queue.
using SCPI_Handler = int (*)(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

/// One keyword of the header tree.
struct sCommandTreeNode {
  const char* name;  ///< long form in lower case
  std::int32_t short_length;
  std::int32_t parent;  ///< id of the parent row, one level up
  std::int32_t id;      ///< unique in its level; -1 for the common commands, which have no children
  bool optional;        ///< may be left out of a header
  std::int32_t instance_limit;
  SCPI_Handler handler;  ///< null for an inner node without a command
  sFunctionCallInfo call_info;
};

/// One level of the tree.
struct STree {
  const sCommandTreeNode* rows;
  std::int32_t count;
};

/// The result of BinaryBlockSize.
enum eBBS : int { kBlockWhole = 0, kBlockHeader = 1, kBlockData = 2 };

/// The cursor of FindSubString.
struct SubStringParams {
  std::int32_t position = 0;
  std::int32_t length = 0;
  const char* delimiters = "";  ///< terminated; in the order of their priority
};

/// The result of GetNumValue.
struct sNumValue {
  double value = -1.0;  ///< the number, or the row of the mnemonic
  char unit[12] = {};   ///< in lower case; a longer suffix is cut and so matches no unit
  bool invalid = true;
  bool mnemonic = false;
};
