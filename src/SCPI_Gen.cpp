// The session functions that work, and the instrument's factory. Each function checks its pointers and forwards.
#include <stdexcept>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/ResourceManager.h"
#include "src/Device.h"
#include "src/plib/CommandTable.h"

CGenericDevice* CreateDevice(CIOBuffer* io_buffer) {
  // Not std::call_once: it keeps thread-local data in the C++ library, which allocates memory on the first call of a
  // thread.
  static const bool filled = (scpi_lib::RegisterCommandTree(), true);
  static_cast<void>(filled);
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
  // Odd, and kept: the one exception that leaves the library, with this text. A program that catches it would get a
  // status instead.
  if (name == nullptr) throw std::logic_error("basic_string::_M_construct null not valid");
  if (session == nullptr) return VI_ERROR_INV_OBJECT;
  return OpenSession(name, static_cast<unsigned int>(open_timeout), session);
}

long skClose(unsigned long session) {
  return CScpiResManager::CloseSession(session);
}

long skWrite(unsigned long session, unsigned char* text, unsigned long count, unsigned long* written) {
  const SessionUse use(session);
  return use ? use->Write(text, count, written) : use.Refusal();
}

long skRead(unsigned long session, unsigned char* buffer, unsigned long size, unsigned long* count) {
  const SessionUse use(session);
  return use ? use->Read(buffer, size, count) : use.Refusal();
}

long skGetAttribute(unsigned long session, unsigned long attribute, void* result) {
  const SessionUse use(session);
  return use ? use->Device().GetAttribute(attribute, result) : use.Refusal();
}

long skSetAttribute(unsigned long session, unsigned long attribute, unsigned long state) {
  const SessionUse use(session);
  return use ? use->Device().SetAttribute(attribute, state) : use.Refusal();
}

}  // extern "C"
