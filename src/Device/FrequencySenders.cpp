// The packets that carry frequencies. On the wire the count comes before the step. Whole Hz.
//
// Odd, and kept: the two senders of plain settings use values of six bytes with every firmware; only
// set_freq_range_and_step adapts to the firmware. Otherwise the packets to old instruments would differ.
#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

constexpr ValueFormat kSixByte{6, 0};
constexpr ValueFormat kFourByte{4, 0};

}  // namespace

int CDevice::HW_SetFrequency(long& start, long& step, long& count) {
  if (m_extended_frequency) return -1;
  return WithRunStopped(Restart::kAfterReply, [&] {
    return SendAndTake(m_link, P_FREQUENCY, m_wide_frequency ? kSixByte : kFourByte, start, count, step);
  });
}

int CDevice::HW_SetExFrequency(long& start, long& step, long& count, long& stop) {
  return WithRunStopped(Restart::kAfterReply,
                        [&] { return SendAndTake(m_link, P_FREQUENCY, kSixByte, start, count, step, stop); });
}

int CDevice::HW_SendFrequencyRange() {
  SSweepParameters& sweep = m_settings.sweep;
  if (!m_link.Connected()) return SE_CONNECTION_LOST;
  if (sweep.frequency_mode != kModeSweep) return 0;
  return WithRunStopped(Restart::kAfterReply, [&]() -> Sent {
    const auto fields =
        ToFields(sweep.start_frequency, m_settings.sweep_points, sweep.step_frequency, sweep.stop_frequency);
    const bool is_range = m_settings.sweep_points >= 2;
    Exchange exchange(P_FREQUENCY, kSixByte, std::span(fields).first(is_range ? 4 : 1));
    if (!exchange.Run(m_link)) return exchange.Result();
    if (exchange.Status() == SK_PARAMETER_CORRECTED && exchange.DemandValues(3)) {
      const double count = exchange.Value(1);
      sweep.start_frequency = exchange.Value(0);
      m_settings.sweep_points = TruncToUint32(count);
      sweep.step_frequency = exchange.Value(2);
      sweep.stop_frequency = sweep.start_frequency + (count - 1.0) * sweep.step_frequency;
    }
    UpdateTimeout();
    // Odd, and kept: a refused range is no error, though older firmware refuses this form.
    return 0;
  });
}

int CDevice::HW_SendRFFrequency(double& value) {
  if (m_settings.sweep.frequency_mode != kModeFixed) return 0;
  LimitFreq(value, false);
  value = static_cast<double>(Magnitude(TruncToInt64(value)));
  return WithRunStopped(Restart::kAfterReply, [&] {
    Exchange exchange(P_FREQUENCY, kSixByte, {value});
    if (exchange.Run(m_link)) UpdateTimeout();
    return exchange.Result();
  });
}
