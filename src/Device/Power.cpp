// Output power, attenuator, output state and unit. dBm throughout; the unit affects only the answers to queries.
//
// Everything here acts at once in its mode: a setting resends what the power mode needs, also when that packet does not
// hold the setting. Odd, and kept: a CW power that the instrument refuses is no error, and SetPower takes the number
// whatever keyword it comes with, so ":POW MIN" sets 0 dBm.
#include <cmath>
#include <cstdint>

#include "src/Device.h"

namespace {

constexpr double kDefaultSweepPoints = 501.0;
/// The only point of an empty list when list mode begins.
constexpr double kLonePointDbm = -60.0;

}  // namespace

double CDevice::ConvertPower(double value, int unit, bool to_dbm) const {
  const bool stored_is_watt = m_settings.power_unit == kUnitWatt;
  if (!to_dbm) {
    // Odd, and kept: in this direction an explicit unit does not convert; only the stored one does.
    return unit == kStoredUnit && stored_is_watt ? std::pow(10.0, value / 10.0) / 1000.0 : value;
  }
  const bool is_watt = unit == kUnitWatt || (unit == kStoredUnit && stored_is_watt);
  return is_watt ? std::log10(value * 1000.0) * 10.0 : value;
}

int CDevice::GetPower(double& value, ETDValueType type, ETDDefaultType def) const {
  if (def == kDefaultMinimum || def == kDefaultMaximum || def == kDefaultDefault) {
    GetPowerKeyword(value, type, def);
    return 0;
  }
  const SSweepParameters& sweep = m_settings.sweep;
  switch (type) {
    case kValueCW:
      value = m_settings.cw_power;
      break;
    case kValueStart:
      value = sweep.start_power;
      break;
    case kValueStop:
      value = sweep.stop_power;
      break;
    case kValueCenter:
      value = (sweep.start_power + sweep.stop_power) * 0.5;
      break;
    case kValueSpan:
      value = sweep.stop_power - sweep.start_power;
      break;
    case kValuePoints:
    case kValueStep:
      break;  // odd, and kept: leaves `value` as it was
  }
  return 0;
}

void CDevice::GetPowerKeyword(double& value, ETDValueType type, ETDDefaultType def) const {
  const double low = m_limits.low_power;
  const double high = m_limits.high_power;
  const double points = m_limits.max_sweep_points;
  const bool is_minimum = def == kDefaultMinimum;
  const bool is_maximum = def == kDefaultMaximum;
  switch (type) {
    case kValueCW:
    case kValueStart:
      value = is_maximum ? high : low;
      break;
    case kValueStop:
      value = is_minimum ? low : high;
      break;
    case kValueCenter:
      value = is_minimum ? low : is_maximum ? high : (high - low) * 0.5 + low;
      break;
    case kValueSpan:
      value = is_minimum ? 0.0 : high - low;
      break;
    case kValuePoints:
      value = is_minimum ? 1.0 : is_maximum ? points : kDefaultSweepPoints;
      break;
    case kValueStep:
      value = is_maximum ? high - low : (high - low) / (is_minimum ? points : kDefaultSweepPoints);
      break;
  }
}

int CDevice::SetPower(double value, ETDValueType type, ETDDefaultType /*def*/) {
  SSweepParameters& sweep = m_settings.sweep;
  switch (type) {
    case kValueCW:
      m_settings.cw_power = value;
      WithRunStopped(Restart::kAlways, [&] { return SetPwrCommon(); });
      return 0;
    case kValueStart:
      sweep.start_power = value;
      break;
    case kValueStop:
      sweep.stop_power = value;
      break;
    case kValueCenter: {
      const double half = (sweep.stop_power - sweep.start_power) * 0.5;
      sweep.start_power = value - half;
      sweep.stop_power = value + half;
      break;
    }
    case kValueSpan: {
      const double center = (sweep.stop_power - sweep.start_power) * 0.5 + sweep.start_power;
      sweep.start_power = center - 0.5 * value;
      sweep.stop_power = 0.5 * value + center;
      break;
    }
    default:
      break;
  }
  const std::uint32_t points = m_settings.sweep_points;
  sweep.step_power = points > 1 ? (sweep.stop_power - sweep.start_power) / static_cast<double>(points - 1) : 0.0;
  return Folded(ResendPower());
}

int CDevice::SetPwrMode(EMode mode) {
  m_settings.sweep.power_mode = mode;
  return Folded(ResendPower());
}

int CDevice::SetPwrCommon() {
  const SSweepParameters& sweep = m_settings.sweep;
  switch (sweep.power_mode) {
    case kModeSweep:
      return set_power_sweep();
    case kModeList:
      if (sweep.frequency_mode == kModeSweep || sweep.frequency_mode == kModeList) {
        if (const int refused = CheckListSize(sweep.frequency_mode, kModeList)) return refused;
      }
      if (m_power_list.empty()) m_power_list.push_back(kLonePointDbm);
      return HW_SendList(kPowerList);
    default:
      return SendRFOut();
  }
}

int CDevice::ResendPower() {
  return WithRunStopped(Restart::kUnlessRefused, [&] { return SetPwrCommon(); });
}

int CDevice::SetAtten(int& value) {
  m_settings.attenuation = value;
  return ResendPower();
}

int CDevice::GetAtten(int& value) const {
  value = m_settings.attenuation;
  return 0;
}

int CDevice::SetAttStrategy(int& value) {
  m_settings.attenuator_strategy = value;
  return ResendPower();
}

int CDevice::GetAttStrategy(int& value) const {
  value = m_settings.attenuator_strategy;
  return 0;
}

int CDevice::SetPowControl(int& value) {
  m_settings.system.power_control = value;
  // External levelling has no packet of its own: it changes fields of the synchronisation. The model's trigger source
  // follows from the reply to this record, and does not return to its old value.
  SSyncInType record = m_settings.sweep.sync_in;
  record.source = value == kLevellingExternal ? kTriggerBus : kTriggerImmediate;
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = SetSyncIn(record, m_settings.sweep.single_step);
    return status == 0 ? SendSyncOutParams() : status;
  });
}

int CDevice::GetPowControl(int& value) const {
  value = m_settings.system.power_control;
  return 0;
}

int CDevice::SetOutputEnabled(bool on) {
  m_settings.output_state = on ? kOutputOn : kOutputOff;
  return Folded(WithRunStopped(Restart::kUnlessRefused, [&] {
    // Odd, and kept: switching off sends the CW packet in every mode. Otherwise the packets of ":OUTP OFF" would differ
    // in sweep and list mode.
    const int status = on ? SetPwrCommon() : SendRFOut();
    const bool is_off = !IsFailure(status) && m_settings.output_state != kOutputOn;
    if (is_off) m_device_status_reg.ClrRegBit(kStandardEventRegister, kOutputOnBit, true);
    return status;
  }));
}

int CDevice::GetOutputEnabled(bool& on) const {
  on = m_settings.output_state == kOutputOn;
  return 0;
}

int CDevice::SetUnit(EUnitType unit) {
  m_settings.power_unit = unit;
  return 0;
}

int CDevice::GetUnit(EUnitType& unit) const {
  unit = m_settings.power_unit;
  return 0;
}
