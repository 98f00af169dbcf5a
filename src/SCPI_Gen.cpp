// The session functions that work, and the factory of the instrument. Each looks at its pointers and forwards.
#include <mutex>
#include <stdexcept>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/ResourceManager.h"
#include "src/Device.h"
#include "src/plib/CommandTable.h"

CGenericDevice* CreateDevice(CIOBuffer* io_buffer) {
  static std::once_flag filled;
  std::call_once(filled, scpi_lib::RegisterCommandTree);
  return new CDevice(io_buffer);
}

long skGetDefaultRM(unsigned long* manager) {
  return skOpenDefaultRM(manager);
}

extern "C" {

long skOpenDefaultRM(unsigned long*) {
  return VI_ERROR_SYSTEM_ERROR;
}

long skOpen(unsigned long, const char* name, unsigned long, unsigned long open_timeout, unsigned long* session) {
  // Callers rely on this text; it is the one exception that leaves the library.
  if (name == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
  if (session == nullptr) return VI_ERROR_INV_OBJECT;
  return OpenSession(name, static_cast<unsigned int>(open_timeout), session);
}

long skClose(unsigned long session) {
  return CScpiResManager::CloseSession(session);
}

long skWrite(unsigned long session, unsigned char* text, unsigned long count, unsigned long* written) {
  const SessionUse use(session);
  return use ? use->Write(text, count, written) : VI_ERROR_INV_OBJECT;
}

long skRead(unsigned long session, unsigned char* buffer, unsigned long size, unsigned long* count) {
  const SessionUse use(session);
  return use ? use->Read(buffer, size, count) : VI_ERROR_INV_OBJECT;
}

long skGetAttribute(unsigned long session, unsigned long attribute, void* result) {
  const SessionUse use(session);
  return use ? use->Device().GetAttribute(attribute, result) : VI_ERROR_INV_OBJECT;
}

long skSetAttribute(unsigned long session, unsigned long attribute, unsigned long state) {
  const SessionUse use(session);
  return use ? use->Device().SetAttribute(attribute, state) : VI_ERROR_INV_OBJECT;
}

}  // extern "C"
