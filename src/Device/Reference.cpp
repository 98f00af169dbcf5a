// Reference oscillator and phase of the output. The pair of state and frequency goes out whole whichever of the two is
// set; a refused pair leaves both at their old values. The phase is kept even when it is refused. Hz, degrees.
#include "src/Device/Fields.h"

int CDevice::HW_set_ext_ref_gen_state(bool* external) {
  Exchange exchange(P_EXT_REF_GEN, {1, 0}, ToFields(*external));
  if (const auto failure = exchange.Run(*this)) return failure;
  // Callers rely on the status deciding here, not the field.
  *external = exchange.Status() != SK_NO_ERROR;
  return exchange.Status();
}

int CDevice::set_ext_ref_gen_state(bool* external) {
  return HW_set_ext_ref_gen_state(external);
}

int CDevice::HW_set_ext_ref_gen_state_40(bool* external, double* frequency) {
  Exchange exchange(P_EXT_REF_GEN, {4, 0}, ToFields(*external, *frequency));
  if (const auto failure = exchange.Run(*this)) return failure;
  if (!IsFailure(exchange.Status())) TakeReply(exchange, *external, *frequency);
  return exchange.Status();
}

int CDevice::set_ext_ref_gen_state_40(bool* external, double* frequency) {
  return HW_set_ext_ref_gen_state_40(external, frequency);
}

int CDevice::HW_set_ext_ref_gen_phase(double* phase) {
  return SendAndTake(*this, P_PHASE, {4, 2}, *phase);
}

int CDevice::SetExtRefGenFrequency(double frequency) {
  SSweepParameters& sweep = m_settings.sweep;
  CancelIfSweeping();
  const int status = set_ext_ref_gen_state_40(&sweep.external_reference, &frequency);
  if (IsFailure(status)) return status;
  sweep.external_reference_frequency = frequency;
  RunIfShouldSweep();
  return 0;
}

int CDevice::GetExtRefGenFrequency(double& frequency) const {
  frequency = m_settings.sweep.external_reference_frequency;
  return 0;
}

int CDevice::SetExtRefGenState(bool external) {
  SSweepParameters& sweep = m_settings.sweep;
  CancelIfSweeping();
  const int status = set_ext_ref_gen_state_40(&external, &sweep.external_reference_frequency);
  if (IsFailure(status)) return status;
  sweep.external_reference = external;
  RunIfShouldSweep();
  return 0;
}

int CDevice::GetExtRefGenState(bool& external) const {
  external = m_settings.sweep.external_reference;
  return 0;
}

int CDevice::SetPhaseAdjust(double phase) {
  m_settings.system.phase_adjust = phase;
  CancelIfSweeping();
  const int status = HW_set_ext_ref_gen_phase(&phase);
  if (IsFailure(status)) return status;
  m_settings.system.phase_adjust = phase;
  RunIfShouldSweep();
  return 0;
}

int CDevice::GetPhaseAdjust(double& phase) const {
  phase = m_settings.system.phase_adjust;
  return 0;
}
