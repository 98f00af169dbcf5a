// States of PLL, level, reference and RF button. Each is one question to the instrument, and its answer is the status
// of the reply or one value. While a sweep runs, the run thread's copy answers.
#include "src/Device.h"
#include "src/Device/Exchange.h"

int CDevice::HW_GetRFButtonState(bool* on) {
  Exchange exchange = Exchange::Query(P_RF_BUTTON, {2, 0}, 1);
  if (!exchange.Run(m_link)) return exchange.Status();
  // As in the other three, the status of the reply is no error: an answer without the value is "off".
  *on = exchange.DemandValues(1) && exchange.Value(0) != 0.0;
  return 0;
}

int CDevice::HW_GetPLLState(bool* locked) {
  Exchange exchange = Exchange::Query(P_FREQUENCY, {4, 0}, 3);
  if (!exchange.Run(m_link)) return exchange.Status();
  *locked = exchange.Status() != SK_LO1_NO_PLL;
  return 0;
}

int CDevice::HW_GetERGState(bool* locked) {
  *locked = true;
  Exchange exchange = Exchange::Query(P_FREQUENCY, {4, 0}, 3);
  if (!exchange.Run(m_link)) return exchange.Status();
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
  if (!exchange.Run(m_link)) return exchange.Status();
  *leveled = exchange.Status() != SK_UNLEVEL;
  return 0;
}

// Odd, and kept: these two store false in the model, whatever the answer was.
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
