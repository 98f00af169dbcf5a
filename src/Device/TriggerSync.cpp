// Trigger input, auxiliary output and synchronisation generator. After each exchange the model takes the codes of the
// reply, not the values that were asked for. Every setter stores first, then sends, and keeps the stored value when the
// send fails.
//
// Every change of trigger source, slope, list mode, single step and continuous running goes through SetSyncIn. Odd, and
// kept: it stops a run and does not restart it, so a new trigger source, say, ends a sweep.
#include <array>

#include "src/Device.h"
#include "support/Integers.h"

namespace {

/// Codes of the trigger input on the wire.
enum EInputCode : int { kInputOff = 0, kInputExternal = 1, kInputStep = 2, kInputStepForm = 3, kInputBus = 4 };

/// In the order of the mnemonics.
constexpr std::array<int, 6> kIntervalCodes = {kIntervalPoint, kIntervalSweep, kIntervalAuxiliary,
                                               kIntervalPulse, kIntervalStep,  kIntervalInput};

constexpr int kRefused = -1;

int InputCode(const SSyncInType& record, bool single_step, bool is_leveling) {
  if (record.source == kTriggerBus && is_leveling) return kInputBus;
  if (record.source != kTriggerExternal) return kInputOff;
  if (!single_step) return kInputExternal;
  return record.step_form ? kInputStepForm : kInputStep;
}

}  // namespace

int CDevice::SetSyncIn(SSyncInType& record, bool single_step) {
  const bool is_leveling = m_settings.system.power_control == kLevellingExternal;
  if (record.source < kTriggerImmediate || record.source > kTriggerBus) return kRefused;
  int code = InputCode(record, single_step, is_leveling);
  bool slope = record.slope == kSlopeNegative;
  int leveling = is_leveling ? 1 : 0;
  int reserved = 0;
  int fourth = is_leveling ? 3 : 2;

  const int status =
      WithRunStopped(Restart::kNever, [&] { return set_sync_in(&code, &slope, &leveling, &reserved, &fourth, 0); });
  if (IsFailure(status)) return status;
  switch (code) {
    case kInputOff:
      if (record.source != kTriggerBus) record.source = kTriggerImmediate;
      break;
    case kInputExternal:
      record.source = kTriggerExternal;
      single_step = false;
      break;
    case kInputStep:
    case kInputStepForm:
      record.source = kTriggerExternal;
      single_step = true;
      record.step_form = code == kInputStepForm;
      break;
    case kInputBus:
      record.source = kTriggerBus;
      break;
    default:
      return kRefused;
  }
  record.slope = slope ? kSlopeNegative : kSlopePositive;
  m_settings.sweep.sync_in = record;
  m_settings.sweep.single_step = single_step;
  return status;
}

int CDevice::GetSyncIn(SSyncInType& record, bool& single_step) const {
  record = m_settings.sweep.sync_in;
  single_step = m_settings.sweep.single_step;
  return 0;
}

int CDevice::SetTrigSource(ETrigger source) {
  SSweepParameters& sweep = m_settings.sweep;
  sweep.sync_in.source = source;
  // Odd, and kept: in manual list mode each write of external or bus toggles single stepping, so the same source
  // written twice is not the same as once.
  if (source != kTriggerImmediate) sweep.single_step = !sweep.single_step && m_settings.list_mode == kListManual;
  const int status = SetSyncIn(sweep.sync_in, sweep.single_step);
  if (IsFailure(status)) return status;
  UpdateTimeout();
  return 0;
}

int CDevice::GetTrigSource(ETrigger& source) const {
  source = m_settings.sweep.sync_in.source;
  return 0;
}

int CDevice::SetSyncSourceDetection(ESlope slope) {
  m_settings.sweep.sync_in.slope = slope;
  return Folded(SetSyncIn(m_settings.sweep.sync_in, m_settings.sweep.single_step));
}

int CDevice::GetSyncSourceDetection(ESlope& slope) const {
  slope = m_settings.sweep.sync_in.slope;
  return 0;
}

int CDevice::SendSyncOutParams() {
  return WithRunStopped(Restart::kUnlessRefused, [&] { return SendFirstChannel(); });
}

int CDevice::SendFirstChannel() {
  SSweepParameters& sweep = m_settings.sweep;
  const bool is_leveling = m_settings.system.power_control == kLevellingExternal;
  int code = is_leveling || sweep.sync_out_enabled ? sweep.sync_interval : kIntervalNone;
  bool polarity = sweep.sync_out_polarity == kPolarityNegative;
  int duration = TruncToInt32(0.05 + sweep.sync_out_duration);
  int leveling = is_leveling ? 1 : 0;
  int reserved = 0;
  const int status = set_sync_out(&code, &polarity, &duration, &leveling, &reserved, 0);
  if (IsFailure(status)) return status;

  if (const int failure = SettleSyncOutput(code)) return failure;
  sweep.sync_out_duration = duration;
  sweep.sync_out_polarity = polarity ? kPolarityNegative : kPolarityPositive;
  return status;
}

int CDevice::SettleSyncOutput(int got) {
  SSweepParameters& sweep = m_settings.sweep;
  const bool wants_pulse = sweep.sync_interval == kIntervalPulse;
  const bool got_pulse = got == kIntervalPulse;
  if (wants_pulse && got_pulse && sweep.sync_out_enabled) return 0;

  int result = got;
  if (wants_pulse || got_pulse || sweep.sync_out_enabled != (got != kIntervalNone)) {
    const bool has_pulse = got_pulse || (wants_pulse && got != kIntervalNone);
    result = has_pulse ? kIntervalPulse : kIntervalNone;
    if (const int failure = SendSecondChannel(result)) return failure;
  }
  if (result != kIntervalNone) {
    sweep.sync_interval = result;
  } else {
    sweep.sync_out_enabled = false;
  }
  return 0;
}

int CDevice::SendSecondChannel(int& code) {
  int input_code = code;
  bool slope = false;
  int leveling = 1;
  int reserved = 1;
  int fourth = 0;
  int status = set_sync_in(&input_code, &slope, &leveling, &reserved, &fourth, 1);
  if (IsFailure(status)) return status;

  bool polarity = true;
  int duration = 1;
  leveling = 1;
  reserved = 0;
  status = set_sync_out(&code, &polarity, &duration, &leveling, &reserved, 1);
  return Folded(status);
}

int CDevice::SetSyncInterval(int index) {
  if (index >= 0 && static_cast<std::size_t>(index) < kIntervalCodes.size()) {
    m_settings.sweep.sync_interval = kIntervalCodes[static_cast<std::size_t>(index)];
  }
  return Folded(SendSyncOutParams());
}

int CDevice::GetSyncInterval(int& index) const {
  index = 0;
  for (std::size_t i = 0; i < kIntervalCodes.size(); ++i) {
    if (kIntervalCodes[i] == m_settings.sweep.sync_interval) index = static_cast<int>(i);
  }
  return 0;
}

int CDevice::SetSyncOpolarity(int polarity) {
  m_settings.sweep.sync_out_polarity = polarity;
  return Folded(SendSyncOutParams());
}

int CDevice::GetSyncOpolarity(int& polarity) const {
  polarity = m_settings.sweep.sync_out_polarity;
  return 0;
}

int CDevice::SetSyncOutputEnabled(bool on) {
  m_settings.sweep.sync_out_enabled = on;
  return Folded(SendSyncOutParams());
}

int CDevice::GetSyncOutputEnabled(bool& on) const {
  on = m_settings.sweep.sync_out_enabled;
  return 0;
}

int CDevice::SetSyncOutputDuration(double seconds) {
  m_settings.sweep.sync_out_duration = seconds * 1e6;
  return Folded(SendSyncOutParams());
}

int CDevice::GetSyncOutputDuration(double& seconds) const {
  seconds = m_settings.sweep.sync_out_duration * 1e-6;
  return 0;
}

int CDevice::SendSyncGenParams() {
  SSweepParameters& sweep = m_settings.sweep;
  double width = sweep.sync_gen_width;
  double gap = sweep.sync_gen_period - width;
  if (gap < 0.0) gap = 0.0;
  double third = sweep.sync_gen_third;
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = HW_set_sync_gen(&width, &gap, &third);
    if (IsFailure(status)) return status;
    sweep.sync_gen_width = width;
    sweep.sync_gen_third = third;
    sweep.sync_gen_period = width + gap;
    return status;
  });
}

int CDevice::SetSyncGenPeriod(double seconds) {
  m_settings.sweep.sync_gen_period = seconds;
  return Folded(SendSyncGenParams());
}

int CDevice::GetSyncGenPeriod(double& seconds) const {
  seconds = m_settings.sweep.sync_gen_period;
  return 0;
}

int CDevice::SetSyncGenWidth(double seconds) {
  m_settings.sweep.sync_gen_width = seconds;
  return Folded(SendSyncGenParams());
}

int CDevice::GetSyncGenWidth(double& seconds) const {
  seconds = m_settings.sweep.sync_gen_width;
  return 0;
}
