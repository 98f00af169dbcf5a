// The standard's functions that mean nothing for a generator on a message interface: registers and memory of a bus,
// its lines and commands, transfers in the background and to files. On sessions of the next library they work as there.
#include "visa/Front.h"

namespace visa {
namespace {

template <typename... Arguments>
ViStatus Refused(const char* function, ViSession vi, Arguments... arguments) {
  return OnSession(
      function, vi, [](GeneratorSession&) { return kUnknownOperation; }, arguments...);
}

}  // namespace
}  // namespace visa

VISA_EXPORT ViStatus viTerminate(ViSession vi, ViUInt16 degree, ViUInt32 job) {
  return visa::Refused("viTerminate", vi, degree, job);
}

VISA_EXPORT ViStatus viReadAsync(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* job) {
  return visa::Refused("viReadAsync", vi, buffer, count, job);
}

VISA_EXPORT ViStatus viReadToFile(ViSession vi, const char* file, ViUInt32 count, ViUInt32* done) {
  return visa::Refused("viReadToFile", vi, file, count, done);
}

VISA_EXPORT ViStatus viWriteAsync(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* job) {
  return visa::Refused("viWriteAsync", vi, buffer, count, job);
}

VISA_EXPORT ViStatus viWriteFromFile(ViSession vi, const char* file, ViUInt32 count, ViUInt32* done) {
  return visa::Refused("viWriteFromFile", vi, file, count, done);
}

VISA_EXPORT ViStatus viIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8* value) {
  return visa::Refused("viIn8", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8 value) {
  return visa::Refused("viOut8", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16* value) {
  return visa::Refused("viIn16", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16 value) {
  return visa::Refused("viOut16", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32* value) {
  return visa::Refused("viIn32", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32 value) {
  return visa::Refused("viOut32", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64* value) {
  return visa::Refused("viIn64", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 value) {
  return visa::Refused("viOut64", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8* value) {
  return visa::Refused("viIn8Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8 value) {
  return visa::Refused("viOut8Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16* value) {
  return visa::Refused("viIn16Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16 value) {
  return visa::Refused("viOut16Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32* value) {
  return visa::Refused("viIn32Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32 value) {
  return visa::Refused("viOut32Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64* value) {
  return visa::Refused("viIn64Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 value) {
  return visa::Refused("viOut64Ex", vi, space, offset, value);
}

VISA_EXPORT ViStatus viMoveIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt8* buffer) {
  return visa::Refused("viMoveIn8", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt8* buffer) {
  return visa::Refused("viMoveOut8", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt16* buffer) {
  return visa::Refused("viMoveIn16", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt16* buffer) {
  return visa::Refused("viMoveOut16", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt32* buffer) {
  return visa::Refused("viMoveIn32", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt32* buffer) {
  return visa::Refused("viMoveOut32", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt64* buffer) {
  return visa::Refused("viMoveIn64", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt64* buffer) {
  return visa::Refused("viMoveOut64", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt8* buffer) {
  return visa::Refused("viMoveIn8Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length, ViUInt8* buffer) {
  return visa::Refused("viMoveOut8Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                  ViUInt16* buffer) {
  return visa::Refused("viMoveIn16Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                   ViUInt16* buffer) {
  return visa::Refused("viMoveOut16Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                  ViUInt32* buffer) {
  return visa::Refused("viMoveIn32Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                   ViUInt32* buffer) {
  return visa::Refused("viMoveOut32Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                  ViUInt64* buffer) {
  return visa::Refused("viMoveIn64Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMoveOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 length,
                                   ViUInt64* buffer) {
  return visa::Refused("viMoveOut64Ex", vi, space, offset, length, buffer);
}

VISA_EXPORT ViStatus viMove(ViSession vi, ViUInt16 source_space, ViBusAddress source_offset, ViUInt16 source_width,
                            ViUInt16 target_space, ViBusAddress target_offset, ViUInt16 target_width, ViUInt64 length) {
  return visa::Refused("viMove", vi, source_space, source_offset, source_width, target_space, target_offset,
                       target_width, length);
}

VISA_EXPORT ViStatus viMoveAsync(ViSession vi, ViUInt16 source_space, ViBusAddress source_offset, ViUInt16 source_width,
                                 ViUInt16 target_space, ViBusAddress target_offset, ViUInt16 target_width,
                                 ViUInt64 length, ViUInt32* job) {
  return visa::Refused("viMoveAsync", vi, source_space, source_offset, source_width, target_space, target_offset,
                       target_width, length, job);
}

VISA_EXPORT ViStatus viMoveEx(ViSession vi, ViUInt16 source_space, ViBusAddress source_offset, ViUInt16 source_width,
                              ViUInt16 target_space, ViBusAddress target_offset, ViUInt16 target_width,
                              ViUInt64 length) {
  return visa::Refused("viMoveEx", vi, source_space, source_offset, source_width, target_space, target_offset,
                       target_width, length);
}

VISA_EXPORT ViStatus viMoveAsyncEx(ViSession vi, ViUInt16 source_space, ViBusAddress source_offset,
                                   ViUInt16 source_width, ViUInt16 target_space, ViBusAddress target_offset,
                                   ViUInt16 target_width, ViUInt64 length, ViUInt32* job) {
  return visa::Refused("viMoveAsyncEx", vi, source_space, source_offset, source_width, target_space, target_offset,
                       target_width, length, job);
}

VISA_EXPORT ViStatus viMapAddress(ViSession vi, ViUInt16 space, ViBusAddress base, ViUInt64 size, ViUInt16 access,
                                  void* suggested, void** address) {
  return visa::Refused("viMapAddress", vi, space, base, size, access, suggested, address);
}

VISA_EXPORT ViStatus viUnmapAddress(ViSession vi) {
  return visa::Refused("viUnmapAddress", vi);
}

VISA_EXPORT ViStatus viMapAddressEx(ViSession vi, ViUInt16 space, ViBusAddress base, ViUInt64 size, ViUInt16 access,
                                    void* suggested, void** address) {
  return visa::Refused("viMapAddressEx", vi, space, base, size, access, suggested, address);
}

VISA_EXPORT ViStatus viMemAlloc(ViSession vi, ViUInt64 size, ViBusAddress* offset) {
  return visa::Refused("viMemAlloc", vi, size, offset);
}

VISA_EXPORT ViStatus viMemFree(ViSession vi, ViBusAddress offset) {
  return visa::Refused("viMemFree", vi, offset);
}

VISA_EXPORT ViStatus viMemAllocEx(ViSession vi, ViUInt64 size, ViBusAddress* offset) {
  return visa::Refused("viMemAllocEx", vi, size, offset);
}

VISA_EXPORT ViStatus viMemFreeEx(ViSession vi, ViBusAddress offset) {
  return visa::Refused("viMemFreeEx", vi, offset);
}

VISA_EXPORT ViStatus viGpibControlATN(ViSession vi, ViUInt16 mode) {
  return visa::Refused("viGpibControlATN", vi, mode);
}

VISA_EXPORT ViStatus viGpibSendIFC(ViSession vi) {
  return visa::Refused("viGpibSendIFC", vi);
}

VISA_EXPORT ViStatus viGpibCommand(ViSession vi, ViUInt8* buffer, ViUInt32 count, ViUInt32* done) {
  return visa::Refused("viGpibCommand", vi, buffer, count, done);
}

VISA_EXPORT ViStatus viGpibPassControl(ViSession vi, ViUInt16 primary, ViUInt16 secondary) {
  return visa::Refused("viGpibPassControl", vi, primary, secondary);
}

VISA_EXPORT ViStatus viVxiCommandQuery(ViSession vi, ViUInt16 mode, ViUInt32 command, ViUInt32* response) {
  return visa::Refused("viVxiCommandQuery", vi, mode, command, response);
}

VISA_EXPORT ViStatus viAssertUtilSignal(ViSession vi, ViUInt16 line) {
  return visa::Refused("viAssertUtilSignal", vi, line);
}

VISA_EXPORT ViStatus viAssertIntrSignal(ViSession vi, ViInt16 mode, ViUInt32 status) {
  return visa::Refused("viAssertIntrSignal", vi, mode, status);
}

VISA_EXPORT ViStatus viMapTrigger(ViSession vi, ViInt16 source, ViInt16 destination, ViUInt16 mode) {
  return visa::Refused("viMapTrigger", vi, source, destination, mode);
}

VISA_EXPORT ViStatus viUnmapTrigger(ViSession vi, ViInt16 source, ViInt16 destination) {
  return visa::Refused("viUnmapTrigger", vi, source, destination);
}

VISA_EXPORT ViStatus viUsbControlOut(ViSession vi, ViInt16 type, ViInt16 request, ViUInt16 value, ViUInt16 index,
                                     ViUInt16 length, ViUInt8* buffer) {
  return visa::Refused("viUsbControlOut", vi, type, request, value, index, length, buffer);
}

VISA_EXPORT ViStatus viUsbControlIn(ViSession vi, ViInt16 type, ViInt16 request, ViUInt16 value, ViUInt16 index,
                                    ViUInt16 length, ViUInt8* buffer, ViUInt16* done) {
  return visa::Refused("viUsbControlIn", vi, type, request, value, index, length, buffer, done);
}

VISA_EXPORT void viPeek8(ViSession vi, void* address, ViUInt8* value) {
  visa::Refused("viPeek8", vi, address, value);
}

VISA_EXPORT void viPoke8(ViSession vi, void* address, ViUInt8 value) {
  visa::Refused("viPoke8", vi, address, value);
}

VISA_EXPORT void viPeek16(ViSession vi, void* address, ViUInt16* value) {
  visa::Refused("viPeek16", vi, address, value);
}

VISA_EXPORT void viPoke16(ViSession vi, void* address, ViUInt16 value) {
  visa::Refused("viPoke16", vi, address, value);
}

VISA_EXPORT void viPeek32(ViSession vi, void* address, ViUInt32* value) {
  visa::Refused("viPeek32", vi, address, value);
}

VISA_EXPORT void viPoke32(ViSession vi, void* address, ViUInt32 value) {
  visa::Refused("viPoke32", vi, address, value);
}

VISA_EXPORT void viPeek64(ViSession vi, void* address, ViUInt64* value) {
  visa::Refused("viPeek64", vi, address, value);
}

VISA_EXPORT void viPoke64(ViSession vi, void* address, ViUInt64 value) {
  visa::Refused("viPoke64", vi, address, value);
}
