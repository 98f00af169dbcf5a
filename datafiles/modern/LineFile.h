// Lines with their numbers, strict numbers, and UTF-8: what the readers of the modern layer share.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "scpi_zlt/datafiles.h"

#include "datafiles/TextFile.h"
#include "datafiles/TextReader.h"

namespace scpi_zlt::detail {

/// A text file line by line. Lines are whole, without CR and LF.
class LineFile {
 public:
  /// Throws when the file cannot be opened.
  LineFile(const std::filesystem::path& file, bool scrambled);

  /// Steps to the next line. Throws when reading fails.
  bool Next();
  std::string_view Line() const { return m_line; }
  /// Throws, naming this line.
  [[noreturn]] void Fail(const std::string& reason) const;
  /// Throws, naming the file only.
  [[noreturn]] void FailWhole(const std::string& reason) const;

 private:
  std::filesystem::path m_file;
  datafiles::FileSource m_bytes;
  std::unique_ptr<datafiles::Source<char>> m_plain;  // of a scrambled file
  std::unique_ptr<datafiles::TextReader<char>> m_reader;
  std::string_view m_line;
  std::size_t m_number = 0;
};

/// The whole of `token` as a number; with `words`, "nan" and "inf" are numbers too.
std::optional<double> StrictNumber(std::string_view token, bool words);

/// Removes the next word, up to white space, from the front of `text` and returns it; empty at the end.
std::string_view TakeWord(std::string_view& text);

/// ASCII letters only.
std::string Lower(std::string_view text);

/// A word from a file for a message: short, and without what a terminal would act on.
std::string Quoted(std::string_view word);

/// The ports that a name like "filter.s2p" promises; 0 for any other.
std::size_t PromisedPorts(const std::filesystem::path& file);

/// A byte that is not UTF-8 becomes the character of the same number.
std::wstring FromUtf8(std::string_view bytes);
std::string ToUtf8(std::wstring_view text);

/// Writes a whole file; throws if not all of it could be written.
void WriteFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace scpi_zlt::detail
