// Where a program message ends: at the first LF outside of a definite-length block (IEEE 488.2 clause 7.7.6.2). The
// library splits what is written to it by the same rule; code that splits text before it is written must agree with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace scpi_zlt {

/// Fed with text in any number of pieces. Quotes do not matter: a LF in a string ends the message.
class MessageScanner {
 public:
  /// Reads on until a message ends. Returns how many bytes of `text` belong to it, its LF included; or npos if it goes
  /// on after `text`. After an end the scanner is ready for the next message.
  std::size_t FindEnd(std::string_view text);

  /// True inside the data of a block: a LF that came now would be data and end nothing.
  bool InBlock() const { return m_state == State::kData && m_left > 0; }

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

 private:
  enum class State : std::uint8_t { kText, kBehindHash, kLength, kData };

  bool Take(char c);

  State m_state = State::kText;
  int m_digits = 0;          ///< digits of the length still due
  std::uint32_t m_left = 0;  ///< first the length as far as it has been read, then the bytes of the block still due
};

/// True if a message asks for an answer: it holds a question mark outside of quotes.
bool IsQuery(std::string_view message);

/// True if `message` holds `query` (in capitals) in any case.
bool Asks(std::string_view message, std::string_view query);

}  // namespace scpi_zlt
