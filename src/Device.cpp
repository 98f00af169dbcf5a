// Construction and destruction of CDevice, and its own attributes. The command tree is not filled here: the device
// factory fills it once for all sessions.
#include "src/Device.h"

#include <cstdint>
#include <cstring>

#include "src/Provider.h"

bool HasSweep(SSweepParameters sweep) {
  return sweep.frequency_mode != kModeFixed || sweep.power_mode != kModeFixed;
}

CDevice::CDevice() = default;

CDevice::CDevice(CIOBuffer* io_buffer) : CGenericDevice(io_buffer) {}

// The interpreter has left its cycle by now, so only the run thread can still be active.
CDevice::~CDevice() {
  CDevice::StopRun();
  CDevice::CloseConnection();
}

void CDevice::StopRun() {
  CancelIfSweeping();
  m_poller = nullptr;
  m_run_thread.reset();
}

long CDevice::GetAttribute(unsigned long id, void* result) {
  if (id != VI_ATTR_TERMCHAR) return VI_ERROR_NSUP_ATTR;
  if (result == nullptr) return VI_ERROR_NSUP_ATTR_STATE;
  const std::int32_t value = m_device_termchar;
  std::memcpy(result, &value, sizeof(value));
  return 0;
}

long CDevice::SetAttribute(unsigned long id, unsigned long state) {
  if (id != VI_ATTR_TERMCHAR) return VI_ERROR_NSUP_ATTR;
  m_device_termchar = static_cast<char>(state);
  return 0;
}
