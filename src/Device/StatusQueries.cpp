// "*ESR?", "*STB?" and "*CLS". A query first updates the registers: the standard event register also shows a PLL that
// is not locked, in the bit of device errors, and whether RF is on.
#include <optional>

#include "src/Device.h"

namespace {

constexpr int kResponseCut = 223;
/// How long "*STB?" may wait for its turn. A poll may be waiting for its trigger, and the answer must come within the
/// second that a reader waits.
constexpr std::int64_t kStatusBytePatienceMs = 400;

void AssignBit(sStatusReg& registers, short bit, bool on) {
  if (on) {
    registers.SetRegBit(kStandardEventRegister, bit, true);
  } else {
    registers.ClrRegBit(kStandardEventRegister, bit, true);
  }
}

}  // namespace

int CDevice::SetRFRegister() {
  if (m_settings.output_state == kOutputOff) {
    AssignBit(m_device_status_reg, kOutputOnBit, false);
    return 0;
  }
  bool on = false;
  const int status = GetRFButtonState(&on);
  const bool is_on = status == 0 && on;
  AssignBit(m_device_status_reg, kOutputOnBit, is_on);
  return is_on ? 0 : status;
}

int CDevice::SetPLLRegister() {
  bool locked = false;
  const int status = GetPLLState(&locked);
  const bool is_locked = status == 0 && locked;
  AssignBit(m_device_status_reg, kDeviceErrorBit, !is_locked);
  return is_locked ? 0 : status;
}

void CDevice::SetRegistersFromRun() {
  AssignBit(m_device_status_reg, kDeviceErrorBit, !m_run_thread->GetPLLState());
  AssignBit(m_device_status_reg, kOutputOnBit, m_run_thread->GetButtonState());
}

int CDevice::SCPI_ESR(int& value) {
  if (IsSweeping()) {
    SetRegistersFromRun();
  } else {
    if (const int status = SetRFRegister(); IsFailure(status)) return status;
    if (const int status = SetPLLRegister(); IsFailure(status)) return status;
  }
  value = m_device_status_reg.standard_event;
  m_device_status_reg.ClrReg(kStandardEventRegister, true);
  return 0;
}

// Odd, and kept: eight binary digits, lowest bit first, where IEEE 488.2 has a decimal number. The instrument is asked
// during a sweep too.
int CDevice::SCPI_STB() {
  std::optional<TurnBudget> budget;
  if (IsSweeping()) budget.emplace(m_link, kStatusBytePatienceMs);
  int status = SetRFRegister();
  if (!IsFailure(status)) status = SetPLLRegister();
  if (budget && budget->Missed()) {
    SetRegistersFromRun();
  } else if (IsFailure(status)) {
    return status;
  }
  m_device_status_reg.SetStatusByteBits(true);
  char digits[8];
  m_device_status_reg.ShowStatusByte(digits);
  return SendResponse(digits, sizeof(digits)) == sizeof(digits) ? 0 : kResponseCut;
}

int CDevice::SCPI_CLS() {
  m_errors.clear();
  for (short reg = 0; reg <= kStatusByteRegister; ++reg) m_device_status_reg.ClrReg(reg, true);
  return 0;
}
