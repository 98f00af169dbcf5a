#include "scpi_core/CharBuff.h"

#include <algorithm>
#include <cstring>

#include "support/Ascii.h"

namespace {

constexpr std::uint32_t kText = 0;
constexpr std::uint32_t kData = 1;
constexpr std::uint32_t kBehindHash = 11;

}  // namespace

void CCharBuff::Write(const char* data, unsigned long count, unsigned long* written) {
  const std::size_t amount = std::min<std::size_t>(count, kCapacity - static_cast<std::size_t>(m_count));
  const std::size_t first = std::min(amount, kCapacity - m_write_index);
  if (first > 0) std::memcpy(m_data + m_write_index, data, first);
  if (amount > first) std::memcpy(m_data, data + first, amount - first);
  m_write_index = (m_write_index + amount) % kCapacity;
  m_count += static_cast<std::int32_t>(amount);
  *written = amount;
  SeekCommandEnd();
}

void CCharBuff::Read(char* buffer, unsigned long size, unsigned long* got) {
  std::size_t amount = static_cast<std::size_t>(m_scanned);
  if (amount <= size) {
    m_complete = false;
  } else {
    amount = size;
  }
  const std::size_t first = std::min(amount, kCapacity - m_read_index);
  if (first > 0) std::memcpy(buffer, m_data + m_read_index, first);
  if (amount > first) std::memcpy(buffer + first, m_data, amount - first);
  m_read_index = (m_read_index + amount) % kCapacity;
  m_count -= static_cast<std::int32_t>(amount);
  m_scanned -= static_cast<std::int32_t>(amount);
  *got = amount;
  SeekCommandEnd();
}

void CCharBuff::SeekCommandEnd() {
  while (!m_complete && m_scanned < m_count) {
    SkipIndifferent();
    if (m_scanned == m_count) return;
    const std::size_t at = (m_read_index + static_cast<std::size_t>(m_scanned)) % kCapacity;
    ++m_scanned;
    Scan(static_cast<unsigned char>(m_data[at]));
  }
}

void CCharBuff::SkipIndifferent() {
  const std::size_t at = (m_read_index + static_cast<std::size_t>(m_scanned)) % kCapacity;
  std::size_t length = std::min(static_cast<std::size_t>(m_count - m_scanned), kCapacity - at);
  if (m_block_state == kData) {
    length = std::min<std::size_t>(length, m_block_length);
    m_block_length -= static_cast<std::uint32_t>(length);
  } else if (m_block_state == kText) {
    for (const char marked : {'\n', '#'}) {
      if (const void* found = std::memchr(m_data + at, marked, length)) {
        length = static_cast<std::size_t>(static_cast<const char*>(found) - (m_data + at));
      }
    }
  } else {
    length = 0;
  }
  m_scanned += static_cast<std::int32_t>(length);
}

void CCharBuff::Scan(unsigned char c) {
  if (m_block_state == kBehindHash && IsDigit(c) && c != '0') {
    m_block_length = 0;
    m_block_state = static_cast<std::uint32_t>(c - '0') + 1;
  } else if (m_block_state > kData && m_block_state < kBehindHash && IsDigit(c)) {
    m_block_length = m_block_length * 10 + static_cast<std::uint32_t>(c - '0');
    --m_block_state;
  } else if (m_block_state == kData && m_block_length-- != 0) {
    // a byte of the block
  } else {
    m_block_state = c == '#' ? kBehindHash : kText;
    m_complete = c == '\n';
  }
}
