// The wire form of HiSLIP (IVI-6.1, protocol 1.0): a header of sixteen bytes, all numbers big-endian, then the payload.
//
//   0   "HS"
//   2   message type
//   3   control code
//   4   message parameter   32 bits
//   8   payload length      64 bits
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace server::hislip {

enum class Type : std::uint8_t {
  kInitialize = 0,
  kInitializeResponse = 1,
  kFatalError = 2,
  kError = 3,
  kAsyncLock = 4,
  kAsyncLockResponse = 5,
  kData = 6,
  kDataEnd = 7,
  kDeviceClearComplete = 8,
  kDeviceClearAcknowledge = 9,
  kAsyncRemoteLocalControl = 10,
  kAsyncRemoteLocalResponse = 11,
  kTrigger = 12,
  kInterrupted = 13,
  kAsyncInterrupted = 14,
  kAsyncMaximumMessageSize = 15,
  kAsyncMaximumMessageSizeResponse = 16,
  kAsyncInitialize = 17,
  kAsyncInitializeResponse = 18,
  kAsyncDeviceClear = 19,
  kAsyncStatusQuery = 21,
  kAsyncStatusResponse = 22,
  kAsyncDeviceClearAcknowledge = 23,
  kAsyncLockInfo = 24,
  kAsyncLockInfoResponse = 25,
  kFirstOfVendors = 128,
};

/// Control codes of kError and kFatalError.
enum class ErrorCode : std::uint8_t {
  kUnidentified = 0,
  kUnknownType = 1,
  kUnknownControlCode = 2,
  kUnknownVendorType = 3,
  kTooLarge = 4,
  kNoInstrument = 128,  ///< device defined
};
enum class FatalCode : std::uint8_t {
  kUnidentified = 0,
  kBadHeader = 1,
  kNotBothUp = 2,
  kBadInitialization = 3,
  kTooManyClients = 4,
};

struct Message {
  Type type{};
  std::uint8_t control = 0;
  std::uint32_t parameter = 0;
  std::string payload;
  bool too_large = false;  ///< the payload was longer than the reader keeps, and was skipped
};

/// Header and payload as they are sent.
std::string Encode(Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload = {});

/// Eight bytes, big-endian.
std::string EncodeSize(std::uint64_t size);
std::uint64_t DecodeSize(std::string_view payload);

constexpr std::size_t kHeaderSize = 16;

/// Puts messages together from pieces of any size. Keeps only bytes that have come, and no more than the limit.
class Reader {
 public:
  /// Keeps up to `data_limit` bytes of payload of Data and DataEND, and 256 of every other message.
  explicit Reader(std::size_t data_limit) : m_data_limit(data_limit) {}

  enum class Result { kMessage, kNeedsMore, kBadHeader };

  /// Takes bytes off the front of `bytes`, up to the end of one message.
  Result Next(std::string_view& bytes, Message& message);

 private:
  bool TakeHeader();

  const std::size_t m_data_limit;
  std::string m_header;
  Message m_message;
  std::uint64_t m_left = 0;  ///< bytes of the payload still to come
};

}  // namespace server::hislip
