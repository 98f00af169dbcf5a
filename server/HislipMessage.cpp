#include "server/HislipMessage.h"

#include <algorithm>
#include <utility>

namespace server::hislip {
namespace {

/// Room for a lock string, a sub-address or the text of an error.
constexpr std::size_t kOtherLimit = 256;
/// No client that is in step sends a longer payload.
constexpr std::uint64_t kNotToBeSkipped = std::uint64_t{1} << 32;

void Append(std::string& text, std::uint64_t value, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
}

std::uint64_t Number(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

}  // namespace

std::string Encode(Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload) {
  std::string bytes = "HS";
  bytes += static_cast<char>(type);
  bytes += static_cast<char>(control);
  Append(bytes, parameter, 4);
  Append(bytes, payload.size(), 8);
  bytes += payload;
  return bytes;
}

std::string EncodeSize(std::uint64_t size) {
  std::string bytes;
  Append(bytes, size, 8);
  return bytes;
}

std::uint64_t DecodeSize(std::string_view payload) {
  return Number(payload.substr(0, 8));
}

Reader::Result Reader::Next(std::string_view& bytes, Message& message) {
  if (m_header.size() < kHeaderSize) {
    const std::size_t missing = std::min(kHeaderSize - m_header.size(), bytes.size());
    m_header += bytes.substr(0, missing);
    bytes.remove_prefix(missing);
    // A wrong start is noticed before the whole header has come.
    if (!std::string_view("HS").starts_with(std::string_view(m_header).substr(0, 2))) return Result::kBadHeader;
    if (m_header.size() < kHeaderSize) return Result::kNeedsMore;
    if (!TakeHeader()) return Result::kBadHeader;
  }
  const std::size_t amount = static_cast<std::size_t>(std::min<std::uint64_t>(m_left, bytes.size()));
  if (!m_message.too_large) m_message.payload += bytes.substr(0, amount);
  bytes.remove_prefix(amount);
  m_left -= amount;
  if (m_left > 0) return Result::kNeedsMore;
  m_header.clear();
  message = std::exchange(m_message, {});
  return Result::kMessage;
}

bool Reader::TakeHeader() {
  const std::string_view header = m_header;
  m_message.type = static_cast<Type>(header[2]);
  m_message.control = static_cast<std::uint8_t>(header[3]);
  m_message.parameter = static_cast<std::uint32_t>(Number(header.substr(4, 4)));
  m_left = Number(header.substr(8, 8));
  const bool is_data = m_message.type == Type::kData || m_message.type == Type::kDataEnd;
  m_message.too_large = m_left > (is_data ? m_data_limit : kOtherLimit);
  return m_left < kNotToBeSkipped;
}

}  // namespace server::hislip
