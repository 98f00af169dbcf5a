// The records that the parser, the command tables and the handlers share.
#pragma once

#include <cstdint>
#include <vector>

#include "scpi_zlt/command.h"
#include "scpi_zlt/lookups.h"

/// What the parser and the handlers speak to.
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

/// A word that a parameter accepts; the short form is the first `short_length` characters, -1 if there is none.
struct sMnemonicRow {
  const char* name;
  std::int32_t value;  ///< nothing reads it
  std::int32_t short_length;
};

/// A suffix that a number accepts, and what it multiplies by.
struct sUnitRow {
  const char* name;
  double multiplier;
};

/// One parameter position of a command.
struct sFParam {
  std::uint32_t kind;  ///< 2, 4 number; 5 list of numbers; 6 string; 7 block; anything else mnemonic
  const sMnemonicRow* mnemonics;
  std::int32_t mnemonic_count;
  const sUnitRow* units;
  std::int32_t unit_count;
  std::int32_t flags;  ///< 2: a number also takes the mnemonics; 4: may be left out
};

/// Which forms a command has (1 query, 2 set), and its parameters.
struct sFunctionCallInfo {
  unsigned char flags;
  const sFParam* parameters;
  std::int32_t count;
};

/// A command's function: parameters, query form, device, error record. Returns 0 or a number for the error queue.
using SCPI_Handler = int (*)(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

/// One keyword of the header tree.
struct sCommandTreeNode {
  const char* name;           ///< long form in lower case
  std::int32_t short_length;  ///< of the short form; -1 if only the whole name matches
  std::int32_t parent;        ///< id of the parent row, one level up
  std::int32_t id;            ///< unique in its level; -1 for the common commands, which have no children
  bool optional;              ///< may be left out of a header
  std::int32_t instance_limit;
  SCPI_Handler handler;  ///< null for a node on the way only
  sFunctionCallInfo call_info;
};

/// One level of the tree.
struct STree {
  const sCommandTreeNode* rows;
  std::int32_t count;
};

/// What BinaryBlockSize measures.
enum eBBS : int { kBlockWhole = 0, kBlockHeader = 1, kBlockData = 2 };

/// The cursor of FindSubString.
struct SubStringParams {
  std::int32_t position = 0;
  std::int32_t length = 0;
  const char* delimiters = "";  ///< in the order of their priority
};

/// What GetNumValue finds in a token.
struct sNumValue {
  double value = -1.0;  ///< the number, or the row of the mnemonic
  char unit[12] = {};   ///< in lower case; a longer suffix is cut and so matches no unit
  bool invalid = true;
  bool mnemonic = false;
};
