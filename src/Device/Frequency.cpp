// Frequency settings, and which of them are sent now and which wait in the model for a change of mode.
//
// Sent at once: the CW frequency in fixed mode, the range in sweep mode, changes of mode. Everything else is stored,
// and a stored value stays when a send fails. A sweep is sent in two ways: SetFrequency sends the doubles as they are
// (HW_SendFrequencyRange), a change of mode computes whole steps first (set_freq_range_and_step). The limits are
// checked by the handlers, by the rules for centre and span, by set_freq_range_and_step and by HW_SendRFFrequency; the
// setters and HW_SendFrequencyRange do not check them.
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "src/Device.h"
#include "support/Integers.h"

namespace {

constexpr double kDefaultSweepPoints = 501.0;
/// The only point of an empty list when list mode begins.
constexpr double kLonePointHz = 1e7;
constexpr double kMostLogPoints = 16777216.0;

struct Range {
  double start;
  double stop;
};

/// Fits a range of `span`, which was moved to `moved`, into the limits. A part outside on one side is cut from both
/// sides, so that the centre stays.
Range CutBothSides(Range moved, double span, Range limits) {
  if (limits.start > moved.start) {
    span -= 2.0 * std::fabs(moved.start - limits.start);
    moved.start = limits.start;
    moved.stop = limits.start + span;
  }
  if (moved.stop > limits.stop) {
    span -= 2.0 * std::fabs(moved.stop - limits.stop);
    moved.stop = limits.stop;
    moved.start = limits.stop - span;
  }
  return moved;
}

double PickDefault(ETDDefaultType def, double minimum, double maximum, double standard, double plain) {
  switch (def) {
    case kDefaultMinimum:
      return minimum;
    case kDefaultMaximum:
      return maximum;
    case kDefaultDefault:
      return standard;
    default:
      return plain;
  }
}

}  // namespace

void CDevice::LimitFreq(double& value, bool is_step) const {
  if (is_step) {
    const double bound = m_working_high_frequency - m_working_low_frequency;
    if (std::fabs(value) > bound) value = value >= 0.0 ? bound : -bound;
    return;
  }
  // Two comparisons, the high limit first, so that crossed limits give the low one.
  if (value > m_working_high_frequency) value = m_working_high_frequency;
  if (value < m_working_low_frequency) value = m_working_low_frequency;
}

int CDevice::GetFrequency(double& value, ETDValueType type, ETDDefaultType def) const {
  const SSweepParameters& sweep = m_settings.sweep;
  const double low = m_limits.low_frequency;
  const double high = m_limits.high_frequency;
  const double points = m_limits.max_sweep_points;
  switch (type) {
    // Odd, and kept: DEF of the CW frequency is the low limit, not the start value. Otherwise ":FREQ? DEF" would answer
    // differently.
    case kValueCW:
      value = PickDefault(def, low, high, low, m_settings.cw_frequency);
      break;
    case kValueStart:
      value = PickDefault(def, low, high, low, sweep.start_frequency);
      break;
    case kValueStop:
      value = PickDefault(def, low, high, high, sweep.stop_frequency);
      break;
    case kValueCenter:
      value = PickDefault(def, low, high, (high - low) * 0.5 + low,
                          (sweep.stop_frequency - sweep.start_frequency) * 0.5 + sweep.start_frequency);
      break;
    case kValueSpan:
      value = PickDefault(def, 0.0, high - low, high - low, sweep.stop_frequency - sweep.start_frequency);
      break;
    case kValuePoints:
      value = PickDefault(def, 1.0, points, kDefaultSweepPoints, m_settings.sweep_points);
      break;
    case kValueStep:
      value =
          PickDefault(def, (high - low) / points, high - low, (high - low) / kDefaultSweepPoints, sweep.step_frequency);
      break;
  }
  return 0;
}

int CDevice::SetFrequency(double value, ETDValueType type, ETDDefaultType def) {
  const bool is_span = type == kValueSpan;
  if (def == kDefaultMinimum) value = is_span ? 0.0 : m_limits.low_frequency;
  if (def == kDefaultMaximum) {
    value = is_span ? m_limits.high_frequency - m_limits.low_frequency : m_limits.high_frequency;
  }
  StoreFrequency(value, type);

  SSweepParameters& sweep = m_settings.sweep;
  int status = 0;
  if (type == kValueCW) {
    if (sweep.frequency_mode == kModeFixed) status = HW_SendRFFrequency(m_settings.cw_frequency);
  } else if (type >= kValueStart && type <= kValueStep && sweep.frequency_mode == kModeSweep) {
    if (sweep.spacing == kSpacingLinear) status = HW_SendFrequencyRange();
    if (sweep.spacing == kSpacingLogarithmic) {
      CreateLogList();
      status = HW_SendList(kFrequencyList);
    }
  }
  UpdateTimeout();
  return Folded(status);
}

void CDevice::StoreFrequency(double value, ETDValueType type) {
  SSweepParameters& sweep = m_settings.sweep;
  const Range limits{m_working_low_frequency, m_working_high_frequency};
  const double span = sweep.stop_frequency - sweep.start_frequency;
  switch (type) {
    case kValueCW:
      m_settings.cw_frequency = value;
      break;
    case kValueStart:
      sweep.start_frequency = value;
      break;
    case kValueStop:
      sweep.stop_frequency = value;
      break;
    case kValueCenter: {
      const double shift = value - (0.5 * span + sweep.start_frequency);
      const Range range = CutBothSides({sweep.start_frequency + shift, sweep.stop_frequency + shift}, span, limits);
      sweep.start_frequency = range.start;
      sweep.stop_frequency = range.stop;
      break;
    }
    case kValueSpan: {
      const double half = 0.5 * (value - span);
      const Range range = CutBothSides({sweep.start_frequency - half, sweep.stop_frequency + half}, value, limits);
      sweep.start_frequency = range.start;
      sweep.stop_frequency = range.stop;
      break;
    }
    case kValuePoints:
      m_settings.sweep_points = TruncToUint32(value);
      break;
    case kValueStep:
      sweep.step_frequency = value;
      m_settings.sweep_points = TruncToUint32(0.5 + span / value + 1.0);
      return;
  }
  // Odd, and kept: one point divides by zero and none by 4294967295. ":SWE:STEP?" then answers "inf", or a tiny step.
  sweep.step_frequency =
      (sweep.stop_frequency - sweep.start_frequency) / static_cast<double>(m_settings.sweep_points - 1U);
}

int CDevice::SetFreqMode(EMode mode) {
  m_settings.sweep.frequency_mode = mode;
  return Folded(SetFreqCommon());
}

int CDevice::GetFreqSpacing(EFreqSpacing& spacing) const {
  spacing = m_settings.sweep.spacing;
  return 0;
}

int CDevice::SetFreqSpacing(EFreqSpacing spacing) {
  // Odd, and kept: the old spacing is sent once more, and the new one reaches the instrument with the next send.
  // Otherwise packets would differ.
  const int status = SetFreqCommon();
  if (!IsFailure(status)) m_settings.sweep.spacing = spacing;
  return status;
}

int CDevice::SetFreqCommon() {
  SSweepParameters& sweep = m_settings.sweep;
  switch (sweep.frequency_mode) {
    case kModeSweep:
      if (sweep.spacing == kSpacingLogarithmic) {
        CreateLogList();
        return HW_SendList(kFrequencyList);
      }
      return set_freq_range_and_step(sweep.start_frequency, sweep.stop_frequency, sweep.step_frequency);
    case kModeList:
      if (sweep.power_mode == kModeSweep || sweep.power_mode == kModeList) {
        if (const int refused = CheckListSize(kModeList, sweep.power_mode)) return refused;
      }
      if (m_frequency_list.empty()) m_frequency_list.push_back(kLonePointHz);
      return HW_SendList(kFrequencyList);
    default:
      return HW_SendRFFrequency(m_settings.cw_frequency);
  }
}

int CDevice::set_freq_range_and_step(double& start, double& stop, double& step) {
  LimitFreq(stop, false);
  LimitFreq(start, false);
  LimitFreq(step, true);
  if (stop < 0.0) stop = 0.0;
  if (start < 0.0) start = 0.0;

  long whole_start = Magnitude(TruncToInt64(start));
  long whole_step = 0;
  long count = 1;
  if (step != 0.0) {
    const long intervals = TruncToInt64((stop - start) / step + 0.5);
    count = intervals + 1;
    if (count > 1) {
      whole_step = Magnitude(TruncToInt64((stop - static_cast<double>(whole_start)) / static_cast<double>(intervals)));
    }
  }
  if (start > stop) whole_step = static_cast<long>(0UL - static_cast<unsigned long>(whole_step));

  const bool has_stop = m_extended_frequency && !m_wide_frequency;
  long whole_stop = Magnitude(TruncToInt64(stop));
  const int status = has_stop ? HW_SetExFrequency(whole_start, whole_step, count, whole_stop)
                              : HW_SetFrequency(whole_start, whole_step, count);
  if (IsFailure(status)) return status;

  if (!has_stop) {
    // Unsigned, because the answer of an instrument may overflow. A falling sweep reads back as a huge step.
    const auto last = static_cast<unsigned long>(count) - 1UL;
    whole_stop =
        static_cast<long>(last * static_cast<unsigned long>(whole_step) + static_cast<unsigned long>(whole_start));
  }
  start = static_cast<double>(whole_start);
  stop = static_cast<double>(whole_stop);
  step = static_cast<double>(whole_step);
  return 0;
}

void CDevice::CreateLogList() {
  const double points = m_settings.sweep_points;
  const double start = m_settings.sweep.start_frequency;
  const double stop = m_settings.sweep.stop_frequency;
  m_frequency_list.clear();
  if (points > kMostLogPoints) throw std::length_error("logarithmic sweep");
  if (!(points > 1.0)) return;

  double value = start;
  for (double i = 1.0;; ++i) {
    m_frequency_list.push_back(value);
    // Odd, and kept: the exponent divides by the points, not by the intervals, so the last step is the larger one.
    // Otherwise every point but the first and the last would move.
    value = start > 0.0 ? start * std::pow(stop / start, i / points) : start;
    if (!(points - 1.0 > i)) break;
  }
  m_frequency_list.push_back(stop);
}
