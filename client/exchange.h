/* One program message and its whole answer, for languages that load a C library (libscpi_zlt_client.so.2): the class of
 * client/MessageExchange.h without its C++. Python's package scpi_zlt uses it.
 *
 *   zltExchange* exchange = zltExchangeCreate(session);           a handle from skOpen, idle
 *   if (zltExchangeBegin(exchange, ":FREQ?", 6) == ZLT_COMPLETE && zltExchangeAwait(exchange, 10000) == ZLT_COMPLETE)
 *     use(zltExchangeResponse(exchange, &length), length);
 *   zltExchangeDelete(exchange);                                  the session stays the caller's
 *
 * Each call is whole: a caller that is interrupted between two calls loses an answer but stays in step. One thread at a
 * time per exchange; while it exists nothing else writes to its session, reads from it or sets its attributes. Closing
 * the session from another thread ends a wait with ZLT_FAILED. No exception leaves these functions. */
#ifndef CLIENT_EXCHANGE_H
#define CLIENT_EXCHANGE_H

#include "scpi_zlt/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct zltExchange zltExchange;

enum {
  ZLT_COMPLETE,   /* sent, or answered in full */
  ZLT_TIMEOUT,    /* still under way: await it again, or begin the next message once it is complete */
  ZLT_BUSY,       /* not sent: the message before it is still under way */
  ZLT_UNFINISHED, /* not sent: the message ends inside a definite-length block */
  ZLT_TOO_LONG,   /* not sent: more than 160144 bytes with its line end */
  ZLT_FAILED,     /* the session refused: zltExchangeStatus says why */
  ZLT_NO_MEMORY   /* for the text */
};

/* For one open session with nothing to read. Null without memory. */
ZLT_API zltExchange* zltExchangeCreate(unsigned long session);

/* Null is fine. */
ZLT_API void zltExchangeDelete(zltExchange* exchange);

/* Sends `message`, `length` bytes of it, with a line end if it has none, and does not wait. */
ZLT_API int zltExchangeBegin(zltExchange* exchange, const char* message, unsigned long length);

/* Waits for the answer of what was sent last, `timeout` milliseconds; 0 or less waits for one. ZLT_COMPLETE with an
 * empty response if nothing is under way. */
ZLT_API int zltExchangeAwait(zltExchange* exchange, long timeout);

/* The answer that came with the last wait, with its line end; empty if the message has none. A zero byte before the
 * line end, and a line end without a query, are left out. Valid until the next call. `length` may be null. */
ZLT_API const char* zltExchangeResponse(const zltExchange* exchange, unsigned long* length);

/* The VISA status of the last ZLT_FAILED. */
ZLT_API long zltExchangeStatus(const zltExchange* exchange);

/* 1 while a message is under way. */
ZLT_API int zltExchangeBusy(const zltExchange* exchange);

/* Stores a VISA status in words, with a remedy where there is one: at most size - 1 characters and a zero. */
ZLT_API void zltStatusText(long status, char* text, unsigned long size);

#ifdef __cplusplus
}
#endif

#endif
