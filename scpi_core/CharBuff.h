// A ring of characters that knows where its first message ends. No lock of its own.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

class CCharBuff {
 public:
  /// The largest message, and the largest response.
  static constexpr std::size_t kCapacity = 160144;

  CCharBuff() = default;
  CCharBuff(const CCharBuff&) = delete;
  CCharBuff& operator=(const CCharBuff&) = delete;

  /// Appends as much as fits, and stores how much.
  void Write(const char* data, unsigned long count, unsigned long* written);
  /// Takes at most `size` bytes of the first message, and stores how many. Never returns bytes that the scanner has not
  /// seen.
  void Read(char* buffer, unsigned long size, unsigned long* got);
  /// Looks on for the end of the first message: the first LF outside of IEEE 488.2 definite-length blocks.
  void SeekCommandEnd();
  /// May be called without the lock that guards the ring.
  bool CommandComplete() const { return m_complete; }

 private:
  /// Skips bytes that change no state, as far as they are contiguous: data of a block, text up to a mark.
  void SkipIndifferent();
  void Scan(unsigned char c);

  std::uint32_t m_block_length = 0;  ///< bytes of the block still to skip; wraps after a block and means nothing then
  char m_data[kCapacity];            // left as it is: the pages of a new session stay untouched
  std::int32_t m_count = 0;
  std::int32_t m_scanned = 0;  ///< bytes examined; the length of the first message when that is complete
  std::atomic<bool> m_complete{false};
  std::uint32_t m_block_state = 0;  ///< 0 text, 11 after "#", 10 to 2 digits of the length due plus 1, 1 in the data
  std::uint64_t m_write_index = 0;
  std::uint64_t m_read_index = 0;
};
