// The packets that carry frequencies. On the wire the count stands before the step. Whole Hz.
//
// Callers rely on the two senders of plain settings taking six-byte values from every firmware; only
// set_freq_range_and_step adapts to what the firmware understands.
#include "src/Device/Fields.h"

namespace {

constexpr ValueFormat kSixByte{6, 0};
constexpr ValueFormat kFourByte{4, 0};

}  // namespace

int CDevice::HW_SetFrequency(long& start, long& step, long& count) {
  if (m_extended_frequency) return -1;
  CancelIfSweeping();
  Exchange exchange(P_FREQUENCY, m_wide_frequency ? kSixByte : kFourByte, ToFields(start, count, step));
  if (const auto failure = exchange.Run(*this)) return failure;
  TakeReply(exchange, start, count, step);
  RunIfShouldSweep();
  return exchange.Status();
}

int CDevice::HW_SetExFrequency(long& start, long& step, long& count, long& stop) {
  CancelIfSweeping();
  Exchange exchange(P_FREQUENCY, kSixByte, ToFields(start, count, step, stop));
  if (const auto failure = exchange.Run(*this)) return failure;
  TakeReply(exchange, start, count, step, stop);
  RunIfShouldSweep();
  return exchange.Status();
}

int CDevice::HW_SendFrequencyRange() {
  SSweepParameters& sweep = m_settings.sweep;
  if (!m_link_connected) return SE_CONNECTION_LOST;
  if (sweep.frequency_mode != kModeSweep) return 0;
  CancelIfSweeping();

  const auto fields =
      ToFields(sweep.start_frequency, m_settings.sweep_points, sweep.step_frequency, sweep.stop_frequency);
  const bool is_range = m_settings.sweep_points >= 2;
  Exchange exchange(P_FREQUENCY, kSixByte, std::span(fields).first(is_range ? 4 : 1));
  if (const auto failure = exchange.Run(*this)) return failure;
  if (exchange.Status() == SK_PARAMETER_CORRECTED && exchange.Carries(3)) {
    const double count = exchange.Value(1);
    sweep.start_frequency = exchange.Value(0);
    m_settings.sweep_points = TruncToUint32(count);
    sweep.step_frequency = exchange.Value(2);
    sweep.stop_frequency = sweep.start_frequency + (count - 1.0) * sweep.step_frequency;
  }
  UpdateTimeout();
  RunIfShouldSweep();
  // Callers rely on a refused range being no error.
  return 0;
}

int CDevice::HW_SendRFFrequency(double& value) {
  if (m_settings.sweep.frequency_mode != kModeFixed) return 0;
  CancelIfSweeping();
  LimitFreq(value, false);
  value = static_cast<double>(Magnitude(TruncToInt64(value)));
  Exchange exchange(P_FREQUENCY, kSixByte, {value});
  if (const auto failure = exchange.Run(*this)) return failure;
  UpdateTimeout();
  RunIfShouldSweep();
  return exchange.Status();
}
