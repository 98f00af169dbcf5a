#include "client/Session.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "scpi_zlt/scpi_zlt.h"

namespace scpi_zlt {
namespace {

struct Text {
  long status;
  const char* text;
};

constexpr Text kTexts[] = {
    {VI_SUCCESS, "done"},
    {VI_SUCCESS_TERM_CHAR, "the response is complete"},
    {VI_SUCCESS_MAX_CNT, "the buffer is full; read on for the rest of the response"},
    {VI_ERROR_SYSTEM_ERROR, "no memory or no thread could be had"},
    {VI_ERROR_INV_OBJECT, "the session is not open (any more); open it again"},
    {VI_ERROR_RSRC_NFOUND, "there is no such instrument, or it does not answer"},
    {VI_ERROR_INV_RSRC_NAME, "the provider does not understand this name, or it is too long"},
    {VI_ERROR_TMO, "no answer in time; a setting during or after a sweep takes 1.5 s, so wait longer"},
    {VI_ERROR_NSUP_ATTR, "no such attribute"},
    {VI_ERROR_NSUP_ATTR_STATE, "no such value of this attribute"},
    {VI_ERROR_RAW_RD_PROT_VIOL, "what answers there does not speak this generator's protocol"},
    {VI_ERROR_IO, "the response ended without a line end"},
    {VI_ERROR_NIMPL_OPER, "this operation does not exist here"},
};

std::string Hex(long status) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "VISA status 0x%08lX", static_cast<unsigned long>(status) & 0xFFFFFFFFUL);
  return text.data();
}

}  // namespace

long Session::Open(const std::string& resource, std::chrono::milliseconds timeout) {
  Close();
  const auto limit = std::clamp<std::int64_t>(timeout.count(), 0, 0xFFFFFFFF);
  unsigned long handle = 0;
  const long status = skOpen(0, resource.c_str(), 0, static_cast<unsigned long>(limit), &handle);
  if (status == VI_SUCCESS) m_handle = handle;
  return status;
}

void Session::Close() {
  if (m_handle != 0) skClose(m_handle);
  m_handle = 0;
}

std::string StatusText(long status) {
  for (const Text& entry : kTexts) {
    if (entry.status == status) return entry.text;
  }
  return Hex(status);
}

std::string OpenFailureText(const std::string& resource, long status, std::chrono::milliseconds timeout) {
  const std::string head = "cannot open \"" + resource + "\": ";
  if (status == VI_ERROR_INV_OBJECT) return head + "a resource name has to end in ::ZLT, as in SIM0::INSTR::ZLT";
  if (status == VI_ERROR_TMO) {
    return head + "not ready within " + std::to_string(timeout.count()) + " ms (--open-timeout gives it longer)";
  }
  // A completion code of the provider: it opened something, but the library takes only plain success for a session.
  if (status > VI_SUCCESS) return head + "the provider answered with a warning, " + Hex(status);
  return head + StatusText(status);
}

}  // namespace scpi_zlt
