#include "client/exchange.h"

#include <cstdio>
#include <new>
#include <string>
#include <utility>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageExchange.h"
#include "client/Session.h"

static_assert(static_cast<int>(scpi_zlt::Outcome::kComplete) == ZLT_COMPLETE);
static_assert(static_cast<int>(scpi_zlt::Outcome::kTimeout) == ZLT_TIMEOUT);
static_assert(static_cast<int>(scpi_zlt::Outcome::kBusy) == ZLT_BUSY);
static_assert(static_cast<int>(scpi_zlt::Outcome::kUnfinished) == ZLT_UNFINISHED);
static_assert(static_cast<int>(scpi_zlt::Outcome::kTooLong) == ZLT_TOO_LONG);
static_assert(static_cast<int>(scpi_zlt::Outcome::kFailed) == ZLT_FAILED);

struct zltExchange {
  explicit zltExchange(unsigned long session) : exchange(session) {}

  scpi_zlt::MessageExchange exchange;
  std::string message;
  std::string response;
  long status = VI_SUCCESS;
};

zltExchange* zltExchangeCreate(unsigned long session) {
  return new (std::nothrow) zltExchange(session);
}

void zltExchangeDelete(zltExchange* exchange) {
  delete exchange;
}

int zltExchangeBegin(zltExchange* exchange, const char* message, unsigned long length) try {
  std::string text(message, length);
  const scpi_zlt::Answer sent = exchange->exchange.Begin(text);
  exchange->status = sent.status;
  // The message under way is kept: Tidy needs it for the answer.
  if (sent.outcome == scpi_zlt::Outcome::kComplete) exchange->message.swap(text);
  return static_cast<int>(sent.outcome);
} catch (const std::bad_alloc&) {
  return ZLT_NO_MEMORY;
}

int zltExchangeAwait(zltExchange* exchange, long timeout) try {
  exchange->response.clear();
  scpi_zlt::Answer answer = exchange->exchange.Await(std::chrono::milliseconds(timeout));
  exchange->status = answer.status;
  exchange->response = scpi_zlt::Tidy(exchange->message, std::move(answer.response));
  return static_cast<int>(answer.outcome);
} catch (const std::bad_alloc&) {
  return ZLT_NO_MEMORY;
}

const char* zltExchangeResponse(const zltExchange* exchange, unsigned long* length) {
  if (length != nullptr) *length = exchange->response.size();
  return exchange->response.data();
}

long zltExchangeStatus(const zltExchange* exchange) {
  return exchange->status;
}

int zltExchangeBusy(const zltExchange* exchange) {
  return exchange->exchange.InStep() ? 0 : 1;
}

void zltStatusText(long status, char* text, unsigned long size) try {
  std::snprintf(text, size, "%s", scpi_zlt::StatusText(status).c_str());
} catch (const std::bad_alloc&) {
  std::snprintf(text, size, "no memory");
}
