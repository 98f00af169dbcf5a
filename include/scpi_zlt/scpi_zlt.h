/*
 * scpi_zlt: a microwave signal generator as a SCPI instrument inside your process.
 *
 * The generator speaks a binary protocol over VISA. This library opens the VISA resource, holds a whole SCPI instrument
 * in front of it, and gives you the session functions that you know from VISA, with the prefix sk: you write SCPI text,
 * you read SCPI answers. A resource name is that of the instrument followed by ::ZLT.
 *
 *   #include <scpi_zlt/scpi_zlt.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     unsigned long session, count;
 *     unsigned char answer[256];
 *     // An open time-out of 0 would fail: give the instrument time to answer.
 *     if (skOpen(0, "SIM0::INSTR::ZLT", 0, 10000, &session) != VI_SUCCESS) return 1;
 *     skWrite(session, (unsigned char*)":FREQ 1.5 GHZ;:FREQ?\n", 21, &count);
 *     if (skRead(session, answer, sizeof answer, &count) == VI_SUCCESS_TERM_CHAR) printf("%.*s", (int)count, answer);
 *     return skClose(session) != VI_SUCCESS;  // takes a second: what was written still takes effect
 *   }
 *
 * The surprises first:
 *
 *   - Opening switches the output off, sets the lowest level and the whole range as a sweep. Queries then answer
 *     the library's start values. Write frequency and level before ":OUTP ON".
 *   - An open time-out of 0 fails. 10000 is a good value.
 *   - After a lost link the session sends nothing any more, for good: settings are taken, queries answer, and
 *     ":OUTP OFF" reaches nothing. "*STB?" answers an empty line then. Close the session and open it again.
 *   - For most settings a refusal by the instrument gives no error. Errors of a command never show in a status;
 *     ask ":SYST:ERR?".
 *   - VI_ATTR_TERMCHAR is set through a pointer to a 32-bit word, VI_ATTR_TMO_VALUE by value.
 *   - Closing takes a second, 1.5 s more after a sweep, and the time of the messages that are left: all that was
 *     acknowledged still takes effect. It does not switch the output off. A failed open takes a second too.
 *   - skWrite returns before the command has run. skRead is where you wait, and only after a query.
 *   - A normal read ends with VI_SUCCESS_TERM_CHAR, never with VI_SUCCESS.
 *   - skReadSTB, skClear, skAssertTrigger and skStatusDesc do not work, like all functions below the word
 *     "Stubs". Write "*STB?" instead: it answers eight digits, bit 0 first.
 *
 * docs/surprises.md shows each of these, the bits of "*STB?" and "*ESR?", and the error numbers.
 *
 * Conventions
 *
 *   1. A status is a VISA status, sign-extended to 64 bits: errors are negative.
 *   2. A session is a random number, never 0. Functions given a number that no session has return
 *      VI_ERROR_INV_OBJECT.
 *   3. Any thread may call anything at any time. Within one session writes and reads are kept apart by locks;
 *      if several threads read one session, chance decides who gets an answer, but each answer comes whole. Closing
 *      waits for the calls under way; a blocked skRead returns VI_ERROR_INV_OBJECT.
 *   4. The caller owns nothing but its own buffers. A session lives from skOpen to skClose. Sessions still open
 *      at exit, or when the library is unloaded, are closed then, side by side. After fork() the child has none
 *      and can open none: load the library after the last fork.
 *   5. Times are milliseconds. Null pointers for counts store nothing; a null buffer counts as one of size 0.
 *   6. A message, and a response, has at most 160144 bytes with its line end.
 *   7. No exception leaves the library, save one: skOpen throws std::logic_error for a null name.
 *
 * Names and values of statuses and attributes are those of the VISA standard (VPP-4.3); a visa.h may be included
 * before this header. The language is IEEE 488.2 and SCPI-1999; docs/commands.md lists the commands.
 */
#ifndef SCPI_ZLT_SCPI_ZLT_H
#define SCPI_ZLT_SCPI_ZLT_H

#include <stdarg.h>

#include "scpi_zlt/export.h"

#ifndef VI_SUCCESS
#define VI_SUCCESS 0L /* done */
#endif
#ifndef VI_SUCCESS_TERM_CHAR
#define VI_SUCCESS_TERM_CHAR 0x3FFF0005L /* a read ended on the termination character */
#endif
#ifndef VI_SUCCESS_MAX_CNT
#define VI_SUCCESS_MAX_CNT 0x3FFF0006L /* a read filled the buffer; more of the response is left */
#endif
#ifndef VI_ERROR_SYSTEM_ERROR
/* no memory, no thread; no default resource manager */
#define VI_ERROR_SYSTEM_ERROR (-2147483647L - 1L + 0x3FFF0000L)
#endif
#ifndef VI_ERROR_INV_OBJECT
#define VI_ERROR_INV_OBJECT (-2147483647L - 1L + 0x3FFF000EL) /* no such session; a resource name without ::ZLT */
#endif
#ifndef VI_ERROR_RSRC_NFOUND
#define VI_ERROR_RSRC_NFOUND (-2147483647L - 1L + 0x3FFF0011L) /* no instrument there, or it does not answer as one */
#endif
#ifndef VI_ERROR_INV_RSRC_NAME
#define VI_ERROR_INV_RSRC_NAME (-2147483647L - 1L + 0x3FFF0012L) /* a resource name of 256 characters or more */
#endif
#ifndef VI_ERROR_TMO
#define VI_ERROR_TMO (-2147483647L - 1L + 0x3FFF0015L) /* timed out, or nothing to read */
#endif
#ifndef VI_ERROR_NSUP_ATTR
#define VI_ERROR_NSUP_ATTR (-2147483647L - 1L + 0x3FFF001DL) /* attribute not known */
#endif
#ifndef VI_ERROR_NSUP_ATTR_STATE
/* null result pointer; a state that can be no pointer */
#define VI_ERROR_NSUP_ATTR_STATE (-2147483647L - 1L + 0x3FFF001EL)
#endif
#ifndef VI_ERROR_RAW_RD_PROT_VIOL
#define VI_ERROR_RAW_RD_PROT_VIOL (-2147483647L - 1L + 0x3FFF0035L) /* what answers does not speak the protocol */
#endif
#ifndef VI_ERROR_IO
#define VI_ERROR_IO (-2147483647L - 1L + 0x3FFF003EL) /* a response ended without the termination character */
#endif
#ifndef VI_ERROR_NIMPL_OPER
#define VI_ERROR_NIMPL_OPER (-2147483647L - 1L + 0x3FFF0081L) /* the function is a stub */
#endif

#ifndef VI_ATTR_TERMCHAR
#define VI_ATTR_TERMCHAR 0x3FFF0018UL
#endif
#ifndef VI_ATTR_TMO_VALUE
#define VI_ATTR_TMO_VALUE 0x3FFF001AUL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Opens a session: asks the instrument for its identity, its limits, and the forms that its firmware takes. To find
 * them out it programs the instrument: output off, lowest level, the whole frequency range as a sweep.
 *
 * manager       ignored; 0 will do
 * name          VISA resource name followed by ::ZLT; text after that is dropped. At most 255 characters.
 * access_mode   ignored
 * open_timeout  milliseconds, low 32 bits, unsigned (0xFFFFFFFF is 49 days); 0 nearly always gives VI_ERROR_TMO.
 *               A call that times out may take twice that time and a second more: it first closes what it opened.
 * session       receives the handle; left alone on failure
 *
 * VI_SUCCESS: the session is open. Any other status, a positive one too, means that there is none: what the VISA
 * provider's open returned comes back unchanged, even a completion code.
 * VI_ERROR_INV_OBJECT (no ::ZLT in the name, session is null, the process is ending, a forked child),
 * VI_ERROR_INV_RSRC_NAME, VI_ERROR_TMO, VI_ERROR_RSRC_NFOUND (no instrument, no answer, or start-up failed),
 * VI_ERROR_RAW_RD_PROT_VIOL, VI_ERROR_SYSTEM_ERROR. A failure leaves nothing open and takes a second at least.
 */
ZLT_API long skOpen(unsigned long manager, const char* name, unsigned long access_mode, unsigned long open_timeout,
                    unsigned long* session);

/*
 * Closes a session. Complete messages that were written before still run, for at most ten seconds; then the sweep is
 * stopped and the instrument's session closed. Takes a second, 1.5 s more after a sweep. The output stays as it is.
 *
 * VI_SUCCESS, or VI_ERROR_INV_OBJECT for an unknown or closed handle. If two threads close one session, one of them
 * wins.
 */
ZLT_API long skClose(unsigned long session);

/*
 * Writes text. A message ends at the first LF outside of a definite-length block (#<digit><length><data>); it may come
 * in any number of pieces, and a piece may hold several messages. The call returns as soon as the text is stored.
 *
 * text, count   the bytes; any value is allowed
 * written       receives how many were stored; fewer than count when the input buffer is full, which is no error
 *
 * VI_SUCCESS, VI_ERROR_TMO (the buffer stayed locked for the session's time-out), VI_ERROR_INV_OBJECT.
 */
ZLT_API long skWrite(unsigned long session, unsigned char* text, unsigned long count, unsigned long* written);

/*
 * Reads a response: waits for at most VI_ATTR_TMO_VALUE until a message has run and left one. A compound message
 * answers as a whole. Line end included; not terminated.
 *
 * buffer, size  where to
 * count         receives how many bytes came
 *
 * VI_SUCCESS_TERM_CHAR: the response is complete. VI_SUCCESS_MAX_CNT: size bytes came, read on for the rest.
 * VI_ERROR_IO: the response ended without the termination character; it has been delivered.
 * VI_ERROR_TMO: nothing came in time; count is untouched, and a later read may still get the response. Comes at once
 * if the last response has been read and nothing was written since; after a setting, and in a new session, only after
 * the whole time. Also if a response is there and size is 0: count is 0 then, and the response stays.
 * VI_ERROR_INV_OBJECT: no such session, or it was closed meanwhile.
 */
ZLT_API long skRead(unsigned long session, unsigned char* buffer, unsigned long size, unsigned long* count);

/*
 * Stores an attribute as a 32-bit integer at result.
 *
 * VI_ATTR_TERMCHAR   the character that ends a response, sign-extended; 10 (LF) after opening
 * VI_ATTR_TMO_VALUE  the time-out of skRead and skWrite in milliseconds; 1000 after opening; 0xFFFFFFFF waits
 *                    for ever in skRead
 *
 * VI_SUCCESS, VI_ERROR_NSUP_ATTR_STATE (result is null), VI_ERROR_NSUP_ATTR, VI_ERROR_INV_OBJECT.
 */
ZLT_API long skGetAttribute(unsigned long session, unsigned long attribute, void* result);

/*
 * Sets an attribute.
 *
 * VI_ATTR_TERMCHAR   state is the ADDRESS of a 32-bit word whose low byte becomes the character. With anything
 *                    but LF no response is ever complete, because a response ends for skRead at LF.
 * VI_ATTR_TMO_VALUE  state is the value, low 32 bits. It holds from the next wait on.
 *
 * VI_SUCCESS, VI_ERROR_NSUP_ATTR_STATE (a state below 4096 can be no address), VI_ERROR_NSUP_ATTR, VI_ERROR_INV_OBJECT.
 */
ZLT_API long skSetAttribute(unsigned long session, unsigned long attribute, unsigned long state);

/* Always VI_ERROR_SYSTEM_ERROR, and nothing is stored: there is no default resource manager, and skOpen needs none. */
ZLT_API long skOpenDefaultRM(unsigned long* manager);

/*
 * Stubs. Each looks at none of its arguments and returns VI_ERROR_NIMPL_OPER at once; the skPeek and skPoke functions
 * do nothing.
 */
ZLT_API long skFindRsrc(unsigned long session, const char* expression, unsigned long* list, unsigned long* count,
                        char* description);
ZLT_API long skFindNext(unsigned long list, char* description);
ZLT_API long skParseRsrc(unsigned long session, const char* name, unsigned short* type, unsigned short* number);
ZLT_API long skParseRsrcEx(unsigned long session, const char* name, unsigned short* type, unsigned short* number,
                           char* resource_class, char* expanded, char* alias);
ZLT_API long skStatusDesc(unsigned long object, long status, char* description);
ZLT_API long skTerminate(unsigned long object, unsigned short degree, unsigned long job);
ZLT_API long skLock(unsigned long session, unsigned long type, unsigned long timeout, const char* requested_key,
                    char* access_key);
ZLT_API long skUnlock(unsigned long session);
ZLT_API long skEnableEvent(unsigned long session, unsigned long type, unsigned short mechanism, unsigned long filter);
ZLT_API long skDisableEvent(unsigned long session, unsigned long type, unsigned short mechanism);
ZLT_API long skDiscardEvents(unsigned long session, unsigned long type, unsigned short mechanism);
ZLT_API long skWaitOnEvent(unsigned long session, unsigned long in_type, unsigned long timeout, unsigned long* out_type,
                           unsigned long* context);
ZLT_API long skInstallHandler(unsigned long session, unsigned long type, void* handler, void* user);
ZLT_API long skUninstallHandler(unsigned long session, unsigned long type, void* handler, void* user);
ZLT_API long skReadAsync(unsigned long session, unsigned char* buffer, unsigned long count, unsigned long* job);
ZLT_API long skReadToFile(unsigned long session, const char* file, unsigned long count, unsigned long* done);
ZLT_API long skWriteAsync(unsigned long session, unsigned char* buffer, unsigned long count, unsigned long* job);
ZLT_API long skWriteFromFile(unsigned long session, const char* file, unsigned long count, unsigned long* done);
ZLT_API long skAssertTrigger(unsigned long session, unsigned short protocol);
ZLT_API long skReadSTB(unsigned long session, unsigned short* status);
ZLT_API long skClear(unsigned long session);
ZLT_API long skSetBuf(unsigned long session, unsigned short mask, unsigned long size);
ZLT_API long skFlush(unsigned long session, unsigned short mask);
ZLT_API long skBufWrite(unsigned long session, unsigned char* buffer, unsigned long count, unsigned long* done);
ZLT_API long skBufRead(unsigned long session, unsigned char* buffer, unsigned long count, unsigned long* done);
ZLT_API long skPrintf(unsigned long session, const char* format, ...);
ZLT_API long skVPrintf(unsigned long session, const char* format, va_list arguments);
ZLT_API long skSPrintf(unsigned long session, unsigned char* buffer, const char* format, ...);
ZLT_API long skVSPrintf(unsigned long session, unsigned char* buffer, const char* format, va_list arguments);
ZLT_API long skScanf(unsigned long session, const char* format, ...);
ZLT_API long skVScanf(unsigned long session, const char* format, va_list arguments);
ZLT_API long skSScanf(unsigned long session, unsigned char* buffer, const char* format, ...);
ZLT_API long skVSScanf(unsigned long session, unsigned char* buffer, const char* format, va_list arguments);
ZLT_API long skQueryf(unsigned long session, const char* write_format, const char* read_format, ...);
ZLT_API long skVQueryf(unsigned long session, const char* write_format, const char* read_format, va_list arguments);
ZLT_API long skIn8(unsigned long session, unsigned short space, unsigned long offset, unsigned char* value);
ZLT_API long skOut8(unsigned long session, unsigned short space, unsigned long offset, unsigned char value);
ZLT_API long skIn16(unsigned long session, unsigned short space, unsigned long offset, unsigned short* value);
ZLT_API long skOut16(unsigned long session, unsigned short space, unsigned long offset, unsigned short value);
ZLT_API long skIn32(unsigned long session, unsigned short space, unsigned long offset, unsigned int* value);
ZLT_API long skOut32(unsigned long session, unsigned short space, unsigned long offset, unsigned int value);
ZLT_API long skIn64(unsigned long session, unsigned short space, unsigned long offset, unsigned long* value);
ZLT_API long skOut64(unsigned long session, unsigned short space, unsigned long offset, unsigned long value);
ZLT_API long skIn8Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned char* value);
ZLT_API long skOut8Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned char value);
ZLT_API long skIn16Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned short* value);
ZLT_API long skOut16Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned short value);
ZLT_API long skIn32Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned int* value);
ZLT_API long skOut32Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned int value);
ZLT_API long skIn64Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long* value);
ZLT_API long skOut64Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long value);
ZLT_API long skMoveIn8(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                       unsigned char* buffer);
ZLT_API long skMoveOut8(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                        unsigned char* buffer);
ZLT_API long skMoveIn16(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                        unsigned short* buffer);
ZLT_API long skMoveOut16(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                         unsigned short* buffer);
ZLT_API long skMoveIn32(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                        unsigned int* buffer);
ZLT_API long skMoveOut32(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                         unsigned int* buffer);
ZLT_API long skMoveIn64(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                        unsigned long* buffer);
ZLT_API long skMoveOut64(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                         unsigned long* buffer);
ZLT_API long skMoveIn8Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                         unsigned char* buffer);
ZLT_API long skMoveOut8Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                          unsigned char* buffer);
ZLT_API long skMoveIn16Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                          unsigned short* buffer);
ZLT_API long skMoveOut16Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                           unsigned short* buffer);
ZLT_API long skMoveIn32Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                          unsigned int* buffer);
ZLT_API long skMoveOut32Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                           unsigned int* buffer);
ZLT_API long skMoveIn64Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                          unsigned long* buffer);
ZLT_API long skMoveOut64Ex(unsigned long session, unsigned short space, unsigned long offset, unsigned long length,
                           unsigned long* buffer);
ZLT_API long skMove(unsigned long session, unsigned short source_space, unsigned long source_offset,
                    unsigned short source_width, unsigned short target_space, unsigned long target_offset,
                    unsigned short target_width, unsigned long length);
ZLT_API long skMoveAsync(unsigned long session, unsigned short source_space, unsigned long source_offset,
                         unsigned short source_width, unsigned short target_space, unsigned long target_offset,
                         unsigned short target_width, unsigned long length, unsigned long* job);
ZLT_API long skMoveEx(unsigned long session, unsigned short source_space, unsigned long source_offset,
                      unsigned short source_width, unsigned short target_space, unsigned long target_offset,
                      unsigned short target_width, unsigned long length);
ZLT_API long skMoveAsyncEx(unsigned long session, unsigned short source_space, unsigned long source_offset,
                           unsigned short source_width, unsigned short target_space, unsigned long target_offset,
                           unsigned short target_width, unsigned long length, unsigned long* job);
ZLT_API long skMapAddress(unsigned long session, unsigned short space, unsigned long base, unsigned long size,
                          unsigned short access, void* suggested, void** address);
ZLT_API long skUnmapAddress(unsigned long session);
ZLT_API long skMapAddressEx(unsigned long session, unsigned short space, unsigned long base, unsigned long size,
                            unsigned short access, void* suggested, void** address);
ZLT_API long skMemAlloc(unsigned long session, unsigned long size, unsigned long* offset);
ZLT_API long skMemFree(unsigned long session, unsigned long offset);
ZLT_API long skMemAllocEx(unsigned long session, unsigned long size, unsigned long* offset);
ZLT_API long skMemFreeEx(unsigned long session, unsigned long offset);
ZLT_API long skGpibControlREN(unsigned long session, unsigned short mode);
ZLT_API long skGpibControlATN(unsigned long session, unsigned short mode);
ZLT_API long skGpibSendIFC(unsigned long session);
ZLT_API long skGpibCommand(unsigned long session, unsigned char* buffer, unsigned long count, unsigned long* done);
ZLT_API long skGpibPassControl(unsigned long session, unsigned short primary, unsigned short secondary);
ZLT_API long skVxiCommandQuery(unsigned long session, unsigned short mode, unsigned long command,
                               unsigned long* response);
ZLT_API long skAssertUtilSignal(unsigned long session, unsigned short line);
ZLT_API long skAssertIntrSignal(unsigned long session, short mode, unsigned long status);
ZLT_API long skMapTrigger(unsigned long session, short source, short destination, unsigned short mode);
ZLT_API long skUnmapTrigger(unsigned long session, short source, short destination);
ZLT_API long skUsbControlOut(unsigned long session, short type, short request, unsigned short value,
                             unsigned short index, unsigned short length, unsigned char* buffer);
ZLT_API long skUsbControlIn(unsigned long session, short type, short request, unsigned short value,
                            unsigned short index, unsigned short length, unsigned char* buffer, unsigned short* done);
ZLT_API void skPeek8(unsigned long session, void* address, unsigned char* value);
ZLT_API void skPoke8(unsigned long session, void* address, unsigned char value);
ZLT_API void skPeek16(unsigned long session, void* address, unsigned short* value);
ZLT_API void skPoke16(unsigned long session, void* address, unsigned short value);
ZLT_API void skPeek32(unsigned long session, void* address, unsigned int* value);
ZLT_API void skPoke32(unsigned long session, void* address, unsigned int value);
ZLT_API void skPeek64(unsigned long session, void* address, unsigned long* value);
ZLT_API void skPoke64(unsigned long session, void* address, unsigned long value);

#ifdef __cplusplus
} /* extern "C" */

/* As skOpenDefaultRM. The only function of this family with C++ linkage. */
ZLT_API long skGetDefaultRM(unsigned long* manager);
#endif

#endif /* SCPI_ZLT_SCPI_ZLT_H */
