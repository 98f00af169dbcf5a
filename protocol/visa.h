// The functions of the VISA library that the link needs, as the provider libSkVisa.so.2 exports them. Statuses have
// their VPP-4.3 names.
//
// Providers return a status of 32 or 64 bits, and store counts, sessions and attributes of either width. src/Provider.h
// brings both to one width, so nothing else calls these.
#pragma once

#include "scpi_zlt/scpi_zlt.h"

// Statuses that only providers return; the others are public.
#define VI_ERROR_ABORT (-2147483647L - 1L + 0x3FFF0030L)     /* the exchange was given up */
#define VI_ERROR_CONN_LOST (-2147483647L - 1L + 0x3FFF00A6L) /* the link is lost */

extern "C" {

long viOpenDefaultRM(void* session_out);
long viOpen(unsigned long manager, const char* name, unsigned long access_mode, unsigned long timeout_ms,
            void* session_out);
long viClose(unsigned long session);
long viClear(unsigned long session);
long viRead(unsigned long session, unsigned char* buffer, unsigned long count, void* count_out);
long viWrite(unsigned long session, const unsigned char* buffer, unsigned long count, void* count_out);
long viGetAttribute(unsigned long session, unsigned long attribute, void* value_out);
long viSetAttribute(unsigned long session, unsigned long attribute, unsigned long value);

}  // extern "C"
