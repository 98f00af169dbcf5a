// Point lists, dwell time, and the start of a sweep. Hz, dBm, seconds. ListTransfer.cpp sends a list; whether the two
// lists fit each other is checked when a mode is sent.
#include <algorithm>
#include <utility>
#include <vector>

#include "src/Device.h"
#include "src/Device/Fields.h"

int CDevice::SetFreqList(std::vector<double> list) {
  // Odd, and kept: a refused list leaves zeros, as many as it had points. ":LIST:FREQ:POIN?" shows their number.
  m_frequency_list.assign(list.size(), 0.0);
  for (const double point : list) {
    if (!(m_working_low_frequency <= point && point <= m_working_high_frequency)) return scpi_error::kDataOutOfRange;
  }
  std::ranges::copy(list, m_frequency_list.begin());
  const int status = HW_SendList(kFrequencyList);
  UpdateTimeout();
  return Folded(status);
}

int CDevice::SetPwrList(std::vector<double> list) {
  m_power_list = std::move(list);
  const int status = HW_SendList(kPowerList);
  UpdateTimeout();
  return Folded(status);
}

int CDevice::SetListMode(EListMode mode) {
  m_settings.list_mode = mode;
  return Folded(SetSyncIn(m_settings.sweep.sync_in, m_settings.sweep.single_step));
}

int CDevice::HW_SetDwell(double& value) {
  value = static_cast<double>(TruncToInt64(value * 1e10)) / 1e10;
  return WithRunStopped(Restart::kAfterReply, [&] {
    Exchange exchange(P_INTERVAL, {4, 0}, {0.0, value * 1e9});
    exchange.Run(m_link);
    if (exchange.DemandValues(2)) value = exchange.Value(1) * 1e-9;
    return exchange.Result();
  });
}

int CDevice::SetDwell(double value) {
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = HW_SetDwell(value);
    if (IsFailure(status)) return status;
    m_settings.sweep.dwell = value;
    UpdateTimeout();
    return status;
  });
}

int CDevice::SetInitContinuous(bool on) {
  m_settings.init_continuous = on;
  SSweepParameters& sweep = m_settings.sweep;
  if (!HasSweep(sweep)) return 0;
  if (sweep.sync_in.source == kTriggerBus && sweep.single_step) return 0;
  return Folded(SetSyncIn(sweep.sync_in, sweep.single_step));
}

int CDevice::SetSingleStepEnabled(bool on) {
  m_settings.sweep.single_step = on;
  return Folded(SetSyncIn(m_settings.sweep.sync_in, on));
}

int CDevice::SendSoftwareTrigger() {
  SSyncInType record;
  bool single_step = false;
  GetSyncIn(record, single_step);
  if (record.source != kTriggerBus) return 0;
  if (const int status = SetFreqCommon(); IsFailure(status)) return status;
  if (const int status = SetPwrCommon(); IsFailure(status)) return status;
  if (ShouldSweep() && m_run_thread) m_run_thread->Run(1);
  return 0;
}
