// Conversion between the types of the model and the doubles of a packet. A value that comes back is cut toward zero if
// the model holds a whole number. A flag is true for anything but zero.
//
//   Exchange exchange(P_RF_OUT, {4, 2}, ToFields(state, power));
//   ...
//   TakeReply(exchange, state, power);
#pragma once

#include <array>
#include <cstdint>

#include "src/Device/Exchange.h"
#include "support/Integers.h"

/// The fields of a packet for these values, in this order.
template <class... Values>
std::array<double, sizeof...(Values)> ToFields(const Values&... values) {
  return {static_cast<double>(values)...};
}

inline void TakeField(double field, double& value) {
  value = field;
}
inline void TakeField(double field, bool& value) {
  value = field != 0.0;
}
inline void TakeField(double field, int& value) {
  value = TruncToInt32(field);
}
inline void TakeField(double field, std::uint32_t& value) {
  value = TruncToUint32(field);
}
inline void TakeField(double field, long& value) {
  value = TruncToInt64(field);
}

/// Reads the first fields of the reply into these values. A reply that is too short changes none of them.
template <class... Values>
void TakeReply(Exchange& exchange, Values&... values) {
  if (!exchange.DemandValues(sizeof...(Values))) return;
  unsigned int index = 0;
  (TakeField(exchange.Value(index++), values), ...);
}

/// The plain sender: these values out, the same values back.
template <class... Values>
Sent SendAndTake(Link& link, EParameter parameter, ValueFormat format, Values&... values) {
  Exchange exchange(parameter, format, ToFields(values...));
  exchange.Run(link);
  TakeReply(exchange, values...);
  return exchange.Result();
}
