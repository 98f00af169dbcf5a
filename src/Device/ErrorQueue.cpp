// Errors that wait for ":SYST:ERR?", and how the states of the hardware get into the status registers. Register 0 is
// the standard event register, 3 the status byte; bits 3 and 7 of register 0 also show a PLL without lock and RF that
// is on.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "scpi_zlt/helpers.h"
#include "scpi_zlt/lookups.h"
#include "scpi_zlt/scpi_errors.h"

#include "src/Device.h"
#include "src/Device/Exchange.h"

namespace {

constexpr short kEventRegister = 0;
constexpr short kStatusByte = 3;
constexpr short kQueueBit = 2;
constexpr short kQueryErrorBit = 2;
constexpr short kDeviceErrorBit = 3;
constexpr short kExecutionErrorBit = 4;
constexpr short kCommandErrorBit = 5;
constexpr short kOutputOnBit = 7;

constexpr int kResponseCut = 223;
/// How long "*STB?" may wait for its turn, so that it answers within a reader's second also while a poll waits for its
/// trigger.
constexpr std::int64_t kStatusBytePatienceMs = 400;

void AssignBit(sStatusReg& registers, short bit, bool on) {
  if (on) {
    registers.SetRegBit(kEventRegister, bit, true);
  } else {
    registers.ClrRegBit(kEventRegister, bit, true);
  }
}

}  // namespace

int CDevice::RaiseError(int number, const char* text) {
  m_errors.push_back({number, text == nullptr ? "" : text});
  m_device_status_reg.SetRegBit(kStatusByte, kQueueBit, true);
  if (-500 <= number && number <= -400) {
    m_device_status_reg.SetRegBit(kEventRegister, kQueryErrorBit, true);
  } else if (-399 <= number && number <= 399 && std::abs(number) >= 300) {
    m_device_status_reg.SetRegBit(kEventRegister, kDeviceErrorBit, true);
  } else if (-299 <= number && number <= -200) {
    m_device_status_reg.SetRegBit(kEventRegister, kExecutionErrorBit, true);
  } else if (-199 <= number && number <= -100) {
    m_device_status_reg.SetRegBit(kEventRegister, kCommandErrorBit, true);
  }
  return 0;
}

// Callers rely on the text being that of the number, not the one that came with the error, and on the queue's bit
// outliving its last entry: the clear below is without force.
int CDevice::SCPI_SYST_ERR() {
  std::string reply = "+0,\"No error\"";
  if (!m_errors.empty()) {
    const int number = m_errors.front().number;
    reply = std::to_string(number) + ",\"" + GetErrorDescription(number) + "\"";
    m_errors.pop_front();
  }
  if (m_errors.empty()) m_device_status_reg.ClrRegBit(kStatusByte, kQueueBit, false);
  SendResponse(reply.data(), static_cast<int>(reply.size()));
  return 0;
}

int CDevice::SCPI_SYST_VERS() {
  constexpr std::string_view kVersion = "\"1999.0\"";
  SendResponse(kVersion.data(), static_cast<int>(kVersion.size()));
  return 0;
}

int CDevice::GetErrCount() const {
  return static_cast<int>(m_errors.size());
}

int CDevice::SCPI_CLS() {
  m_errors.clear();
  for (short reg = 0; reg <= kStatusByte; ++reg) m_device_status_reg.ClrReg(reg, true);
  return 0;
}

int CDevice::SetRFRegister() {
  if (m_settings.output_state == 0) {
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
  m_device_status_reg.ClrReg(kEventRegister, true);
  return 0;
}

// Callers rely on eight binary digits, lowest bit first, and on the instrument being asked also during a sweep.
int CDevice::SCPI_STB() {
  struct BudgetEnd {
    std::optional<TurnBudget>& budget;
    ~BudgetEnd() { budget.reset(); }
  };
  const BudgetEnd end{m_turn_budget};
  if (IsSweeping()) m_turn_budget = TurnBudget{kStatusBytePatienceMs};
  int status = SetRFRegister();
  if (!IsFailure(status)) status = SetPLLRegister();
  if (m_turn_budget && m_turn_budget->missed) {
    SetRegistersFromRun();
  } else if (IsFailure(status)) {
    return status;
  }
  m_device_status_reg.SetStatusByteBits(true);
  char digits[8];
  m_device_status_reg.ShowStatusByte(digits);
  return SendResponse(digits, sizeof(digits)) == sizeof(digits) ? 0 : kResponseCut;
}

int CDevice::WaitOPC(int milliseconds) {
  if (m_opc_event == nullptr) return 0;
  const int wait = milliseconds < 0 ? m_opc_wait : milliseconds;
  return neosmart::WaitForEvent(m_opc_event, static_cast<std::uint64_t>(wait)) == 0 ? 0 : scpi_error::kTimeOutError;
}

int CDevice::HW_GetRFButtonState(bool* on) {
  Exchange exchange = Exchange::Query(P_RF_BUTTON, {2, 0}, 1);
  if (const auto failure = exchange.Run(*this)) return failure;
  if (!exchange.Carries(1)) return exchange.Status();
  *on = exchange.Value(0) != 0.0;
  return 0;
}

int CDevice::HW_GetPLLState(bool* locked) {
  Exchange exchange = Exchange::Query(P_FREQUENCY, {4, 0}, 3);
  if (const auto failure = exchange.Run(*this)) return failure;
  *locked = exchange.Status() != SK_LO1_NO_PLL;
  return 0;
}

int CDevice::HW_GetERGState(bool* locked) {
  *locked = true;
  Exchange exchange = Exchange::Query(P_FREQUENCY, {4, 0}, 3);
  if (const auto failure = exchange.Run(*this)) return failure;
  *locked = exchange.Status() != SK_EXTREF_NO_PLL;
  return 0;
}

int CDevice::HW_GetLevelState(bool* leveled) {
  const int generation = m_settings.rf_out_generation;
  const bool four_bytes = generation == 2 || generation == 4;
  const bool six_bytes = generation == 3 || generation == 5;
  Exchange exchange = four_bytes  ? Exchange::Query(P_RF_OUT2, {4, 2}, 5)
                      : six_bytes ? Exchange::Query(P_RF_OUT2, {6, 2}, 5)
                                  : Exchange::Query(P_RF_OUT, {2, 1}, 2);
  if (const auto failure = exchange.Run(*this)) return failure;
  *leveled = exchange.Status() != SK_UNLEVEL;
  return 0;
}

// Callers rely on these two leaving false in the model, whatever the answer was.
int CDevice::GetPLLState(bool& locked) {
  if (IsSweeping()) {
    locked = m_run_thread->GetPLLState();
    return 0;
  }
  bool answer = locked;
  const int status = HW_GetPLLState(&answer);
  if (IsFailure(status)) return status;
  locked = answer;
  m_settings.system.pll = false;
  return status;
}

int CDevice::GetLevelState(bool& leveled) {
  if (IsSweeping()) {
    leveled = m_run_thread->GetLevelState();
    return 0;
  }
  bool answer = leveled;
  const int status = HW_GetLevelState(&answer);
  if (IsFailure(status)) return status;
  leveled = answer;
  m_settings.system.level = false;
  return status;
}

int CDevice::GetERGState(bool& locked) {
  if (IsSweeping()) {
    locked = m_run_thread->GetERGState();
    return 0;
  }
  bool answer = locked;
  const int status = HW_GetERGState(&answer);
  if (IsFailure(status)) return status;
  locked = answer;
  m_settings.system.reference = answer;
  return 0;
}

int CDevice::SendEnum(const sFunctionCallInfo& info, int value, int descriptor) {
  if (descriptor < 0 || descriptor >= info.count) return scpi_error::kSystemError;
  const sFParam& parameter = info.parameters[descriptor];
  if (parameter.kind != kKindCharacter && parameter.kind != kKindNumeric) return scpi_error::kSystemError;
  if (value < 0 || value >= parameter.mnemonic_count) return scpi_error::kSystemError;
  const sMnemonicRow& row = parameter.mnemonics[value];
  std::string word = row.name;
  const int capitals = row.short_length == kNoShortForm ? static_cast<int>(word.size()) : row.short_length;
  ToUpper(word.data(), capitals);
  SendResponse(word.data(), static_cast<int>(word.size()));
  return 0;
}
