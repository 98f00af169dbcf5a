// Opens and closes the link, and forwards the link's operations by the names they have in CDevice.
#include <exception>
#include <string>

#include "src/Device.h"
#include "src/Provider.h"

namespace {

constexpr unsigned int kFirstResetTimeOutMs = 5000;

}  // namespace

long CDevice::OpenConnection(const char* resource, unsigned int open_timeout) {
  try {
    m_address = resource;
    const std::size_t marker = m_address.find("::ZLT");
    if (marker == std::string::npos) return VI_ERROR_INV_OBJECT;
    m_mode_word = 1;
    m_address.resize(marker);
    const long result = m_link.Open(m_address.c_str(), open_timeout);
    return result == VI_SUCCESS ? ResetAndProbe() : result;
  } catch (const std::exception&) {
    return VI_ERROR_SYSTEM_ERROR;
  }
}

long CDevice::ResetAndProbe() {
  CDevCommand reset(SK_RESET, 0, 0, 0, 0, 0);
  reset.SetTimeOut(kFirstResetTimeOutMs);
  const long result = ProcessCommand(&reset, false);
  if (result == VI_SUCCESS && reset.Command() == SK_RESET && reset.Status() == SK_NO_ERROR) {
    m_link.SetConnected();
    return IsFailure(Init()) ? VI_ERROR_RSRC_NFOUND : VI_SUCCESS;
  }
  m_link.CloseSession();
  if (result == VI_SUCCESS) return VI_ERROR_RAW_RD_PROT_VIOL;
  return result == VI_ERROR_CONN_LOST || result == VI_ERROR_TMO ? VI_ERROR_RSRC_NFOUND : result;
}

long CDevice::CloseConnection() {
  const long result = m_link.Close();
  m_connection_status = VI_SUCCESS;
  return result;
}

long CDevice::ProcessParameter(CDevParameter* packet, bool no_limit) {
  return m_link.ProcessParameter(*packet, no_limit);
}

long CDevice::ProcessCommand(CDevCommand* packet, bool no_limit) {
  return m_link.ProcessCommand(*packet, no_limit);
}

long CDevice::Clear(bool probe) {
  return m_link.Clear(probe);
}

long CDevice::Reset() {
  return m_link.Reset();
}

long CDevice::Send(CBasePacket* packet) {
  return m_link.Send(*packet);
}

long CDevice::Recv(CDevCommand* packet, bool cancel, unsigned int timeout) {
  return m_link.Recv(*packet, cancel, timeout);
}
