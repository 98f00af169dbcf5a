#include "scpi_core/sStatusReg.h"

namespace {

/// The mask of a bit in a register of `width` bits; 0 for a bit that it does not have.
std::uint16_t Mask(short bit, short width) {
  return bit >= 0 && bit < width ? static_cast<std::uint16_t>(1u << bit) : std::uint16_t{0};
}

void Set(std::uint16_t& reg, short bit) {
  reg = static_cast<std::uint16_t>(reg | Mask(bit, 16));
}
void Set(std::uint8_t& reg, short bit) {
  reg = static_cast<std::uint8_t>(reg | Mask(bit, 8));
}
void Clear(std::uint16_t& reg, short bit) {
  reg = static_cast<std::uint16_t>(reg & ~Mask(bit, 16));
}
void Clear(std::uint8_t& reg, short bit) {
  reg = static_cast<std::uint8_t>(reg & ~Mask(bit, 8));
}

}  // namespace

void sStatusReg::SetRegBit(short reg, short bit, bool force) {
  if (Refuses(force)) return;
  if (reg == kStandardEventRegister) Set(standard_event, bit);
  if (reg == kQuestionableRegister) Set(questionable, bit);
  if (reg == kOperationRegister) Set(operation, bit);
  if (reg == kStatusByteRegister) Set(status_byte, bit);
}

void sStatusReg::ClrRegBit(short reg, short bit, bool force) {
  if (Refuses(force)) return;
  if (reg == kStandardEventRegister) Clear(standard_event, bit);
  if (reg == kQuestionableRegister) Clear(questionable, bit);
  if (reg == kOperationRegister) Clear(operation, bit);
  if (reg == kOperationRegister || reg == kStatusByteRegister) Clear(status_byte, bit);
}

void sStatusReg::ClrReg(short reg, bool force) {
  if (Refuses(force)) return;
  if (reg == kStandardEventRegister) standard_event = 0;
  if (reg == kQuestionableRegister) questionable = 0;
  if (reg == kOperationRegister) operation = 0;
  if (reg == kOperationRegister || reg == kStatusByteRegister) status_byte = 0;
}

void sStatusReg::SetStatusByteBits(bool force) {
  if (Refuses(force)) return;
  constexpr unsigned kSummarised = 0x7FFF;  // bit 15 never reaches the summary
  if ((operation & kSummarised) != 0) SetRegBit(kStatusByteRegister, kOperationSummaryBit, force);
  if ((questionable & kSummarised) != 0) SetRegBit(kStatusByteRegister, kQuestionableSummaryBit, force);
  if (standard_event != 0) SetRegBit(kStatusByteRegister, kStandardEventSummaryBit, force);
  if (!queue_empty) SetRegBit(kStatusByteRegister, kErrorQueueBit, force);
}

void sStatusReg::ShowStandardEventByte(char* out) {
  Show(kStandardEventRegister, standard_event, out);
}

void sStatusReg::ShowStatusByte(char* out) {
  Show(kStatusByteRegister, status_byte, out);
}

void sStatusReg::Show(short reg, std::uint8_t value, char* out) {
  for (short bit = 0; bit < 8; ++bit) {
    out[bit] = (value & Mask(bit, 8)) != 0 ? '1' : '0';
    ClrRegBit(reg, bit, true);
  }
}
