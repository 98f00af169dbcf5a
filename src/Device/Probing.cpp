// Start-up: asks a newly opened instrument for its limits, and finds out which packet forms its firmware takes. Newer
// forms are tried first; after a refusal the older ones. At the end the model holds what the instrument is set to.
//
// Instruments of all ages have been tested with this order of packets and of the assignments between them.
#include <memory>

#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

constexpr long kAskedFrequency = 100000000000;
constexpr long kAskedFrequencyOfFourBytes = 4001000000;
constexpr long kAskedPoints = 100001;
constexpr double kStartPowerDbm = -20.0;

/// Compared as unsigned, so that every VISA status but 0 is a link failure here.
bool LinkFailed(const Exchange& exchange) {
  return static_cast<unsigned long>(exchange.LinkResult()) > kLastResultOfALink;
}

/// A failure, unless it only says that the form is not known.
bool IsFatal(int status) {
  return IsFailure(status) && status != SK_PARAMETER_INCORRECT;
}

/// A pair of RF-out forms: the plain one, and the one of newer firmware that adds the stop of a power sweep.
struct RFOutForm {
  EParameter parameter;
  ValueFormat format;
  int generation;
  bool has_attenuator;
  int generation_with_stop;  ///< -1: there is no such form
};
constexpr RFOutForm kRFOutForms[] = {
    {P_RF_OUT2, {6, 2}, 3, true, 5},
    {P_RF_OUT2, {4, 2}, 2, true, 4},
    {P_RF_OUT, {4, 2}, 1, false, -1},
    {P_RF_OUT, {2, 1}, 0, false, -1},
};

}  // namespace

int CDevice::Init() {
  ReadIdn();
  if (const int status = HW_SetMode(m_mode_word); IsFatal(status)) return status;
  if (const int status = ProbeFrequencyLimits()) return status;
  ProbeSyncForm();
  m_modulation_has_polarity = true;
  m_frequency_list.assign(1, 2e10);
  m_power_list.assign(1, kStartPowerDbm);
  SetStartValues();
  if (const int status = InitRFOut(kOutputOff, kStartPowerDbm, 0, 0, 0); IsFatal(status)) return status;
  SetStartValuesOfSweep();
  ProbePowerLimits();
  StartRunThread();
  return 0;
}

int CDevice::HW_SetMode(int& mode) {
  return SendAndTake(m_link, P_MODE, {2, 0}, mode).status;
}

// The instrument corrects what it can't do. The corrected values are its limits.
int CDevice::ProbeFrequencyLimits() {
  long start = 0;
  long step = kAskedFrequency;
  long count = 2;
  long stop = kAskedFrequency;
  int status = HW_SetExFrequency(start, step, count, stop);
  if (IsFatal(status)) return status;
  m_limits.high_frequency = m_working_high_frequency = static_cast<double>(stop);
  m_limits.low_frequency = m_working_low_frequency = static_cast<double>(start);

  count = 0;
  status = HW_SetExFrequency(start, step, count, stop);
  if (IsFatal(status)) return status;
  m_limits.min_sweep_points = static_cast<std::uint32_t>(count);

  count = kAskedPoints;
  status = HW_SetExFrequency(start, step, count, stop);
  if (IsFatal(status)) return status;
  m_limits.max_sweep_points = static_cast<std::uint32_t>(count);

  if (status == SK_PARAMETER_CORRECTED) status = HW_SetExFrequency(start, step, count, stop);
  if (status == SK_PARAMETER_IGNORED || status == SK_PARAMETER_INCORRECT) return ProbeOldFrequencyForms(start, step);
  return IsFailure(status) ? status : 0;
}

int CDevice::ProbeOldFrequencyForms(long start, long step) {
  m_extended_frequency = false;
  m_wide_frequency = true;
  long count = 2;
  int status = HW_SetFrequency(start, step, count);
  if (status == SK_PARAMETER_INCORRECT) {
    m_wide_frequency = false;
    start = 0;
    step = kAskedFrequencyOfFourBytes;
    status = HW_SetFrequency(start, step, count);
  }
  return IsFailure(status) ? status : 0;
}

void CDevice::ProbeSyncForm() {
  int code = 0;
  bool polarity = false;
  int duration = 10;
  int leveling = 0;
  int reserved = 0;
  const int status = HW_set_sync_out10p(&code, &polarity, &duration, &leveling, &reserved, 0);
  if (status == SK_PARAMETER_IGNORED || status == SK_PARAMETER_INCORRECT || status == SK_SMALL_SIZE) {
    m_ten_value_sync = false;
  }
}

void CDevice::SetStartValues() {
  m_settings.power_unit = kUnitDbm;
  m_settings.output_state = kOutputOff;
  m_settings.attenuator_strategy = 0;
  m_settings.attenuation = 0;
  m_settings.rf_out_spare = 0;
  m_settings.sweep.start_frequency = m_working_low_frequency;
  m_settings.sweep.stop_frequency = m_working_high_frequency;
  m_settings.sweep.start_power = kStartPowerDbm;
  m_settings.sweep.stop_power = 10.0;
  m_settings.cw_power = kStartPowerDbm;
  m_settings.sweep.frequency_mode = kModeFixed;
  m_settings.sweep.power_mode = kModeFixed;
  m_settings.sweep_points = 501;
  m_settings.cw_frequency = (m_working_low_frequency + m_working_high_frequency) * 0.5;
  m_settings.rf_out_generation = 3;
  m_settings.init_continuous = false;
}

void CDevice::SetStartValuesOfSweep() {
  SSweepParameters& sweep = m_settings.sweep;
  sweep.sync_in = {kTriggerBus, false, kSlopePositive};
  sweep.sync_interval = kIntervalSweep;
  sweep.sync_out_duration = 1.0;
  sweep.sync_out_polarity = kPolarityPositive;
  sweep.sync_out_enabled = false;
  sweep.sync_gen_width = 5e-8;
  sweep.sync_gen_period = 1e-7;
  sweep.sync_gen_third = 0.0;
  sweep.dwell = 0.0;
  sweep.spacing = kSpacingLinear;
  sweep.single_step = false;
  sweep.external_reference = false;
  sweep.external_reference_frequency = 1e7;
  m_settings.list_mode = kListAuto;
  m_settings.pulse_width = 1.0;
  m_settings.pulse_period = 0.0;
  m_settings.train_widths.clear();
  m_settings.train_gaps.clear();
  m_settings.train_pulse_count = 0;
  m_settings.modulation_enabled = false;
  m_settings.modulation_polarity = false;
  m_settings.modulation_source = kModulationInternal;
  m_settings.modulation_available = true;
  m_settings.system.rf_button = false;
  m_settings.system.power_control = kLevellingInternal;
}

// Odd, and kept: the CW power stays at the instrument's minimum. ":POW?" answers it after opening, and ":OUTP ON" sends
// it.
void CDevice::ProbePowerLimits() {
  SetPower(m_working_high_power, kValueCW, kDefaultPlain);
  m_limits.high_power = m_working_high_power = m_settings.cw_power;
  SetPower(m_working_low_power, kValueCW, kDefaultPlain);
  m_limits.low_power = m_working_low_power = m_settings.cw_power;
}

std::unique_ptr<CRunThread> CDevice::MakeRunThread(ExchangeGate& gate) {
  return std::make_unique<CRunThread>(gate);
}

void CDevice::StartRunThread() {
  m_opc_event = nullptr;
  m_poller = nullptr;
  m_run_thread.reset();
  m_run_thread = MakeRunThread(m_link.Gate());
  m_run_thread->SetSession(m_link.Session());
  UpdateTimeout();
  m_opc_event = m_run_thread->GetOPCHandle();
  m_poller = m_run_thread.get();
}

// A form counts as known unless the reply says that it is unknown. If all are unknown, the generation does not change.
int CDevice::InitRFOut(int state, double power, int strategy, int attenuation, int spare) {
  int status = 0;
  for (const RFOutForm& form : kRFOutForms) {
    std::vector<double> values = {static_cast<double>(state), power};
    if (form.has_attenuator) {
      values = {static_cast<double>(state), static_cast<double>(strategy), static_cast<double>(attenuation),
                static_cast<double>(spare), power};
    }
    Exchange plain(form.parameter, form.format, values);
    plain.Run(m_link);
    status = plain.Status();
    if (LinkFailed(plain) || plain.PacketStatus() == SK_UNKNOWN_PARAMETER) continue;
    if (form.generation_with_stop < 0) {
      m_settings.rf_out_generation = form.generation;
      return status;
    }

    values.insert(values.end(), {1.0, 0.0, power});
    Exchange with_stop(form.parameter, form.format, values);
    with_stop.Run(m_link);
    status = with_stop.Status();
    const bool link_failed = LinkFailed(with_stop);
    if (!link_failed && with_stop.PacketStatus() != SK_PARAMETER_IGNORED) {
      m_settings.rf_out_generation = form.generation_with_stop;
    } else if (with_stop.PacketStatus() != SK_PARAMETER_INCORRECT) {
      m_settings.rf_out_generation = form.generation;
    }
    return status;
  }
  return status;
}
