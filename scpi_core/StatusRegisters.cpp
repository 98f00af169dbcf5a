#include "scpi_core/sStatusReg.h"

namespace {

constexpr short kStandardEvent = 0;
constexpr short kQuestionable = 1;
constexpr short kOperation = 2;
constexpr short kStatusByte = 3;

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
  if (reg == kStandardEvent) Set(standard_event, bit);
  if (reg == kQuestionable) Set(questionable, bit);
  if (reg == kOperation) Set(operation, bit);
  if (reg == kStatusByte) Set(status_byte, bit);
}

void sStatusReg::ClrRegBit(short reg, short bit, bool force) {
  if (Refuses(force)) return;
  if (reg == kStandardEvent) Clear(standard_event, bit);
  if (reg == kQuestionable) Clear(questionable, bit);
  if (reg == kOperation) Clear(operation, bit);
  if (reg == kOperation || reg == kStatusByte) Clear(status_byte, bit);
}

void sStatusReg::ClrReg(short reg, bool force) {
  if (Refuses(force)) return;
  if (reg == kStandardEvent) standard_event = 0;
  if (reg == kQuestionable) questionable = 0;
  if (reg == kOperation) operation = 0;
  if (reg == kOperation || reg == kStatusByte) status_byte = 0;
}

void sStatusReg::SetStatusByteBits(bool force) {
  if (Refuses(force)) return;
  constexpr unsigned kSummarised = 0x7FFF;  // bit 15 never reaches the summary
  if ((operation & kSummarised) != 0) SetRegBit(kStatusByte, 7, force);
  if ((questionable & kSummarised) != 0) SetRegBit(kStatusByte, 3, force);
  if (standard_event != 0) SetRegBit(kStatusByte, 5, force);
  if (!queue_empty) SetRegBit(kStatusByte, 2, force);
}

void sStatusReg::ShowStandardEventByte(char* out) {
  Show(kStandardEvent, standard_event, out);
}

void sStatusReg::ShowStatusByte(char* out) {
  Show(kStatusByte, status_byte, out);
}

void sStatusReg::Show(short reg, std::uint8_t value, char* out) {
  for (short bit = 0; bit < 8; ++bit) {
    out[bit] = (value & Mask(bit, 8)) != 0 ? '1' : '0';
    ClrRegBit(reg, bit, true);
  }
}
