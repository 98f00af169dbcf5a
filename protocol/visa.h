// The part of the VISA library that the link needs, as the provider libSkVisa.so.2 exports it. Only declarations.
//
// Providers return a status of 32 or 64 bits and store counts, sessions and attributes of either width; src/Provider.h
// brings both to one, so nothing else calls these.
#pragma once

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
