// See PacketTypes.h. Numbers of a body may lie at odd addresses, so they are copied out of it, never viewed in place.
//
// The source name and the line numbers in the assertions are fixed: programs find them on standard error.
#undef NDEBUG  // CopyPacket aborts in every build
#include "src/PacketTypes.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstring>

#include "scpi_zlt/helpers.h"

#include "support/Integers.h"
#include "support/LogHooks.h"

namespace {

constexpr const char* kSource = "../src/PacketTypes";
constexpr const char* kNoBytes = "ReadComplexValue: Invalid bytes count (0)";
constexpr unsigned int kRawDoubleSize = 8;
constexpr unsigned int kRawDoubleFraction = 15;
constexpr unsigned int kLargestElement = 8;

constexpr unsigned int RoundedUpToEven(unsigned int length) {
  return length + (length & 1);
}

constexpr bool IsRawDouble(unsigned int bytes, unsigned int fraction_bytes) {
  return bytes == kRawDoubleSize && fraction_bytes == kRawDoubleFraction;
}

/// A 32-bit shift whose count wraps. Odd, and kept: four fraction bytes scale by 1, so values in such a format are
/// larger by 2^32 than their format says.
constexpr double Scale(unsigned int fraction_bytes) {
  return static_cast<double>(1U << (8 * fraction_bytes % 32));
}

double RawDouble(const unsigned char* data) {
  double value = 0.0;
  std::memcpy(&value, data, sizeof value);
  return value;
}

/// The same as Integer, for a width that a double holds whole: the order of summing makes no difference there.
double ShortInteger(const unsigned char* data, unsigned int bytes, bool is_signed) {
  std::uint64_t bits = 0;
  for (unsigned int k = 0; k < bytes; ++k) bits |= std::uint64_t{data[k]} << (8 * k);
  if (!is_signed) return static_cast<double>(bits);
  const unsigned int spare = 64 - 8 * bytes;
  return static_cast<double>(static_cast<std::int64_t>(bits << spare) >> spare);
}

/// Two's complement, lowest byte first, of any width above 0; summed up in a double from the low end.
double Integer(const unsigned char* data, unsigned int bytes, bool is_signed) {
  constexpr unsigned int kWholeBytes = 6;
  if (bytes <= kWholeBytes) return ShortInteger(data, bytes, is_signed);
  double sum = 0.0;
  for (unsigned int k = 0; k + 1 < bytes; ++k) sum += std::ldexp(static_cast<double>(data[k]), static_cast<int>(8 * k));
  const unsigned char top = data[bytes - 1];
  const double top_value = is_signed ? static_cast<double>(static_cast<std::int8_t>(top)) : static_cast<double>(top);
  return sum + std::ldexp(top_value, static_cast<int>(8 * (bytes - 1)));
}

const char* AsText(const unsigned char* data) {
  return reinterpret_cast<const char*>(data);
}

}  // namespace

CHead& CHead::operator=(const CHead& other) {
  Signature = other.Signature;
  Command = other.Command;
  Status = other.Status;
  BodyLength = other.BodyLength;
  Flags = other.Flags;
  SpareLong = other.SpareLong;
  return *this;
}

void CHead::SetFlags(short count, short size, short fraction_size) {
  const auto size_bits = static_cast<unsigned int>(size) << 12;
  const auto fraction_bits = (static_cast<unsigned int>(fraction_size) & 0x0F) << 8;
  Flags = static_cast<std::uint16_t>(size_bits | fraction_bits | (static_cast<unsigned int>(count) & 0xFF));
}

int CHead::Check(unsigned short bytes_at_hand) const {
  if (Signature != kSignature) return SK_SIGNATURE_ERROR;
  if (BodyLength % 2 != 0 || BodyLength + kHeadSize > bytes_at_hand) return SK_SIZE_ERROR;
  if (Command == SK_SET && BodyLength < 3) return SK_SMALL_SIZE;
  if (Command == SK_GET && BodyLength < 2) return SK_SMALL_SIZE;
  return SK_NO_ERROR;
}

int CHead::Check(short count, short size, short fraction_size, bool test_body_size) const {
  if (size >= 0 && size != LenParam()) return SK_PARAMETER_INCORRECT;
  if (fraction_size >= 0 && fraction_size != FracParam()) return SK_PARAMETER_INCORRECT;
  const auto values_size = static_cast<unsigned int>(NumParam() * LenParam());
  if (test_body_size && BodyLength < RoundedUpToEven(values_size + 2)) return SK_SMALL_SIZE;
  if (count < 0) return SK_NO_ERROR;
  if (count > NumParam()) return SK_PARAMETER_INCORRECT;
  if (count < NumParam()) return SK_PARAMETER_IGNORED;
  return SK_NO_ERROR;
}

CBasePacket* CBasePacket::CopyPacket() const {
  auto* const pkt = dynamic_cast<CBasePacket*>(Copy());
  assert(pkt);
  return pkt;
}

CDataBlock::CDataBlock(unsigned int size) : m_block(std::make_unique<unsigned char[]>(size)), m_size(size) {}

CDataBlock::CDataBlock(const CDataBlock* source) : CDataBlock(source->m_size) {
  std::memcpy(m_block.get(), source->m_block.get(), m_size);
}

int CDataBlock::SetBlockSize(unsigned int size) {
  if (size == m_size) return 0;
  m_block = std::make_unique<unsigned char[]>(size);
  m_size = size;
  return 0;
}

CDevCommand::CDevCommand(unsigned short command, unsigned short body_length, unsigned char value_count,
                         unsigned char format, unsigned int spare_long, unsigned short spare_word)
    : CDataBlock(kHeadSize + RoundedUpToEven(body_length)) {
  CHead head;
  head.Command = command;
  head.Status = SK_CRITICAL_ERROR;
  head.BodyLength = static_cast<std::uint16_t>(RoundedUpToEven(body_length));
  head.Flags = static_cast<std::uint16_t>(format << 8 | value_count);
  head.SpareWord = spare_word;
  head.SpareLong = spare_long;
  // The head is plain words; only its assignment leaves one out. NOLINTNEXTLINE(bugprone-undefined-memory-manipulation)
  std::memcpy(Block(), &head, sizeof head);
}

CDevCommand::CDevCommand(const CDataBlock* source) : CDataBlock(source) {
  if (const auto* const command = dynamic_cast<const CDevCommand*>(source)) m_time_out = command->m_time_out;
}

std::span<unsigned char> CDevCommand::BodyBytes() {
  return std::span(Block(), Size()).subspan(std::min(kHeadSize, Size()));
}

std::span<const unsigned char> CDevCommand::BodyBytes() const {
  return std::span(Block(), Size()).subspan(std::min(kHeadSize, Size()));
}

template <class Field>
Field CDevCommand::HeadField(std::size_t offset) const {
  Field field{};
  if (offset + sizeof field <= Size()) std::memcpy(&field, Block() + offset, sizeof field);
  return field;
}
template std::uint16_t CDevCommand::HeadField<std::uint16_t>(std::size_t) const;
template std::int16_t CDevCommand::HeadField<std::int16_t>(std::size_t) const;
template std::uint8_t CDevCommand::HeadField<std::uint8_t>(std::size_t) const;

void CDevCommand::SetStatus(short status) {
  if (Size() >= kHeadSize) std::memcpy(Block() + offsetof(CHead, Status), &status, sizeof status);
}

int CDevCommand::CheckStructure() const {
  const bool sound = HeadField<std::uint16_t>(offsetof(CHead, Signature)) == kSignature && Size() >= kHeadSize &&
                     Size() == BodyLength() + kHeadSize;
  return sound ? 0 : -1;
}

double CDevCommand::ReadComplexValue(unsigned int offset, unsigned int index, bool is_signed, unsigned int bytes,
                                     unsigned int fraction_bytes) const {
  if (bytes == 0) {
    bytes = ElementSize();
    fraction_bytes = ElementFractSize();
  }
  const std::uint64_t end = (std::uint64_t{index} + 1) * bytes + offset;
  if (end > BodyBytes().size()) {
    LogMessageP("ReadComplexValue", "index");
    __M_Assert("0", false, kSource, 362, "ReadComplexValue: индекс значения слишком велик");
    return 0.0;
  }
  return ReadComplexValue(Body(), offset, index, is_signed, bytes, fraction_bytes);
}

double CDevCommand::ReadComplexValue(const unsigned char* data, unsigned int offset, unsigned int index, bool is_signed,
                                     unsigned int bytes, unsigned int fraction_bytes) {
  __M_Assert("Bytes", bytes != 0, kSource, 330, kNoBytes);
  const unsigned char* const first = data + offset + std::size_t{index} * bytes;
  if (IsRawDouble(bytes, fraction_bytes)) return RawDouble(first);
  return Integer(first, bytes, is_signed || fraction_bytes != 0) / Scale(fraction_bytes);
}

double CDevCommand::ReadComplexValue1(unsigned int offset, unsigned int index, bool is_signed, unsigned int bytes,
                                      unsigned int fraction_bytes) const {
  if (bytes == 0) {
    bytes = ElementSize();
    fraction_bytes = ElementFractSize();
  }
  __D_Assert("Bytes", bytes != 0, kSource, 309, kNoBytes, AsText(Block()), static_cast<int>(Size()));
  const std::span<const unsigned char> body = BodyBytes();
  const std::size_t first = offset + std::size_t{index} * bytes;
  const auto padded = std::make_unique<unsigned char[]>(bytes);
  for (std::size_t k = 0; k < bytes && first + k < body.size(); ++k) padded[k] = body[first + k];
  return Integer(padded.get(), bytes, is_signed) / Scale(fraction_bytes);
}

double CDevCommand::ReadSorvFloatValue(const unsigned char* data, unsigned int offset, unsigned int index,
                                       unsigned int exponent_bytes, unsigned int mantissa_bytes) {
  const unsigned char* const mantissa = data + offset + std::size_t{index} * (exponent_bytes + mantissa_bytes);
  const double significand = mantissa_bytes == 0 ? 0.0 : Integer(mantissa, mantissa_bytes, true);
  const double exponent = exponent_bytes == 0 ? 0.0 : Integer(mantissa + mantissa_bytes, exponent_bytes, true);
  // Beyond these every result is zero or infinite, and the number must fit an int.
  return std::ldexp(significand, TruncToInt32(std::clamp(exponent, -10000.0, 10000.0)));
}

CDevParameter::CDevParameter(unsigned short parameter, unsigned int value_count, unsigned char value_size,
                             unsigned char fraction_size, unsigned short command)
    : CDevCommand(command, static_cast<unsigned short>(value_count * value_size + kValuesOffset),
                  static_cast<unsigned char>(value_count),
                  static_cast<unsigned char>((value_size << 4) + (fraction_size & 0x0F)), 0, 0) {
  __D_Assert("nCommand == SK_SET || nCommand == SK_GET || nCommand == SK_EXEC",
             command == SK_SET || command == SK_GET || command == SK_EXEC, kSource, 411, "Некорректная команда",
             AsText(Block()), static_cast<int>(Size()));
  SetParameterID(parameter);
}

int CDevParameter::ParameterID() const {
  std::uint16_t parameter = 0;
  const auto body = BodyBytes();
  if (body.size() < sizeof parameter) return -1;
  std::memcpy(&parameter, body.data(), sizeof parameter);
  return parameter;
}

void CDevParameter::SetParameterID(unsigned short parameter) {
  const auto body = BodyBytes();
  if (body.size() >= sizeof parameter) std::memcpy(body.data(), &parameter, sizeof parameter);
}

int CDevParameter::CheckStructure() const {
  if (const int result = CDevCommand::CheckStructure(); result != 0) return result;
  if (BodyLength() < kValuesOffset) return -1;
  const unsigned short command = Command();
  if (command != SK_GET && (ElementSize() == 0 || (command != SK_SET && command != SK_EXEC))) return -1;
  if (NumParam() == 0) return 0;
  if (Size() >= kHeadSize + RoundedUpToEven(kValuesOffset + NumParam() * ElementSize())) return 0;
  return command == SK_SET ? -1 : 0;
}

unsigned int CDevParameter::ValuesCount() const {
  if (BodyLength() < kValuesOffset) return 0;
  if (BodyLength() == RoundedUpToEven(kValuesOffset + NumParam() * ElementSize())) return NumParam();
  // More values than a byte can count.
  return ElementSize() == 0 ? 0 : (BodyLength() - kValuesOffset) / ElementSize();
}

double CDevParameter::Value(unsigned int index) const {
  __D_Assert("index >= 0 && index < ValuesCount()", index < ValuesCount(), kSource, 487,
             "Некорректный индекс поля параметра", AsText(Block()), static_cast<int>(Size()));
  return ReadComplexValue(kValuesOffset, index, false, 0, 0);
}

void CDevParameter::SetValue(unsigned int index, double value) {
  __D_Assert("index >= 0 && index < ValuesCount()", index < ValuesCount(), kSource, 496,
             "Некорректный индекс поля параметра", AsText(Block()), static_cast<int>(Size()));
  const unsigned int size = ElementSize();
  if (size == 0) return;
  std::array<unsigned char, 16> bytes;  // an element has 15 at most
  if (IsRawDouble(size, ElementFractSize())) {
    std::memcpy(bytes.data(), &value, sizeof value);
  } else {
    const double scaled = value * Scale(ElementFractSize());
    const std::int64_t integer = TruncToInt64(scaled + (scaled < 0.0 ? -0.5 : 0.5));
    bytes.fill(integer < 0 ? 0xFF : 0x00);
    std::memcpy(bytes.data(), &integer, sizeof integer);
  }
  // The head and the block agree unless the head was edited.
  const auto body = BodyBytes();
  const std::size_t first = kValuesOffset + std::size_t{index} * size;
  if (first + size <= body.size()) std::memcpy(body.data() + first, bytes.data(), size);
}

void CDevParameter::SetFirstValues(std::span<const double> values) {
  for (unsigned int index = 0; index < values.size(); ++index) SetValue(index, values[index]);
}

void CDevParameter::SetValues(double v0) {
  SetFirstValues(std::array{v0});
}
void CDevParameter::SetValues(double v0, double v1) {
  SetFirstValues(std::array{v0, v1});
}
void CDevParameter::SetValues(double v0, double v1, double v2) {
  SetFirstValues(std::array{v0, v1, v2});
}
void CDevParameter::SetValues(double v0, double v1, double v2, double v3) {
  SetFirstValues(std::array{v0, v1, v2, v3});
}
void CDevParameter::SetValues(double v0, double v1, double v2, double v3, double v4) {
  SetFirstValues(std::array{v0, v1, v2, v3, v4});
}
void CDevParameter::SetValues(double v0, double v1, double v2, double v3, double v4, double v5) {
  SetFirstValues(std::array{v0, v1, v2, v3, v4, v5});
}

bool CDevParameter::CarriesValues(unsigned int count) const {
  const unsigned int size = ElementSize();
  return size >= 1 && size <= kLargestElement && BodyLength() >= kValuesOffset + std::uint64_t{count} * size;
}

double CDevParameter::CarriedValue(unsigned int index) const {
  const std::uint64_t end = kValuesOffset + (std::uint64_t{index} + 1) * ElementSize();
  if (ElementSize() == 0 || end > BodyBytes().size()) return 0.0;
  return ReadComplexValue(kValuesOffset, index, false, 0, 0);
}
