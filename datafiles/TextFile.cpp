// Bodies of TextFile.h over the system's own calls: no buffer of a stream, no locale, between a file and its bytes.
#include "datafiles/TextFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace datafiles {
namespace {

using Codec = std::codecvt<wchar_t, char, std::mbstate_t>;

constexpr std::size_t kWriteSize = 256 * 1024;

}  // namespace

std::locale EnvironmentLocale() {
  try {
    return std::locale("");
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

std::wstring TextCodec::Decode(std::string_view bytes) const {
  std::wstring text;
  for (;;) {
    const std::size_t size = std::min(bytes.find('\0'), bytes.size());
    DecodePiece(bytes.substr(0, size), text);
    if (size == bytes.size()) {
      return text;
    }
    text += L'\0';
    bytes.remove_prefix(size + 1);
  }
}

void TextCodec::DecodePiece(std::string_view piece, std::wstring& text) const {
  // The facet swallows a character that is incomplete where its input ends. Before a line end it reports it.
  const std::string bytes = std::string(piece) + '\n';
  const auto& codec = std::use_facet<Codec>(m_locale);
  const std::size_t start = text.size();
  text.resize(start + bytes.size());
  const char* from = bytes.data();
  const char* const end = from + bytes.size();
  wchar_t* to = text.data() + start;
  while (from != end) {
    std::mbstate_t state{};
    const char* from_next = from;
    wchar_t* to_next = to;
    const auto result = codec.in(state, from, end, from_next, to, text.data() + text.size(), to_next);
    to = to_next;
    const bool stuck = from_next == from;
    from = from_next;
    if (from != end && (result != std::codecvt_base::ok || stuck)) {
      *to++ = static_cast<wchar_t>(static_cast<unsigned char>(*from++));
    }
  }
  text.resize(static_cast<std::size_t>(to - text.data()) - 1);
}

bool TextCodec::Encode(wchar_t c, std::string& bytes) const {
  const auto& codec = std::use_facet<Codec>(m_locale);
  std::mbstate_t state{};
  std::array<char, 32> out;
  const wchar_t* from_next = nullptr;
  char* to_next = nullptr;
  const auto result = codec.out(state, &c, &c + 1, from_next, out.data(), out.data() + out.size(), to_next);
  if (result != std::codecvt_base::ok || from_next != &c + 1) {
    return false;
  }
  bytes.append(out.data(), to_next);
  return true;
}

std::string TextCodec::Encode(std::wstring_view text) const {
  std::string bytes;
  for (const wchar_t c : text) {
    if (!Encode(c, bytes)) {
      bytes += '?';
    }
  }
  return bytes;
}

bool NarrowName(const wchar_t* name, std::array<char, kNameSize>& narrow) {
  if (name == nullptr) {
    return false;
  }
  const std::size_t length = std::wcstombs(narrow.data(), name, narrow.size());
  return length < narrow.size();  // a failed conversion is the largest number of all
}

FileSource::~FileSource() {
  if (m_descriptor >= 0) {
    ::close(m_descriptor);
  }
}

bool FileSource::Open(const char* name) {
  do {
    m_descriptor = ::open(name, O_RDONLY | O_CLOEXEC);
  } while (m_descriptor < 0 && errno == EINTR);
  m_error = m_descriptor < 0 ? errno : 0;
  return m_descriptor >= 0;
}

bool FileSource::Open(const wchar_t* name) {
  std::array<char, kNameSize> narrow;
  return NarrowName(name, narrow) && Open(narrow.data());
}

std::size_t FileSource::ReadOnce(char* to, std::size_t size) {
  for (;;) {
    const ssize_t got = ::read(m_descriptor, to, size);
    if (got >= 0) {
      return static_cast<std::size_t>(got);
    }
    if (errno != EINTR) {
      m_error = errno;
      return 0;
    }
  }
}

std::size_t FileSource::Read(char* to, std::size_t size) {
  std::size_t got = ReadOnce(to, size);
  if (!m_at_start) {
    return got;
  }
  m_at_start = false;
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  // A pipe may bring the mark in pieces.
  while (got != 0 && got < kMark.size() && kMark.starts_with(std::string_view(to, got))) {
    const std::size_t more = ReadOnce(to + got, size - got);
    if (more == 0) {
      return got;
    }
    got += more;
  }
  if (!std::string_view(to, got).starts_with(kMark)) {
    return got;
  }
  got -= kMark.size();
  std::memmove(to, to + kMark.size(), got);
  return got != 0 ? got : ReadOnce(to, size);
}

bool FileSource::Rewind() {
  m_at_start = true;
  return ::lseek(m_descriptor, 0, SEEK_SET) == 0;
}

std::size_t MemorySource::Read(wchar_t* to, std::size_t size) {
  const std::size_t got = m_text.copy(to, size, m_position);
  m_position += got;
  return got;
}

bool MemorySource::Rewind() {
  m_position = 0;
  return true;
}

std::size_t StreamSource::Read(wchar_t* to, std::size_t size) {
  std::wstreambuf* const buffer = m_stream.rdbuf();
  if (buffer == nullptr || !m_stream.good()) {
    return 0;
  }
  std::size_t got = 0;
  try {
    if (buffer->sgetc() != std::char_traits<wchar_t>::eof()) {
      const std::streamsize ready = std::max<std::streamsize>(buffer->in_avail(), 1);
      got = static_cast<std::size_t>(buffer->sgetn(to, std::min(ready, static_cast<std::streamsize>(size))));
    }
  } catch (...) {
    m_stream.setstate(std::ios_base::badbit);
  }
  if (got == 0) {
    m_stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
  }
  return got;
}

bool StreamSource::Rewind() {
  m_stream.clear();
  m_stream.seekg(0);
  return m_stream.good();
}

FileSink::~FileSink() {
  Close();
}

bool FileSink::Open(const char* name) {
  do {
    m_descriptor = ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  } while (m_descriptor < 0 && errno == EINTR);
  m_error = m_descriptor < 0 ? errno : 0;
  m_buffer.reserve(kWriteSize + 4096);
  return m_descriptor >= 0;
}

bool FileSink::Open(const wchar_t* name) {
  std::array<char, kNameSize> narrow;
  return NarrowName(name, narrow) && Open(narrow.data());
}

void FileSink::Ascii(std::string_view text) {
  m_buffer.append(text);
  if (m_buffer.size() >= kWriteSize) {
    Flush();
  }
}

void FileSink::Flush() {
  std::string_view rest = m_buffer;
  while (!rest.empty() && m_error == 0) {
    const ssize_t written = ::write(m_descriptor, rest.data(), rest.size());
    if (written > 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      m_error = written == 0 ? EIO : errno;
    }
  }
  m_buffer.clear();
}

bool FileSink::Close() {
  if (m_descriptor >= 0) {
    Flush();
    if (::close(m_descriptor) != 0 && m_error == 0) {
      m_error = errno;
    }
    m_descriptor = -1;
  }
  return m_error == 0;
}

void StreamSink::Ascii(std::string_view text) {
  m_wide.assign(text.begin(), text.end());
  Wide(m_wide);
}

void StreamSink::Wide(std::wstring_view text) {
  m_stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace datafiles
