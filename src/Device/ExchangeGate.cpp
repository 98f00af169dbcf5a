// See ExchangeGate.h. The free event is auto-reset: a set goes to the waiter that queued first and does not stay up
// while one waits. So a caller that asks without waiting cannot overtake.
#include "src/Device/ExchangeGate.h"

ExchangeGate::ExchangeGate() : m_free(neosmart::CreateEvent(false, true)) {}

ExchangeGate::~ExchangeGate() {
  neosmart::DestroyEvent(m_free);
}

ExchangeGate::Result ExchangeGate::Enter(neosmart::neosmart_event_t stop, std::uint64_t timeout_ms) {
  if (neosmart::WaitForEvent(m_free, 0) == 0) return Result::kEntered;
  // The wait on several events, even for one: only this one queues.
  neosmart::neosmart_event_t events[] = {m_free, stop};
  int fired = -1;
  const int result = neosmart::WaitForMultipleEvents(events, stop == nullptr ? 1 : 2, false, timeout_ms, fired);
  if (result != 0) return Result::kTimedOut;
  return fired == 0 ? Result::kEntered : Result::kStopped;
}

ExchangeGate::Result ExchangeGate::EnterAheadOfPoll(neosmart::neosmart_event_t stop) {
  if (const Result result = Enter(stop, kPatienceMs); result != Result::kTimedOut) return result;
  AskToGiveUp();
  return Enter(stop, kForEver);
}

void ExchangeGate::Leave() {
  neosmart::SetEvent(m_free);
}
