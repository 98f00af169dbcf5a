// The packets of the instrument's protocol: a head of 16 bytes and a body, little-endian, in one heap block. One object
// is both request and reply: the exchange reads the reply into it.
//
// A packet belongs to its maker, and threads do not share it. The assertions end the process: they are for wrong use by
// this library. For replies call CarriesValues first and read with CarriedValue; these never assert.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

#include "protocol/comset.h"
#include "support/BaseObject.h"

static_assert(std::endian::native == std::endian::little, "heads are viewed in place");

/// The head on its own, and the view of a packet's first 16 bytes.
struct CHead {
  CHead() = default;
  CHead(const CHead&) = default;
  /// Copies all but the spare word. Odd, and kept: the target keeps its own, which goes out with the packet.
  CHead& operator=(const CHead& other);

  short NumParam() const { return static_cast<short>(Flags & 0xFF); }
  short LenParam() const { return static_cast<short>(Flags >> 12); }
  short FracParam() const { return static_cast<short>((Flags >> 8) & 0x0F); }
  void SetFlags(short count, short size, short fraction_size);

  /// Checks the structure: 0 or a status. `bytes_at_hand` counts the head too.
  int Check(unsigned short bytes_at_hand) const;
  /// Checks the format: 0 or a status. A negative argument is not compared.
  int Check(short count, short size, short fraction_size, bool test_body_size) const;

  std::uint16_t Signature = kSignature;
  std::uint16_t Command = 0;
  std::int16_t Status = 0;
  std::uint16_t BodyLength = 0;
  std::uint16_t Flags = 0;  ///< bits 0-7 count of values, 8-11 fraction bytes of one, 12-15 bytes of one
  std::uint16_t SpareWord = 0;
  std::uint32_t SpareLong = 0;
};

inline constexpr unsigned int kHeadSize = 16;
static_assert(sizeof(CHead) == kHeadSize && std::is_trivially_copy_constructible_v<CHead>);

class CBasePacket : public CReplicableObject, public CAllocationChecker {
 public:
  unsigned int PacketID() const { return m_packet_id; }
  void SetPacketID(unsigned int id) { m_packet_id = id; }
  /// A copy, which belongs to the caller. Aborts if the copy is not a packet.
  virtual CBasePacket* CopyPacket() const;

 private:
  std::uint32_t m_packet_id = 0;
};

/// Owns the bytes of a packet.
class CDataBlock : public CBasePacket {
 public:
  explicit CDataBlock(unsigned int size);
  explicit CDataBlock(const CDataBlock* source);
  CDataBlock(const CDataBlock&) = delete;
  CDataBlock& operator=(const CDataBlock&) = delete;

  CDataBlock* Copy() const override { return new CDataBlock(this); }

  /// Another size gives zeroed bytes; the current size keeps them. Always 0.
  int SetBlockSize(unsigned int size);
  unsigned char* Block() { return m_block.get(); }
  const unsigned char* Block() const { return m_block.get(); }
  unsigned int Size() const { return m_size; }

 private:
  std::unique_ptr<unsigned char[]> m_block;
  std::uint32_t m_size;
};

/// Time-outs of a packet, in milliseconds.
inline constexpr unsigned int kDefaultTimeOut = 0xFFFFFFFF;
inline constexpr unsigned int kNoTimeOut = 0;

class CDevCommand : public CDataBlock {
 public:
  CDevCommand(unsigned short command, unsigned short body_length, unsigned char value_count, unsigned char format,
              unsigned int spare_long, unsigned short spare_word);
  /// Takes the time-out over too if the source is a CDevCommand.
  explicit CDevCommand(const CDataBlock* source);

  CDevCommand* Copy() const override { return new CDevCommand(this); }

  /// The block viewed as a head. Not for a block that is shorter than a head.
  CHead* Head() { return reinterpret_cast<CHead*>(Block()); }
  const CHead* Head() const { return reinterpret_cast<const CHead*>(Block()); }
  unsigned char* Body() { return BodyBytes().data(); }
  const unsigned char* Body() const { return BodyBytes().data(); }
  /// The bytes of the body in the block, whatever the head says.
  std::span<unsigned char> BodyBytes();
  std::span<const unsigned char> BodyBytes() const;

  unsigned short BodyLength() const { return HeadField<std::uint16_t>(offsetof(CHead, BodyLength)); }
  unsigned short Command() const { return HeadField<std::uint16_t>(offsetof(CHead, Command)); }
  short Status() const { return HeadField<std::int16_t>(offsetof(CHead, Status)); }
  void SetStatus(short status);
  unsigned int NumParam() const { return HeadField<std::uint8_t>(offsetof(CHead, Flags)); }
  unsigned int ElementSize() const { return FormatByte() >> 4; }
  unsigned int ElementFractSize() const { return FormatByte() & 0x0F; }

  unsigned int GetTimeOut() const { return m_time_out; }
  void SetTimeOut(unsigned int milliseconds) { m_time_out = milliseconds; }

  /// 0 if sound, -1 if not.
  int CheckStructure() const;

  /// One value of the body: value `index` of an array that starts `offset` bytes into it. `bytes` 0: size and fraction
  /// size come from the head. Asserts that the value lies inside the block.
  double ReadComplexValue(unsigned int offset, unsigned int index, bool is_signed, unsigned int bytes,
                          unsigned int fraction_bytes) const;
  /// The same from any bytes, without that assertion.
  static double ReadComplexValue(const unsigned char* data, unsigned int offset, unsigned int index, bool is_signed,
                                 unsigned int bytes, unsigned int fraction_bytes);
  /// Another reader: signed only if `is_signed`, no raw doubles. Bytes outside the block count as zero.
  double ReadComplexValue1(unsigned int offset, unsigned int index, bool is_signed, unsigned int bytes,
                           unsigned int fraction_bytes) const;
  /// A signed mantissa of `mantissa_bytes`, then a signed binary exponent of `exponent_bytes`.
  static double ReadSorvFloatValue(const unsigned char* data, unsigned int offset, unsigned int index,
                                   unsigned int exponent_bytes, unsigned int mantissa_bytes);

 private:
  /// A field of the head; 0 when the block is too short to hold it.
  template <class Field>
  Field HeadField(std::size_t offset) const;
  unsigned int FormatByte() const { return HeadField<std::uint8_t>(offsetof(CHead, Flags) + 1); }

  std::uint32_t m_time_out = kDefaultTimeOut;
};

/// A packet that carries a parameter id and values, all of one format.
class CDevParameter : public CDevCommand {
 public:
  CDevParameter(unsigned short parameter, unsigned int value_count, unsigned char value_size,
                unsigned char fraction_size, unsigned short command);
  explicit CDevParameter(const CDataBlock* source) : CDevCommand(source) {}

  CDevParameter* Copy() const override { return new CDevParameter(this); }

  /// -1 for a block without a body.
  int ParameterID() const;
  void SetParameterID(unsigned short parameter);
  /// 0 if sound, -1 if not. Odd, and kept: an SK_GET or SK_EXEC packet may be shorter than its values. A question whose
  /// head counts values that it does not carry would otherwise be unsound.
  int CheckStructure() const;

  /// The count in the head, or the values that the body has room for if the two disagree.
  unsigned int ValuesCount() const;
  double Value(unsigned int index) const;
  void SetValue(unsigned int index, double value);
  void SetValues(double v0);
  void SetValues(double v0, double v1);
  void SetValues(double v0, double v1, double v2);
  void SetValues(double v0, double v1, double v2, double v3);
  void SetValues(double v0, double v1, double v2, double v3, double v4);
  void SetValues(double v0, double v1, double v2, double v3, double v4, double v5);

  /// True if a reply holds at least `count` values: element size 1 to 8, and a body long enough for them.
  bool CarriesValues(unsigned int count) const;
  /// As Value, for an index below what CarriesValues confirmed, and without its assertion: no reply may end the
  /// process. 0.0 for any other index.
  double CarriedValue(unsigned int index) const;

 private:
  static constexpr unsigned int kValuesOffset = 2;
  void SetFirstValues(std::span<const double> values);
};
