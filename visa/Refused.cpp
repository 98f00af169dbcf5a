// The standard's functions that mean nothing for a generator on a message interface: registers and memory of a bus,
// its lines and commands, transfers in the background and to files. On sessions of the next library they work as there.
#include "visa/Front.h"

namespace visa {
namespace {

template <typename Result, typename... Arguments>
Result Refused(const char* function, ViSession vi, Arguments... arguments) {
  const auto own = [](GeneratorSession&) { return kUnknownOperation; };
  return static_cast<Result>(OnSession(function, vi, own, arguments...));
}

}  // namespace
}  // namespace visa

// A row is the result, the name, and the types of the parameters after the session; REFUSED_n has n of these.
// clang-format off
#define REFUSED_0(R, name) \
  VISA_EXPORT R name(ViSession vi) { return visa::Refused<R>(#name, vi); }
#define REFUSED_1(R, name, T1) \
  VISA_EXPORT R name(ViSession vi, T1 a) { return visa::Refused<R>(#name, vi, a); }
#define REFUSED_2(R, name, T1, T2) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b) { return visa::Refused<R>(#name, vi, a, b); }
#define REFUSED_3(R, name, T1, T2, T3) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b, T3 c) { return visa::Refused<R>(#name, vi, a, b, c); }
#define REFUSED_4(R, name, T1, T2, T3, T4) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b, T3 c, T4 d) { return visa::Refused<R>(#name, vi, a, b, c, d); }
#define REFUSED_6(R, name, T1, T2, T3, T4, T5, T6) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b, T3 c, T4 d, T5 e, T6 f) { \
    return visa::Refused<R>(#name, vi, a, b, c, d, e, f); \
  }
#define REFUSED_7(R, name, T1, T2, T3, T4, T5, T6, T7) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b, T3 c, T4 d, T5 e, T6 f, T7 g) { \
    return visa::Refused<R>(#name, vi, a, b, c, d, e, f, g); \
  }
#define REFUSED_8(R, name, T1, T2, T3, T4, T5, T6, T7, T8) \
  VISA_EXPORT R name(ViSession vi, T1 a, T2 b, T3 c, T4 d, T5 e, T6 f, T7 g, T8 h) { \
    return visa::Refused<R>(#name, vi, a, b, c, d, e, f, g, h); \
  }

#define WITH_WIDTH(width) \
  REFUSED_3(ViStatus, viIn##width, ViUInt16, ViBusAddress, ViUInt##width*) \
  REFUSED_3(ViStatus, viOut##width, ViUInt16, ViBusAddress, ViUInt##width) \
  REFUSED_3(ViStatus, viIn##width##Ex, ViUInt16, ViBusAddress, ViUInt##width*) \
  REFUSED_3(ViStatus, viOut##width##Ex, ViUInt16, ViBusAddress, ViUInt##width) \
  REFUSED_4(ViStatus, viMoveIn##width, ViUInt16, ViBusAddress, ViUInt64, ViUInt##width*) \
  REFUSED_4(ViStatus, viMoveOut##width, ViUInt16, ViBusAddress, ViUInt64, ViUInt##width*) \
  REFUSED_4(ViStatus, viMoveIn##width##Ex, ViUInt16, ViBusAddress, ViUInt64, ViUInt##width*) \
  REFUSED_4(ViStatus, viMoveOut##width##Ex, ViUInt16, ViBusAddress, ViUInt64, ViUInt##width*) \
  REFUSED_2(void, viPeek##width, void*, ViUInt##width*) \
  REFUSED_2(void, viPoke##width, void*, ViUInt##width)

WITH_WIDTH(8)
WITH_WIDTH(16)
WITH_WIDTH(32)
WITH_WIDTH(64)

REFUSED_7(ViStatus, viMove, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress, ViUInt16, ViUInt64)
REFUSED_7(ViStatus, viMoveEx, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress, ViUInt16, ViUInt64)
REFUSED_8(ViStatus, viMoveAsync, ViUInt16, ViBusAddress, ViUInt16, ViUInt16,
          ViBusAddress, ViUInt16, ViUInt64, ViUInt32*)
REFUSED_8(ViStatus, viMoveAsyncEx, ViUInt16, ViBusAddress, ViUInt16, ViUInt16,
          ViBusAddress, ViUInt16, ViUInt64, ViUInt32*)
REFUSED_6(ViStatus, viMapAddress, ViUInt16, ViBusAddress, ViUInt64, ViUInt16, void*, void**)
REFUSED_6(ViStatus, viMapAddressEx, ViUInt16, ViBusAddress, ViUInt64, ViUInt16, void*, void**)
REFUSED_0(ViStatus, viUnmapAddress)
REFUSED_2(ViStatus, viMemAlloc, ViUInt64, ViBusAddress*)
REFUSED_2(ViStatus, viMemAllocEx, ViUInt64, ViBusAddress*)
REFUSED_1(ViStatus, viMemFree, ViBusAddress)
REFUSED_1(ViStatus, viMemFreeEx, ViBusAddress)

REFUSED_3(ViStatus, viReadAsync, ViUInt8*, ViUInt32, ViUInt32*)
REFUSED_3(ViStatus, viWriteAsync, ViUInt8*, ViUInt32, ViUInt32*)
REFUSED_2(ViStatus, viTerminate, ViUInt16, ViUInt32)
REFUSED_3(ViStatus, viReadToFile, const char*, ViUInt32, ViUInt32*)
REFUSED_3(ViStatus, viWriteFromFile, const char*, ViUInt32, ViUInt32*)

REFUSED_1(ViStatus, viGpibControlATN, ViUInt16)
REFUSED_0(ViStatus, viGpibSendIFC)
REFUSED_3(ViStatus, viGpibCommand, ViUInt8*, ViUInt32, ViUInt32*)
REFUSED_2(ViStatus, viGpibPassControl, ViUInt16, ViUInt16)
REFUSED_3(ViStatus, viVxiCommandQuery, ViUInt16, ViUInt32, ViUInt32*)
REFUSED_1(ViStatus, viAssertUtilSignal, ViUInt16)
REFUSED_2(ViStatus, viAssertIntrSignal, ViInt16, ViUInt32)
REFUSED_3(ViStatus, viMapTrigger, ViInt16, ViInt16, ViUInt16)
REFUSED_2(ViStatus, viUnmapTrigger, ViInt16, ViInt16)
REFUSED_6(ViStatus, viUsbControlOut, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViUInt8*)
REFUSED_7(ViStatus, viUsbControlIn, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViUInt8*, ViUInt16*)
// clang-format on
