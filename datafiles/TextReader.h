// Lines of a text of any size through a buffer of fixed size.
//
// A line that fits is whole in the buffer; a longer one the caller takes piece by piece (More) or asks for all
// of it (Hold), which lets the buffer grow. A line ends with LF or with the text; CR belongs to the line.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace datafiles {

/// Where characters come from.
template <class Char>
class Source {
 public:
  virtual ~Source() = default;
  /// Stores up to `size` characters; 0 at the end, and on any failure.
  virtual std::size_t Read(Char* to, std::size_t size) = 0;
  /// Goes back to the start of the text; false when it cannot.
  virtual bool Rewind() = 0;
};

template <class Char>
class TextReader {
 public:
  using View = std::basic_string_view<Char>;
  static constexpr std::size_t kBufferSize = 256 * 1024;

  explicit TextReader(Source<Char>& source) : m_source(source), m_buffer(kBufferSize) {}

  /// Steps to the next line, over what is left of this one; false at the end of the text.
  bool NextLine() {
    while (!m_whole) {
      m_begin = m_end;
      Refill();
    }
    m_begin = m_next;
    if (m_begin == m_filled && !Fill()) {
      return false;
    }
    FindEnd(m_begin);
    if (!m_whole) {
      Refill();
    }
    return true;
  }

  /// The part of the line that is in the buffer, without its LF.
  View Text() const { return View(m_buffer.data() + m_begin, m_end - m_begin); }
  /// True when Text() reaches to the end of the line.
  bool Whole() const { return m_whole; }

  /// Takes `used` characters off the front of Text() and, when the line is not whole, reads on after the rest.
  void More(std::size_t used) {
    m_begin += used;
    if (!m_whole) {
      Refill();
    }
  }

  /// Reads on until Text() has `size` characters or is whole.
  void Ensure(std::size_t size) {
    while (!m_whole && m_end - m_begin < size) {
      Refill();
    }
  }

  /// Reads on until the line is whole.
  void Hold() { Ensure(std::numeric_limits<std::size_t>::max()); }

  /// Starts the text again.
  bool Rewind() {
    m_begin = m_end = m_next = m_filled = 0;
    m_whole = true;
    m_source_ended = false;
    return m_source.Rewind();
  }

 private:
  /// Gets more characters after those that are there. Moves the line to the front, and grows the buffer when it is
  /// full.
  bool Fill() {
    if (m_source_ended) {
      return false;
    }
    std::copy(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_begin),
              m_buffer.begin() + static_cast<std::ptrdiff_t>(m_filled), m_buffer.begin());
    m_filled -= m_begin;
    m_end -= std::min(m_begin, m_end);
    m_begin = 0;
    if (m_filled == m_buffer.size()) {
      m_buffer.resize(m_buffer.size() * 2);
    }
    const std::size_t got = m_source.Read(m_buffer.data() + m_filled, m_buffer.size() - m_filled);
    m_filled += got;
    m_source_ended = got == 0;
    return got != 0;
  }

  /// Reads on in a line that is not whole.
  void Refill() {
    if (Fill()) {
      FindEnd(m_end);
    } else {
      m_whole = true;
      m_next = m_filled;
    }
  }

  /// Looks for the end of the line from `from` on.
  void FindEnd(std::size_t from) {
    const Char* const start = m_buffer.data() + from;
    const Char* const found = std::char_traits<Char>::find(start, m_filled - from, Char('\n'));
    m_whole = found != nullptr;
    m_end = m_whole ? static_cast<std::size_t>(found - m_buffer.data()) : m_filled;
    m_next = m_whole ? m_end + 1 : m_end;
  }

  Source<Char>& m_source;
  std::vector<Char> m_buffer;
  std::size_t m_begin = 0;   // of the line
  std::size_t m_end = 0;     // of what is there of the line
  std::size_t m_next = 0;    // of the next line
  std::size_t m_filled = 0;  // of what is in the buffer
  bool m_whole = true;
  bool m_source_ended = false;
};

/// The characters that lines are trimmed of.
template <class Char>
constexpr bool IsTrimmed(Char c) {
  return c == Char(' ') || c == Char('\t') || c == Char('\r') || c == Char('\n');
}

template <class Char>
std::basic_string_view<Char> TrimLeft(std::basic_string_view<Char> text) {
  while (!text.empty() && IsTrimmed(text.front())) {
    text.remove_prefix(1);
  }
  return text;
}

template <class Char>
std::basic_string_view<Char> Trim(std::basic_string_view<Char> text) {
  text = TrimLeft(text);
  while (!text.empty() && IsTrimmed(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

}  // namespace datafiles
