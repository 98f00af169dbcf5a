// The register set of the IEEE 488.2 and SCPI status model: standard event (0), questionable (1), operation (2) and
// status byte (3). A plain record without a lock; only the session's interpreter thread touches it.
//
// There are no enable registers, and bit 6 of the status byte does not exist. A summary bit stays in the status byte
// after its source has cleared, until the byte is read.
#pragma once

#include <cstdint>

/// The registers, as the functions below number them.
enum ERegister : short {
  kStandardEventRegister = 0,
  kQuestionableRegister = 1,
  kOperationRegister = 2,
  kStatusByteRegister = 3,
};

/// Bits of the standard event register (IEEE 488.2, 11.5.1.1).
enum EStandardEventBit : short {
  kQueryErrorBit = 2,
  kDeviceErrorBit = 3,
  kExecutionErrorBit = 4,
  kCommandErrorBit = 5,
  kPowerOnBit = 7,
};

/// Bits of the status byte (IEEE 488.2, 11.2; SCPI-99, volume 1, 9).
/// The summaries of the questionable and the operation register never come up: nothing lifts the guard of sStatusReg.
enum EStatusByteBit : short {
  kErrorQueueBit = 2,
  kQuestionableSummaryBit = 3,
  kStandardEventSummaryBit = 5,
  kOperationSummaryBit = 7,
};

struct sStatusReg {
  std::uint16_t operation = 0;
  std::uint16_t questionable = 0;
  std::uint8_t standard_event = 0;
  std::uint8_t status_byte = 0;
  bool guarded = true;      ///< calls without force do nothing; never changed, or registers would show more bits
  bool queue_empty = true;  ///< never changed either

  /// Sets a bit. A register outside 0 to 3, a negative bit or one that the register does not have changes nothing.
  void SetRegBit(short reg, short bit, bool force);
  /// Clears a bit. Odd, and kept: in register 2 it also clears the same bit of the status byte.
  void ClrRegBit(short reg, short bit, bool force);
  /// Clears a register; register 2 clears the status byte too.
  void ClrReg(short reg, bool force);
  /// Folds the summaries into the status byte: operation bits 0 to 14 into 7, questionable bits 0 to 14 into 3,
  /// standard event into 5.
  void SetStatusByteBits(bool force);
  /// Eight characters "0" or "1", bit 0 first, without a terminator; each bit is cleared as it is shown.
  void ShowStandardEventByte(char* out);
  void ShowStatusByte(char* out);

 private:
  bool Refuses(bool force) const { return guarded && !force; }
  void Show(short reg, std::uint8_t value, char* out);
};
