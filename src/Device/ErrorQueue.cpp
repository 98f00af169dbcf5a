// The errors that ":SYST:ERR?" answers. The queue has no limit: no entry is lost, and there is no -350. An error also
// sets the bit of its class in the standard event register.
#include <cstdlib>
#include <string>

#include "scpi_zlt/helpers.h"
#include "scpi_zlt/lookups.h"

#include "src/Device.h"

int CDevice::RaiseError(int number, const char* text) {
  m_errors.push_back({number, text == nullptr ? "" : text});
  m_device_status_reg.SetRegBit(kStatusByteRegister, kErrorQueueBit, true);
  if (-500 <= number && number <= -400) {
    m_device_status_reg.SetRegBit(kStandardEventRegister, kQueryErrorBit, true);
  } else if (-399 <= number && number <= 399 && std::abs(number) >= 300) {
    m_device_status_reg.SetRegBit(kStandardEventRegister, kDeviceErrorBit, true);
  } else if (-299 <= number && number <= -200) {
    m_device_status_reg.SetRegBit(kStandardEventRegister, kExecutionErrorBit, true);
  } else if (-199 <= number && number <= -100) {
    m_device_status_reg.SetRegBit(kStandardEventRegister, kCommandErrorBit, true);
  }
  return 0;
}

// Odd, and kept: the text is that of the number, not the one that came with the error, so entries would read
// differently otherwise. The clear below is without force and does nothing: "*STB?" shows the queue's bit until it is
// read, even when the queue is empty.
int CDevice::SCPI_SYST_ERR() {
  std::string reply = "+0,\"No error\"";
  if (!m_errors.empty()) {
    const int number = m_errors.front().number;
    reply = std::to_string(number) + ",\"" + GetErrorDescription(number) + "\"";
    m_errors.pop_front();
  }
  if (m_errors.empty()) m_device_status_reg.ClrRegBit(kStatusByteRegister, kErrorQueueBit, false);
  SendResponse(reply.data(), static_cast<int>(reply.size()));
  return 0;
}

int CDevice::GetErrCount() const {
  return static_cast<int>(m_errors.size());
}
