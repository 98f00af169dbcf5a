// How CDevice uses its run thread: stopping and starting a run around every setting that changes a sweep, and the
// time-out of a poll. The run thread is made after the start-up probing; before that nothing sweeps.
#include <algorithm>

#include "scpi_zlt/scpi_errors.h"

#include "src/Device.h"
#include "support/Integers.h"

bool CDevice::IsSweeping() const {
  return m_run_thread && m_run_thread->Active();
}

bool CDevice::ShouldSweep() const {
  return m_settings.init_continuous && HasSweep(m_settings.sweep);
}

int CDevice::Start(short count) {
  if (!m_run_thread) return 0;
  CancelIfSweeping();
  m_run_thread->Run(count);
  return 0;
}

int CDevice::Stop() {
  CancelIfSweeping();
  return 0;
}

int CDevice::WaitOPC(int milliseconds) {
  if (m_opc_event == nullptr) return 0;
  const int wait = milliseconds < 0 ? m_opc_wait : milliseconds;
  return neosmart::WaitForEvent(m_opc_event, static_cast<std::uint64_t>(wait)) == 0 ? 0 : scpi_error::kTimeOutError;
}

bool CDevice::IsDue(Restart restart, const Sent& sent) {
  switch (restart) {
    case Restart::kAlways:
      return true;
    case Restart::kAfterReply:
      return sent.replied;
    case Restart::kUnlessRefused:
      return sent.replied && !IsFailure(sent.status);
    case Restart::kNever:
      break;
  }
  return false;
}

void CDevice::CancelIfSweeping() {
  if (IsSweeping()) m_run_thread->CancelRun();
}

// A device that should sweep is in continuous mode, so the count is always 0.
void CDevice::RunIfShouldSweep() {
  if (m_run_thread && ShouldSweep()) m_run_thread->Run(m_settings.init_continuous ? 0 : 1);
}

// Odd, and kept: the dwell, which is stored in seconds, counts as milliseconds here. A long sweep is then cut off by
// the time-out.
void CDevice::UpdateTimeout() {
  if (!m_run_thread) return;
  std::size_t points = m_settings.sweep_points;
  if (m_settings.sweep.frequency_mode == kModeList) points = std::max(points, m_frequency_list.size());
  if (m_settings.sweep.power_mode == kModeList) points = std::max(points, m_power_list.size());

  // A poll that waits for a trigger waits as long as it takes.
  int timeout = 0;
  if (m_settings.sweep.sync_in.source == kTriggerImmediate) {
    timeout = TruncToInt32(static_cast<double>(points) * 1.5 * m_settings.sweep.dwell + 100.0);
    timeout = std::max(timeout, 1000);
  }
  if (timeout != m_run_thread->GetTimeout()) m_run_thread->SetTimeout(timeout);
}
