// The VISA functions that this library does not have. They are exported so that programs link, ignore their arguments,
// and return VI_ERROR_NIMPL_OPER at once.
#include <cstdarg>

#include "scpi_zlt/scpi_zlt.h"

extern "C" {

long skFindRsrc(unsigned long, const char*, unsigned long*, unsigned long*, char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skFindNext(unsigned long, char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skParseRsrc(unsigned long, const char*, unsigned short*, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skParseRsrcEx(unsigned long, const char*, unsigned short*, unsigned short*, char*, char*, char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skStatusDesc(unsigned long, long, char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skTerminate(unsigned long, unsigned short, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skLock(unsigned long, unsigned long, unsigned long, const char*, char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skUnlock(unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skEnableEvent(unsigned long, unsigned long, unsigned short, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skDisableEvent(unsigned long, unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skDiscardEvents(unsigned long, unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skWaitOnEvent(unsigned long, unsigned long, unsigned long, unsigned long*, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skInstallHandler(unsigned long, unsigned long, void*, void*) {
  return VI_ERROR_NIMPL_OPER;
}
long skUninstallHandler(unsigned long, unsigned long, void*, void*) {
  return VI_ERROR_NIMPL_OPER;
}
long skReadAsync(unsigned long, unsigned char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skReadToFile(unsigned long, const char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skWriteAsync(unsigned long, unsigned char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skWriteFromFile(unsigned long, const char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skAssertTrigger(unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skReadSTB(unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skClear(unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skSetBuf(unsigned long, unsigned short, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skFlush(unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skBufWrite(unsigned long, unsigned char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skBufRead(unsigned long, unsigned char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skPrintf(unsigned long, const char*, ...) {
  return VI_ERROR_NIMPL_OPER;
}
long skVPrintf(unsigned long, const char*, va_list) {
  return VI_ERROR_NIMPL_OPER;
}
long skSPrintf(unsigned long, unsigned char*, const char*, ...) {
  return VI_ERROR_NIMPL_OPER;
}
long skVSPrintf(unsigned long, unsigned char*, const char*, va_list) {
  return VI_ERROR_NIMPL_OPER;
}
long skScanf(unsigned long, const char*, ...) {
  return VI_ERROR_NIMPL_OPER;
}
long skVScanf(unsigned long, const char*, va_list) {
  return VI_ERROR_NIMPL_OPER;
}
long skSScanf(unsigned long, unsigned char*, const char*, ...) {
  return VI_ERROR_NIMPL_OPER;
}
long skVSScanf(unsigned long, unsigned char*, const char*, va_list) {
  return VI_ERROR_NIMPL_OPER;
}
long skQueryf(unsigned long, const char*, const char*, ...) {
  return VI_ERROR_NIMPL_OPER;
}
long skVQueryf(unsigned long, const char*, const char*, va_list) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn8(unsigned long, unsigned short, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut8(unsigned long, unsigned short, unsigned long, unsigned char) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn16(unsigned long, unsigned short, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut16(unsigned long, unsigned short, unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn32(unsigned long, unsigned short, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut32(unsigned long, unsigned short, unsigned long, unsigned int) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn64(unsigned long, unsigned short, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut64(unsigned long, unsigned short, unsigned long, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn8Ex(unsigned long, unsigned short, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut8Ex(unsigned long, unsigned short, unsigned long, unsigned char) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn16Ex(unsigned long, unsigned short, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut16Ex(unsigned long, unsigned short, unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn32Ex(unsigned long, unsigned short, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut32Ex(unsigned long, unsigned short, unsigned long, unsigned int) {
  return VI_ERROR_NIMPL_OPER;
}
long skIn64Ex(unsigned long, unsigned short, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skOut64Ex(unsigned long, unsigned short, unsigned long, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn8(unsigned long, unsigned short, unsigned long, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut8(unsigned long, unsigned short, unsigned long, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn16(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut16(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn32(unsigned long, unsigned short, unsigned long, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut32(unsigned long, unsigned short, unsigned long, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn64(unsigned long, unsigned short, unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut64(unsigned long, unsigned short, unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn8Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut8Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn16Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut16Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn32Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut32Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned int*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveIn64Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveOut64Ex(unsigned long, unsigned short, unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMove(unsigned long, unsigned short, unsigned long, unsigned short, unsigned short, unsigned long, unsigned short,
            unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveAsync(unsigned long, unsigned short, unsigned long, unsigned short, unsigned short, unsigned long,
                 unsigned short, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveEx(unsigned long, unsigned short, unsigned long, unsigned short, unsigned short, unsigned long,
              unsigned short, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMoveAsyncEx(unsigned long, unsigned short, unsigned long, unsigned short, unsigned short, unsigned long,
                   unsigned short, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMapAddress(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short, void*, void**) {
  return VI_ERROR_NIMPL_OPER;
}
long skUnmapAddress(unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMapAddressEx(unsigned long, unsigned short, unsigned long, unsigned long, unsigned short, void*, void**) {
  return VI_ERROR_NIMPL_OPER;
}
long skMemAlloc(unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMemFree(unsigned long, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMemAllocEx(unsigned long, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skMemFreeEx(unsigned long, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skGpibControlREN(unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skGpibControlATN(unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skGpibSendIFC(unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skGpibCommand(unsigned long, unsigned char*, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skGpibPassControl(unsigned long, unsigned short, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skVxiCommandQuery(unsigned long, unsigned short, unsigned long, unsigned long*) {
  return VI_ERROR_NIMPL_OPER;
}
long skAssertUtilSignal(unsigned long, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skAssertIntrSignal(unsigned long, short, unsigned long) {
  return VI_ERROR_NIMPL_OPER;
}
long skMapTrigger(unsigned long, short, short, unsigned short) {
  return VI_ERROR_NIMPL_OPER;
}
long skUnmapTrigger(unsigned long, short, short) {
  return VI_ERROR_NIMPL_OPER;
}
long skUsbControlOut(unsigned long, short, short, unsigned short, unsigned short, unsigned short, unsigned char*) {
  return VI_ERROR_NIMPL_OPER;
}
long skUsbControlIn(unsigned long, short, short, unsigned short, unsigned short, unsigned short, unsigned char*,
                    unsigned short*) {
  return VI_ERROR_NIMPL_OPER;
}
void skPeek8(unsigned long, void*, unsigned char*) {}
void skPoke8(unsigned long, void*, unsigned char) {}
void skPeek16(unsigned long, void*, unsigned short*) {}
void skPoke16(unsigned long, void*, unsigned short) {}
void skPeek32(unsigned long, void*, unsigned int*) {}
void skPoke32(unsigned long, void*, unsigned int) {}
void skPeek64(unsigned long, void*, unsigned long*) {}
void skPoke64(unsigned long, void*, unsigned long) {}

}  // extern "C"
