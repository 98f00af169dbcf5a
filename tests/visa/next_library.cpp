// Another VISA library, for the calls that the front hands on: one instrument, GPIB0::7::INSTR, that answers "next" and
// what was written. Its handles are small numbers, as the front's are.
#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "visa/VisaTypes.h"

#define NEXT_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr ViSession kManager = 1;
constexpr ViSession kSession = 2;
constexpr ViObject kEvent = 3;
constexpr ViObject kList = 4;

std::string written;
ViHandler handler = nullptr;
void* handler_user = nullptr;

ViStatus Known(ViObject object, ViObject expected) {
  return object == expected ? visa::kSuccess : visa::kInvalidObject;
}

}  // namespace

NEXT_EXPORT ViStatus viOpenDefaultRM(ViSession* manager) {
  *manager = kManager;
  return visa::kSuccess;
}

NEXT_EXPORT ViStatus viOpen(ViSession manager, const char* name, ViUInt32, ViUInt32, ViSession* session) {
  if (manager != kManager) return visa::kInvalidObject;
  if (std::strcmp(name, "GPIB0::7::INSTR") != 0) return visa::kResourceNotFound;
  *session = kSession;
  return visa::kSuccess;
}

NEXT_EXPORT ViStatus viClose(ViObject object) {
  return object >= kManager && object <= kList ? visa::kSuccess : visa::kInvalidObject;
}

NEXT_EXPORT ViStatus viFindRsrc(ViSession manager, const char*, ViObject* list, ViUInt32* count, char* first) {
  *list = kList;
  *count = 2;
  std::strcpy(first, "GPIB0::19::INSTR");
  return Known(manager, kManager);
}

NEXT_EXPORT ViStatus viFindNext(ViObject list, char* next) {
  std::strcpy(next, "GPIB0::7::INSTR");
  return Known(list, kList);
}

NEXT_EXPORT ViStatus viWrite(ViSession vi, const ViUInt8* buffer, ViUInt32 count, ViUInt32* done) {
  written.assign(reinterpret_cast<const char*>(buffer), count);
  *done = count;
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viRead(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* got) {
  const std::string answer = "next " + written;
  *got = static_cast<ViUInt32>(answer.copy(reinterpret_cast<char*>(buffer), count));
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viVPrintf(ViSession vi, const char* format, va_list arguments) {
  std::array<char, 100> text{};
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::vsnprintf(text.data(), text.size(), format, arguments);
  written = text.data();
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viGetAttribute(ViObject vi, ViAttr, void* value) {
  const ViUInt32 state = 7;
  std::memcpy(value, &state, sizeof state);
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8* value) {
  *value = static_cast<ViUInt8>(space + offset);
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viInstallHandler(ViSession vi, ViUInt32, ViHandler function, void* user) {
  handler = function;
  handler_user = user;
  return Known(vi, kSession);
}

NEXT_EXPORT ViStatus viUninstallHandler(ViSession vi, ViUInt32, ViHandler function, void* user) {
  return function == handler && user == handler_user ? Known(vi, kSession) : visa::Error(0x29);
}

/// The event comes at once.
NEXT_EXPORT ViStatus viEnableEvent(ViSession vi, ViUInt32 type, ViUInt16, ViUInt32) {
  return handler(vi, type, kEvent, handler_user);
}

NEXT_EXPORT ViStatus viWaitOnEvent(ViSession vi, ViUInt32 in_type, ViUInt32, ViUInt32* type, ViObject* context) {
  *type = in_type;
  *context = kEvent;
  return Known(vi, kSession);
}
