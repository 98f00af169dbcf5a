/* Compiles the public header as C99 after the definitions of another visa.h, and calls a function of each kind. */
#define VI_SUCCESS (0L)
#define VI_ERROR_NIMPL_OPER (-2147483647L - 1 + 0x3FFF0081L)
#define VI_ATTR_TMO_VALUE (0x3FFF001AUL)
#include "scpi_zlt/scpi_zlt.h"

int main(void) {
  unsigned long session = 0;
  int value = 0;
  if (skOpenDefaultRM(&session) != VI_ERROR_SYSTEM_ERROR || session != 0) return 1;
  if (skOpen(0, "SIM0::INSTR::ZLT", 0, 20000, &session) != VI_SUCCESS) return 2;
  if (skGetAttribute(session, VI_ATTR_TMO_VALUE, &value) != VI_SUCCESS || value != 1000) return 3;
  if (skClear(session) != VI_ERROR_NIMPL_OPER || skPrintf(session, "%d\n", 1) != VI_ERROR_NIMPL_OPER) return 4;
  skPeek8(session, 0, 0);
  return skClose(session) != VI_SUCCESS;
}
