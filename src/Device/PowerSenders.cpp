// The six generations of the RF-out packet. The digits in a sender's name are the bytes of a value and its fraction
// bytes; every field is fixed-point, whole numbers too. Generations 4 and 5 send the stop of a power sweep. For the
// others the stop is computed from the reply. Generation 0 has no power sweep.
//
// Only HW_SetRFOut stops and restarts the run; for the other senders their callers do.
#include <cmath>

#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

constexpr ValueFormat kTwoByte{2, 1};
constexpr ValueFormat kFourByte{4, 2};
constexpr ValueFormat kSixByte{6, 2};
/// Neither a device status nor a failure: a lost link gives no error here.
constexpr int kNotConnected = 226;

}  // namespace

int CDevice::SendRFOut() {
  SParameters& s = m_settings;
  switch (s.rf_out_generation) {
    case 1:
      return HW_SetRFOut_42(s.output_state, s.cw_power);
    case 2:
    case 4:
      return HW_SetRFOut_2_42(s.output_state, s.attenuator_strategy, s.attenuation, s.rf_out_spare, s.cw_power);
    case 3:
    case 5:
      return HW_SetRFOut_2_62(s.output_state, s.attenuator_strategy, s.attenuation, s.rf_out_spare, s.cw_power);
    default:
      return HW_SetRFOut(s.output_state, s.cw_power);
  }
}

int CDevice::set_power_sweep() {
  SParameters& s = m_settings;
  SSweepParameters& sweep = s.sweep;
  if (sweep.start_power > sweep.stop_power && !(sweep.step_power < 0.0)) sweep.step_power = -sweep.step_power;

  int status = 0;
  bool takes_stop = false;
  switch (s.rf_out_generation) {
    case 1:
      status = HW_set_power_sweep(s.output_state, sweep.start_power, s.sweep_points, sweep.step_power);
      break;
    case 2:
      status = HW_set_power_sweep2(s.output_state, s.attenuator_strategy, s.attenuation, s.rf_out_spare,
                                   sweep.start_power, s.sweep_points, sweep.step_power);
      break;
    case 3:
      status = HW_set_power_sweep2_6(s.output_state, s.attenuator_strategy, s.attenuation, s.rf_out_spare,
                                     sweep.start_power, s.sweep_points, sweep.step_power);
      break;
    case 4:
    case 5:
      takes_stop = true;
      status = HW_set_power_sweep3(s.output_state, s.attenuator_strategy, s.attenuation, s.rf_out_spare,
                                   sweep.start_power, s.sweep_points, sweep.step_power, sweep.stop_power);
      break;
    default:
      break;
  }
  if (!takes_stop) {
    // Odd, and kept: the end is rounded up to 0.01 dB, also where nothing was sent. ":POW:STOP?" shows it.
    const double intervals = s.sweep_points - 1U;
    sweep.stop_power = std::ceil((intervals * sweep.step_power + sweep.start_power) * 100.0) / 100.0;
  }
  return Folded(status);
}

int CDevice::HW_SetRFOut(int& state, double& power) {
  return WithRunStopped(Restart::kAfterReply, [&] { return SendAndTake(m_link, P_RF_OUT, kTwoByte, state, power); });
}

int CDevice::HW_SetRFOut_42(int& state, double& power) {
  return SendAndTake(m_link, P_RF_OUT, kFourByte, state, power).status;
}

int CDevice::HW_SetRFOut_2_42(int& state, int& strategy, int& attenuation, int& spare, double& power) {
  return SendAndTake(m_link, P_RF_OUT2, kFourByte, state, strategy, attenuation, spare, power).status;
}

int CDevice::HW_SetRFOut_2_62(int& state, int& strategy, int& attenuation, int& spare, double& power) {
  if (!m_link.Connected()) return kNotConnected;
  Exchange exchange(P_RF_OUT2, kSixByte, ToFields(state, strategy, attenuation, spare, power));
  exchange.Run(m_link);
  if (exchange.DemandValues(5)) {
    // Odd, and kept: in this form alone the power that comes back is cut to whole dBm. ":POW?" shows it.
    int whole_power = 0;
    TakeReply(exchange, state, strategy, attenuation, spare, whole_power);
    power = whole_power;
  }
  return exchange.Status();
}

int CDevice::HW_set_power_sweep(int& state, double& start, std::uint32_t& points, double& step) {
  return SendAndTake(m_link, P_RF_OUT, kFourByte, state, start, points, step).status;
}

int CDevice::HW_set_power_sweep2(int& state, int& strategy, int& attenuation, int& spare, double& start,
                                 std::uint32_t& points, double& step) {
  return SendAndTake(m_link, P_RF_OUT2, kFourByte, state, strategy, attenuation, spare, start, points, step).status;
}

int CDevice::HW_set_power_sweep2_6(int& state, int& strategy, int& attenuation, int& spare, double& start,
                                   std::uint32_t& points, double& step) {
  return SendAndTake(m_link, P_RF_OUT2, kSixByte, state, strategy, attenuation, spare, start, points, step).status;
}

int CDevice::HW_set_power_sweep3(int& state, int& strategy, int& attenuation, int& spare, double& start,
                                 std::uint32_t& points, double& step, double& stop) {
  const ValueFormat format = m_settings.rf_out_generation == 5 ? kSixByte : kFourByte;
  return SendAndTake(m_link, P_RF_OUT2, format, state, strategy, attenuation, spare, start, points, step, stop).status;
}
