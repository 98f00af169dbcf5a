// Files and streams as the loaders and savers of this folder see them.
//
// Numbers, separators and line ends are ASCII in every locale, so they go to and from the file as bytes; only comment
// text passes through the conversion of a locale. Failures are values: a read that fails ends the text, a write that
// fails is told by Close.
#pragma once

#include <array>
#include <cstddef>
#include <istream>
#include <locale>
#include <ostream>
#include <string>
#include <string_view>

#include "datafiles/TextReader.h"

namespace datafiles {

/// The environment's locale, or the classic one when the environment names one that is not installed.
std::locale EnvironmentLocale();

/// Turns comment text into wide characters and back, by a locale.
class TextCodec {
 public:
  explicit TextCodec(const std::locale& locale) : m_locale(locale) {}

  /// A byte that cannot be decoded stands for the character of the same number.
  std::wstring Decode(std::string_view bytes) const;
  /// Wide text is decoded already.
  static std::wstring Decode(std::wstring_view text) { return std::wstring(text); }

  /// Appends the bytes of one character; false, and nothing appended, when it cannot be encoded.
  bool Encode(wchar_t c, std::string& bytes) const;
  /// A character that cannot be encoded goes out as "?".
  std::string Encode(std::wstring_view text) const;

  const std::locale& Locale() const { return m_locale; }

 private:
  /// Appends bytes without a zero among them.
  void DecodePiece(std::string_view piece, std::wstring& text) const;

  std::locale m_locale;
};

inline constexpr std::size_t kNameSize = 4096;

/// A file name in the bytes of the process's C locale, by `wcstombs`; false when it is null, does not convert or fit.
bool NarrowName(const wchar_t* name, std::array<char, kNameSize>& narrow);

/// A file's bytes, without a UTF-8 mark at its start.
class FileSource : public Source<char> {
 public:
  FileSource() = default;
  ~FileSource() override;
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  bool Open(const char* name);
  bool Open(const wchar_t* name);
  std::size_t Read(char* to, std::size_t size) override;
  bool Rewind() override;
  /// The error number of the last failed open or read; 0 for none.
  int Error() const { return m_error; }

 private:
  std::size_t ReadOnce(char* to, std::size_t size);

  int m_descriptor = -1;
  int m_error = 0;
  bool m_at_start = true;
};

/// Text in memory.
class MemorySource : public Source<wchar_t> {
 public:
  explicit MemorySource(std::wstring_view text) : m_text(text) {}
  std::size_t Read(wchar_t* to, std::size_t size) override;
  bool Rewind() override;

 private:
  std::wstring_view m_text;
  std::size_t m_position = 0;
};

/// A caller's stream. Takes what the stream's buffer holds, so that a failed conversion inside loses nothing before it.
class StreamSource : public Source<wchar_t> {
 public:
  explicit StreamSource(std::wistream& stream) : m_stream(stream) {}
  std::size_t Read(wchar_t* to, std::size_t size) override;
  bool Rewind() override;

 private:
  std::wistream& m_stream;
};

/// Where saved text goes.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual void Ascii(std::string_view text) = 0;
  virtual void Wide(std::wstring_view text) = 0;
};

/// A file that is written through a buffer. Created or emptied by Open.
class FileSink : public Sink {
 public:
  explicit FileSink(const TextCodec& codec) : m_codec(codec) {}
  ~FileSink() override;
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  bool Open(const char* name);
  bool Open(const wchar_t* name);
  void Ascii(std::string_view text) override;
  void Wide(std::wstring_view text) override { Ascii(m_codec.Encode(text)); }
  /// Writes what is left and closes; true when all of the text is in the file.
  bool Close();
  /// The error number of the first failed open or write; 0 for none.
  int Error() const { return m_error; }

 private:
  void Flush();

  const TextCodec& m_codec;
  std::string m_buffer;
  int m_descriptor = -1;
  int m_error = 0;
};

/// A caller's stream.
class StreamSink : public Sink {
 public:
  explicit StreamSink(std::wostream& stream) : m_stream(stream) {}
  void Ascii(std::string_view text) override;
  void Wide(std::wstring_view text) override;

 private:
  std::wostream& m_stream;
  std::wstring m_wide;
};

/// Text kept in memory.
class MemorySink : public Sink {
 public:
  void Ascii(std::string_view text) override { m_text.append(text.begin(), text.end()); }
  void Wide(std::wstring_view text) override { m_text.append(text); }
  const std::wstring& Text() const { return m_text; }

 private:
  std::wstring m_text;
};

}  // namespace datafiles
