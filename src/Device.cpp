// How a CDevice begins and ends, and its own attributes. The command tree is not filled here: the device factory does
// that once for all sessions.
#include "src/Device.h"

#include <cstdint>
#include <cstring>

#include "src/Provider.h"

namespace {

constexpr unsigned long kAttributeTermChar = 0x3FFF0018;
constexpr long kErrorAttribute = provider::ToStatus(0xBFFF001D);
constexpr long kErrorAttributeState = provider::ToStatus(0xBFFF001E);

}  // namespace

bool HasSweep(SSweepParameters sweep) {
  return sweep.frequency_mode != kModeFixed || sweep.power_mode != kModeFixed;
}

CDevice::CDevice() = default;

CDevice::CDevice(CIOBuffer* io_buffer) : CGenericDevice(io_buffer) {}

// The interpreter has left its cycle by now, so nobody but the run thread is about.
CDevice::~CDevice() {
  CancelIfSweeping();
  m_run_thread.reset();
  CDevice::CloseConnection();
}

long CDevice::GetAttribute(unsigned long id, void* result) {
  if (id != kAttributeTermChar) return kErrorAttribute;
  if (result == nullptr) return kErrorAttributeState;
  const std::int32_t value = m_device_termchar;
  std::memcpy(result, &value, sizeof(value));
  return 0;
}

long CDevice::SetAttribute(unsigned long id, unsigned long state) {
  if (id != kAttributeTermChar) return kErrorAttribute;
  m_device_termchar = static_cast<char>(state);
  return 0;
}
