/* The smallest useful program: set a frequency and read it back. README.md and scpi_zlt.h show it. */
#include <scpi_zlt/scpi_zlt.h>
#include <stdio.h>

int main(void) {
  unsigned long session, count;
  unsigned char answer[256];
  // An open time-out of 0 would fail: give the instrument time to answer.
  if (skOpen(0, "SIM0::INSTR::ZLT", 0, 10000, &session) != VI_SUCCESS) return 1;
  skWrite(session, (unsigned char*)":FREQ 1.5 GHZ;:FREQ?\n", 21, &count);
  if (skRead(session, answer, sizeof answer, &count) == VI_SUCCESS_TERM_CHAR) printf("%.*s", (int)count, answer);
  return skClose(session) != VI_SUCCESS;  // takes a second: what was written still takes effect
}
