// The shapes of the handlers: the catch of exceptions, the two forms, the ends of a status, the replies and the range
// check are written here once, so that a handler shows only what is particular to its header.
#pragma once

#include <exception>
#include <string_view>
#include <vector>

#include "scpi_zlt/lookups.h"
#include "scpi_zlt/scpi_errors.h"

#include "scpi_core/types.h"
#include "src/Device.h"
#include "support/Integers.h"

namespace scpi_lib {

using Parameters = std::vector<sParamInfo>;

/// Bits of the questionable register (SCPI-99 volume 1, 9.4).
enum EQuestionableBit : short { kQuestionablePower = 3, kQuestionableFrequency = 5 };

/// What a handler is called with.
struct Call {
  const Parameters& parameters;
  bool query;
  void* device;
  sComErrorInfo* error;

  CDevice& Generator() const { return *static_cast<CDevice*>(device); }
  /// Value of the first parameter; of a word its row, so MIN, MAX and DEF count as 0, 1 and 2.
  double Value() const { return parameters.front().value; }
  /// Row of the word that the first parameter is.
  int Row() const { return TruncToInt32(Value()); }
  /// MIN, MAX or DEF if the first parameter is such a word, otherwise the plain value.
  ETDDefaultType Default() const;
  /// The values of all parameters, in order.
  std::vector<double> Values() const;
  /// What a status means for the error queue: one that the error table holds is recorded and returned, any other is 0.
  int Finish(int status) const { return CheckErr(status, device, error) ? status : 0; }
};

/// Runs a handler's body on the generator; an exception becomes -310.
template <class Body>
int Guarded(const Call& call, Body body) {
  try {
    return body(call.Generator());
  } catch (std::exception& e) {
    return CatchErr(e, call.device, call.error);
  }
}

/// A command with both forms.
template <class Answer, class Set>
int AnswerOrSet(const Call& call, Answer answer, Set set) {
  return Guarded(call, [&](CDevice& generator) -> int { return call.query ? answer(generator) : set(generator); });
}

/// A command that the tree knows in both forms, and whose set form counts as undefined.
template <class Answer>
int AnswerOnly(const Call& call, Answer answer) {
  return AnswerOrSet(call, answer, [](CDevice&) { return scpi_error::kUndefinedHeader; });
}

/// The same for the query form.
template <class Set>
int SetOnly(const Call& call, Set set) {
  return AnswerOrSet(
      call, [](CDevice&) { return scpi_error::kUndefinedHeader; }, set);
}

/// Sends a text as it stands and returns 0.
int SendText(CDevice& device, std::string_view text);

/// Sends a number with twelve significant digits and returns 0.
int SendNumber(CDevice& device, double value);

/// Sends the word in row `value` of a parameter's table, its short form in capitals, and returns 0; -310 for what is no
/// row.
int SendWord(CDevice& device, const sFParam& parameter, int value);

/// The value of a getter, whose status is dropped: where it is not 0, the value stays what it was.
template <class Value>
Value Get(const CDevice& generator, int (CDevice::*getter)(Value&) const) {
  Value value{};
  (generator.*getter)(value);
  return value;
}

/// A command that stores a number, whatever it is.
int NumberSetting(const Call& call, int (CDevice::*getter)(double&) const, int (CDevice::*setter)(double));

/// A command that stores one of the words of `parameter`.
template <class Value>
int WordSetting(const Call& call, const sFParam& parameter, int (CDevice::*getter)(Value&) const,
                int (CDevice::*setter)(Value)) {
  return AnswerOrSet(
      call, [&](CDevice& generator) { return SendWord(generator, parameter, Get(generator, getter)); },
      [&](CDevice& generator) { return call.Finish((generator.*setter)(static_cast<Value>(call.Row()))); });
}

/// Frequency and power: what a command of theirs reads, stores and is held against.
struct Quantity {
  int (CDevice::*getter)(double&, ETDValueType, ETDDefaultType) const;
  int (CDevice::*setter)(double, ETDValueType, ETDDefaultType);
  double sLimits::*low;
  double sLimits::*high;
  double (*answered)(const CDevice&, double);  ///< the value in the unit of answers
};

/// A command that stores one value of a quantity. A number outside of the limits, or not a number, is refused with
/// -222; a span may be up to their distance. Words are not checked.
int QuantitySetting(const Call& call, const Quantity& quantity, ETDValueType type, EQuestionableBit bit);

/// The check in front of a numeric set form. Not-a-number is out of range. A refusal names a bit of the questionable
/// register, without force: the guard keeps the register as it is.
int CheckRange(CDevice& device, double value, double low, double high, EQuestionableBit bit);

}  // namespace scpi_lib
