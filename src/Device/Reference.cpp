// Reference oscillator and phase of the output. State and frequency are sent together, whichever of the two is set; if
// the pair is refused, both keep their old values. The phase is stored even when it is refused. Hz, degrees.
#include "src/Device.h"
#include "src/Device/Fields.h"

int CDevice::HW_set_ext_ref_gen_state(bool* external) {
  Exchange exchange(P_EXT_REF_GEN, {1, 0}, ToFields(*external));
  if (!exchange.Run(m_link)) return exchange.Status();
  // Odd, and kept: the status decides, not the field.
  *external = exchange.Status() != SK_NO_ERROR;
  return exchange.Status();
}

int CDevice::set_ext_ref_gen_state(bool* external) {
  return HW_set_ext_ref_gen_state(external);
}

int CDevice::HW_set_ext_ref_gen_state_40(bool* external, double* frequency) {
  Exchange exchange(P_EXT_REF_GEN, {4, 0}, ToFields(*external, *frequency));
  exchange.Run(m_link);
  if (!IsFailure(exchange.Status())) TakeReply(exchange, *external, *frequency);
  return exchange.Status();
}

int CDevice::set_ext_ref_gen_state_40(bool* external, double* frequency) {
  return HW_set_ext_ref_gen_state_40(external, frequency);
}

int CDevice::HW_set_ext_ref_gen_phase(double* phase) {
  return SendAndTake(m_link, P_PHASE, {4, 2}, *phase).status;
}

int CDevice::SetExtRefGenFrequency(double frequency) {
  SSweepParameters& sweep = m_settings.sweep;
  return Folded(WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = set_ext_ref_gen_state_40(&sweep.external_reference, &frequency);
    if (!IsFailure(status)) sweep.external_reference_frequency = frequency;
    return status;
  }));
}

int CDevice::GetExtRefGenFrequency(double& frequency) const {
  frequency = m_settings.sweep.external_reference_frequency;
  return 0;
}

int CDevice::SetExtRefGenState(bool external) {
  SSweepParameters& sweep = m_settings.sweep;
  return Folded(WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = set_ext_ref_gen_state_40(&external, &sweep.external_reference_frequency);
    if (!IsFailure(status)) sweep.external_reference = external;
    return status;
  }));
}

int CDevice::GetExtRefGenState(bool& external) const {
  external = m_settings.sweep.external_reference;
  return 0;
}

int CDevice::SetPhaseAdjust(double phase) {
  m_settings.system.phase_adjust = phase;
  return Folded(WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = HW_set_ext_ref_gen_phase(&phase);
    if (!IsFailure(status)) m_settings.system.phase_adjust = phase;
    return status;
  }));
}

int CDevice::GetPhaseAdjust(double& phase) const {
  phase = m_settings.system.phase_adjust;
  return 0;
}
