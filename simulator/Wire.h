// The bytes of the instrument's packets, as the instrument reads and writes them: a head of 16 bytes, then
// little-endian fixed-point values. Written independently of the library's packet classes, so that a mistake made there
// shows here.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace sim {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

inline constexpr std::size_t kHeadSize = 16;

/// Where the fields of a head are. In the byte of the format the high half is the size of a value, the low half the
/// number of its fraction bytes.
enum HeadOffset : std::size_t {
  kSignatureAt = 0,
  kCommandAt = 2,
  kStatusAt = 4,
  kBodyLengthAt = 6,
  kCountAt = 8,
  kFormatAt = 9,
};

/// Codes of the first value of a synchronisation input.
enum InputCode : int { kInputOff = 0, kInputExternal = 1, kInputStep = 2, kInputStepForm = 3, kInputBus = 4 };

/// The format of a value on the wire: bytes in all, and how many of them come after the binary point.
struct Format {
  int size = 0;
  int fraction = 0;
  friend bool operator==(const Format&, const Format&) = default;
};

struct Head {
  std::uint16_t signature = 0;
  std::uint16_t command = 0;
  std::int16_t status = 0;
  std::uint16_t body_length = 0;
  std::uint8_t count = 0;
  Format format;
};

/// `packet` has at least kHeadSize bytes.
Head ReadHead(View packet);

/// The 16 bits at an offset; 0 past the end.
std::uint16_t ReadWord(View bytes, std::size_t offset);
void WriteWord(std::span<std::uint8_t> bytes, std::size_t offset, std::uint16_t value);

/// An integer of `size` bytes (1 to 8) at an offset that lies inside.
std::int64_t ReadInteger(View bytes, std::size_t offset, int size, bool is_signed);
void WriteInteger(std::span<std::uint8_t> bytes, std::size_t offset, int size, std::int64_t value);

/// A value as the integer of this format, rounded to the nearest; what does not fit in 63 bits is clamped.
std::int64_t ToRaw(double value, Format format);
double FromRaw(std::int64_t raw, Format format);

/// Offset of value `index` of a parameter in the body; for the count of values, the length of the body.
constexpr std::size_t ValueAt(int index, Format format) {
  return 2 + static_cast<std::size_t>(index) * static_cast<std::size_t>(format.size);
}

/// The number of values that a parameter's body really carries, whatever the count in the head says.
int CarriedValues(const Head& head);

/// SK_NO_ERROR when the body is that of the request, SK_PARAMETER_CORRECTED when a value differs.
std::int16_t TakenStatus(View request, View body);

/// A reply with the head of `request` and a status and body of its own; the body is padded to an even length.
Bytes MakeReply(View request, std::int16_t status, View body);

}  // namespace sim
