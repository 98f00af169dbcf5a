// Types, statuses, attributes and other numbers of a VISA library as programs on 64-bit Linux are compiled against them
// (VPP-4.3.2). Own names, because scpi_zlt.h has some of the standard's as macros of its own width.
#pragma once

#include <cstdarg>
#include <cstdint>

using ViInt8 = std::int8_t;
using ViUInt8 = std::uint8_t;
using ViInt16 = std::int16_t;
using ViUInt16 = std::uint16_t;
using ViInt32 = std::int32_t;
using ViUInt32 = std::uint32_t;
using ViUInt64 = std::uint64_t;
using ViBoolean = std::uint16_t;
using ViStatus = std::int32_t;
using ViObject = std::uint32_t;
using ViSession = std::uint32_t;
using ViAttr = std::uint32_t;
using ViAttrState = std::uint64_t;
using ViBusAddress = std::uint64_t;
using ViHandler = ViStatus (*)(ViSession, ViUInt32, ViUInt32, void*);

namespace visa {

/// An error status: bit 31 is set.
constexpr ViStatus Error(std::uint32_t number) {
  return static_cast<ViStatus>(0xBFFF0000U | number);
}

/// A completion code other than plain success.
constexpr ViStatus Completion(std::uint32_t number) {
  return static_cast<ViStatus>(0x3FFF0000U | number);
}

// Statuses (VPP-4.3.2 table 2.1 and Appendix A).
constexpr ViStatus kSuccess = 0;
constexpr ViStatus kEventAlreadyDisabled = Completion(0x03);
constexpr ViStatus kQueueEmpty = Completion(0x04);
constexpr ViStatus kTermChar = Completion(0x05);
constexpr ViStatus kMaxCount = Completion(0x06);
constexpr ViStatus kWarnNullObject = Completion(0x82);
constexpr ViStatus kWarnAttributeState = Completion(0x84);
constexpr ViStatus kWarnUnknownStatus = Completion(0x85);
constexpr ViStatus kWarnBuffer = Completion(0x88);
constexpr ViStatus kNestedShared = Completion(0x99);
constexpr ViStatus kNestedExclusive = Completion(0x9A);

constexpr ViStatus kSystemError = Error(0x00);
constexpr ViStatus kInvalidObject = Error(0x0E);
constexpr ViStatus kResourceLocked = Error(0x0F);
constexpr ViStatus kInvalidExpression = Error(0x10);
constexpr ViStatus kResourceNotFound = Error(0x11);
constexpr ViStatus kInvalidName = Error(0x12);
constexpr ViStatus kInvalidAccessMode = Error(0x13);
constexpr ViStatus kTimeout = Error(0x15);
constexpr ViStatus kUnknownAttribute = Error(0x1D);
constexpr ViStatus kAttributeState = Error(0x1E);
constexpr ViStatus kAttributeReadOnly = Error(0x1F);
constexpr ViStatus kInvalidLockType = Error(0x20);
constexpr ViStatus kInvalidAccessKey = Error(0x21);
constexpr ViStatus kInvalidEvent = Error(0x26);
constexpr ViStatus kInvalidMechanism = Error(0x27);
constexpr ViStatus kNotEnabled = Error(0x2F);
constexpr ViStatus kRawWriteViolation = Error(0x34);
constexpr ViStatus kInvalidSetup = Error(0x3A);
constexpr ViStatus kNoMemory = Error(0x3C);
constexpr ViStatus kInvalidMask = Error(0x3D);
constexpr ViStatus kIoError = Error(0x3E);
constexpr ViStatus kInvalidFormat = Error(0x3F);
constexpr ViStatus kUnknownFormat = Error(0x41);
constexpr ViStatus kUnknownOperation = Error(0x67);
constexpr ViStatus kUserBuffer = Error(0x71);
constexpr ViStatus kInvalidParameter = Error(0x78);
constexpr ViStatus kInvalidProtocol = Error(0x79);
constexpr ViStatus kInvalidLength = Error(0x83);
constexpr ViStatus kInvalidMode = Error(0x91);
constexpr ViStatus kNotLocked = Error(0x9C);
constexpr ViStatus kLibraryNotFound = Error(0x9E);
constexpr ViStatus kConnectionLost = Error(0xA6);

// Attributes (VPP-4.3 section 5.1); bit 31 marks those whose value is a string.
constexpr ViAttr kResourceClass = 0xBFFF0001;
constexpr ViAttr kResourceName = 0xBFFF0002;
constexpr ViAttr kImplementationVersion = 0x3FFF0003;
constexpr ViAttr kLockState = 0x3FFF0004;
constexpr ViAttr kMaximumQueueLength = 0x3FFF0005;
constexpr ViAttr kUserData32 = 0x3FFF0007;
constexpr ViAttr kUserData = 0x3FFF000A;
constexpr ViAttr kSendEndEnabled = 0x3FFF0016;
constexpr ViAttr kTerminationCharacter = 0x3FFF0018;
constexpr ViAttr kTimeoutValue = 0x3FFF001A;
constexpr ViAttr kReaddressEnabled = 0x3FFF001B;
constexpr ViAttr kIoProtocol = 0x3FFF001C;
constexpr ViAttr kDmaAllowed = 0x3FFF001E;
constexpr ViAttr kReadBufferMode = 0x3FFF002A;
constexpr ViAttr kReadBufferSize = 0x3FFF002B;
constexpr ViAttr kWriteBufferMode = 0x3FFF002D;
constexpr ViAttr kWriteBufferSize = 0x3FFF002E;
constexpr ViAttr kSuppressEndEnabled = 0x3FFF0036;
constexpr ViAttr kTerminationCharacterEnabled = 0x3FFF0038;
constexpr ViAttr kManagerSession = 0x3FFF00C4;
constexpr ViAttr kInterfaceInstanceName = 0xBFFF00E9;
constexpr ViAttr kSpecificationVersion = 0x3FFF0170;
constexpr ViAttr kInterfaceType = 0x3FFF0171;
constexpr ViAttr kPrimaryAddress = 0x3FFF0172;
constexpr ViAttr kSecondaryAddress = 0x3FFF0173;
constexpr ViAttr kManufacturerName = 0xBFFF0174;
constexpr ViAttr kManufacturerId = 0x3FFF0175;
constexpr ViAttr kInterfaceNumber = 0x3FFF0176;
constexpr ViAttr kTriggerId = 0x3FFF0177;
constexpr ViAttr kRemoteEnableState = 0x3FFF0181;
constexpr ViAttr kUnaddressEnabled = 0x3FFF0184;
constexpr ViAttr kFileAppendEnabled = 0x3FFF0192;

constexpr ViUInt32 kNoTimeout = 0xFFFFFFFF;
constexpr ViUInt32 kExclusiveLock = 1;
constexpr ViUInt32 kSharedLock = 2;
constexpr ViUInt32 kAllEvents = 0x3FFF7FFF;
constexpr ViUInt16 kAllMechanisms = 0xFFFF;
constexpr std::size_t kFindLength = 256;  ///< what a caller's buffer for a name holds, with its zero

}  // namespace visa
