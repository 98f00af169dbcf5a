// How the program ends, and the words for the terminal on the way there.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

/// The exit status. docs/tool.md lists them for users; a program ended by a signal has 128 and its number.
enum ExitStatus : int {
  kDone = 0,
  kMessageFailed = 1,  ///< a message left an error, was refused, or had no answer in time; a check found something
  kUsage = 2,          ///< the command line is wrong
  kNoInstrument = 3,   ///< the provider, instrument or server cannot be reached, or was lost
  kFileFailed = 4,     ///< a file cannot be read or written, the output included
};

/// What ends the program: what went wrong, and what to do about it.
class ToolError : public std::runtime_error {
 public:
  ToolError(const std::string& text, ExitStatus status) : std::runtime_error(text), m_status(status) {}
  ExitStatus Status() const { return m_status; }

 private:
  ExitStatus m_status;
};

/// One line on the error stream, after the name of the program; in red on a terminal, unless NO_COLOR is set.
void Warn(const std::string& text);

/// Writes to the standard output at once. Throws ToolError if it cannot be written.
void Print(const std::string& text);

/// Makes `file` hold this text. Throws ToolError if it cannot be written.
void WriteFile(const std::string& file, const std::string& text);

/// True if progress may be shown: the error stream is a terminal.
bool ShowsProgress();

/// Replaces the line of progress on the error stream; an empty text clears it. Cut to the width of the terminal.
void ShowProgress(const std::string& text);

/// Columns that text may take, one less than the terminal has; 79 where there is none.
std::size_t TerminalWidth(int stream);
