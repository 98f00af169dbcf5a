/* One sweep, from start to end: set it up, start it, wait until it is over, switch the output off.
 *
 * usage: single_sweep [RESOURCE]
 *
 * No command says that a sweep is over, and "*OPC?" answers at once. But "*STB?" needs the link, which a running sweep
 * holds: it waits 400 ms for its turn then, so an answer that comes sooner means that the sweep has ended. (On a link
 * on which two exchanges take 100 ms or more, raise kQuickMs; below 400 it stays safe.) */
#define _POSIX_C_SOURCE 200809L
#include <scpi_zlt/scpi_zlt.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

enum { kPoints = 11, kDwellMs = 20, kQuickMs = 300, kLongestMs = 60000 };

static unsigned long session;

static long Milliseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

static void Write(const char* message) {
  unsigned long count;
  skWrite(session, (unsigned char*)message, strlen(message), &count);
}

/* The number of characters before the line end; -1 without an answer. */
static int Ask(const char* query, char* answer, unsigned long size) {
  unsigned long count;
  Write(query);
  if (skRead(session, (unsigned char*)answer, size, &count) != VI_SUCCESS_TERM_CHAR) return -1;
  answer[count - 1] = '\0';
  return (int)count - 1;
}

/* 1: over. 0: not within kLongestMs. -1: the link is lost, which "*STB?" answers with an empty line. */
static int WaitForEnd(void) {
  const long start = Milliseconds();
  /* As long as the sweep should take. This also gives it time to begin: asked too early, the link is still free. */
  const struct timespec plan = {0, (kPoints * kDwellMs + 100) * 1000000L};
  nanosleep(&plan, NULL);
  while (Milliseconds() - start < kLongestMs) {
    char digits[16];
    const long asked = Milliseconds();
    if (Ask("*STB?\n", digits, sizeof digits) != 8) return -1;
    if (Milliseconds() - asked < kQuickMs) return 1;
  }
  return 0;
}

int main(int argc, char** argv) {
  char error[256];
  int over;
  if (skOpen(0, argc > 1 ? argv[1] : "SIM0::INSTR::ZLT", 0, 10000, &session) != VI_SUCCESS) return 1;
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 10000);
  /* Range, points and dwell first, then the mode, then the output. The trigger source stays BUS: it starts at once. */
  Write(":FREQ:STAR 1GHZ\n:FREQ:STOP 2GHZ\n:SWE:POIN 11\n:SWE:DWEL 20MS\n:POW -10\n:FREQ:MODE SWE\n:OUTP ON\n");
  Write(":INIT\n");
  over = WaitForEnd();
  Write(":OUTP OFF\n");
  if (Ask(":SYST:ERR?\n", error, sizeof error) > 0) printf("%s, %s\n", over == 1 ? "over" : "not over", error);
  return skClose(session) != VI_SUCCESS || over != 1;
}
