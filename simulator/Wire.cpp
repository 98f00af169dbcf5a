// Byte order, fixed point and the head of a packet.
#include "simulator/Wire.h"

#include <algorithm>
#include <cmath>

#include "protocol/comset.h"

namespace sim {

Head ReadHead(View packet) {
  Head head;
  head.signature = ReadWord(packet, kSignatureAt);
  head.command = ReadWord(packet, kCommandAt);
  head.status = static_cast<std::int16_t>(ReadWord(packet, kStatusAt));
  head.body_length = ReadWord(packet, kBodyLengthAt);
  head.count = packet[kCountAt];
  head.format = {packet[kFormatAt] >> 4, packet[kFormatAt] & 15};
  return head;
}

std::uint16_t ReadWord(View bytes, std::size_t offset) {
  if (offset + 2 > bytes.size()) return 0;
  return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

void WriteWord(std::span<std::uint8_t> bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value & 0xFF);
  bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

std::int64_t ReadInteger(View bytes, std::size_t offset, int size, bool is_signed) {
  std::uint64_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = value << 8 | bytes[offset + static_cast<std::size_t>(i)];
  const int unused = 64 - 8 * size;
  if (is_signed) return static_cast<std::int64_t>(value << unused) >> unused;
  return static_cast<std::int64_t>(value);
}

void WriteInteger(std::span<std::uint8_t> bytes, std::size_t offset, int size, std::int64_t value) {
  auto rest = static_cast<std::uint64_t>(value);
  for (int i = 0; i < size; ++i, rest >>= 8) bytes[offset + static_cast<std::size_t>(i)] = rest & 0xFF;
}

std::int64_t ToRaw(double value, Format format) {
  const double scaled = std::round(std::ldexp(value, 8 * format.fraction));
  constexpr double kLimit = 9.2e18;
  if (std::isnan(scaled)) return 0;
  return static_cast<std::int64_t>(std::clamp(scaled, -kLimit, kLimit));
}

double FromRaw(std::int64_t raw, Format format) {
  return std::ldexp(static_cast<double>(raw), -8 * format.fraction);
}

int CarriedValues(const Head& head) {
  if (head.body_length < 2 || head.format.size == 0) return 0;
  const int padded = (2 + head.count * head.format.size + 1) / 2 * 2;
  return head.body_length == padded ? head.count : (head.body_length - 2) / head.format.size;
}

std::int16_t TakenStatus(View request, View body) {
  const View sent = request.subspan(kHeadSize);
  return std::equal(body.begin(), body.end(), sent.begin(), sent.end()) ? SK_NO_ERROR : SK_PARAMETER_CORRECTED;
}

Bytes MakeReply(View request, std::int16_t status, View body) {
  Bytes reply(kHeadSize + (body.size() + 1) / 2 * 2);
  std::copy_n(request.begin(), std::min(request.size(), kHeadSize), reply.begin());
  std::copy(body.begin(), body.end(), reply.begin() + kHeadSize);
  WriteWord(reply, kSignatureAt, kSignature);
  WriteWord(reply, kStatusAt, static_cast<std::uint16_t>(status));
  WriteWord(reply, kBodyLengthAt, static_cast<std::uint16_t>(reply.size() - kHeadSize));
  return reply;
}

}  // namespace sim
