// The SCPI interpreter: cuts a program message into message units and a unit into tokens, walks the command tree,
// matches the parameters and calls the handler. It knows no command by name.
//
// Texts have a length and need no terminator, and no routine reads outside the text it was given. Beyond its ends there
// is no letter, no digit and no delimiter. Letters and case are ASCII.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "scpi_core/types.h"

/// The command tree, one entry per depth; the same for all sessions, and filled once.
extern std::vector<STree>& CommandTree;
/// At unload, once no interpreter is left that could walk it; nothing destroys it before.
void ReleaseCommandTree();

/// Replaces a level that exists, appends the next one; a negative level is ignored. The rows are not copied: they, and
/// all they point at, need static lifetime.
void AddTreeLevel(int level, const sCommandTreeNode* rows, std::size_t count);

/// The command that a message's units are read into, one after the other. Its text and its error record are borrowed,
/// and its vectors keep their memory up to a bound, so that a unit costs no allocation of its own. A copy owns all of
/// it.
struct sUnitCommand : sCommand {
  sUnitCommand() = default;
  ~sUnitCommand();
  /// Forgets the unit before. The text must live until the next Begin, or as long as the command.
  void Begin(char* unit, int unit_length);

 private:
  sComErrorInfo m_error_info;
};

/// Executes one program message, its LF included. Responses and errors go to `stream`; the handlers get `device`.
void Parse(char* text, int length, IResponseStream* stream, void* device);
/// The same, for one that executes many: the units are read into `command`, which means nothing afterwards.
void Parse(char* text, int length, IResponseStream* stream, void* device, sUnitCommand& command);

// ---- Tokeniser

/// Size of the IEEE 488.2 definite-length block at the start of a text, as it says of itself; 0 if there is none.
unsigned int BinaryBlockSize(const char* text, int length, eBBS what);
/// Number of program message units up to the LF, a NUL or the end; at least 1.
int GetComCount(const char* text, int length);
/// Moves the cursor to the next piece; all that is left is the last one.
void FindSubString(const char* text, int length, SubStringParams& params);
/// Trims a unit in place; the length becomes 0 if nothing remains.
void Trim(char* text, int& length);
/// The numeric suffix of a header token, which is taken off the length: 0 if there is none, -1 if the token does not
/// begin with a letter. Odd, and kept: only a suffix of one digit is read whole.
int GetChannel(const char* token, int& length);
/// Fills the token list, counts the header tokens and takes their numeric suffixes off.
void GetSubStrings(const char* text, int length, sCommand* command);
/// Reads a trimmed unit into the command; cuts the "?" out of `text`, which the command borrows.
void GetCommandInstance(char* text, int length, sUnitCommand& command);

// ---- Tree

/// Finds the row that takes the command, starting at the current path, and calls its handler. The outcome is in the
/// command's error field.
void FindNodes(sCommand* command, int& level, int& parent, void* device);
/// True if this row or one below it took the command and its handler was called.
bool CheckTree(sCommand* command, int& level, int& row, int token, void* device);

// ---- Parameters

/// Turns the command's parameter tokens into values; appends them, or sets the command's error.
void FindParameters(const sFunctionCallInfo& info, const sFParam* parameters, sCommand* command);
/// Reads a number with its suffix, or character data. True if it found neither.
int GetNumValue(const char* token, int length, const sFParam& descriptor, sNumValue& out);
