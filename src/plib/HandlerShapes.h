// The shapes of the handlers. The catch of exceptions, the choice of form, the conversion of a status, the replies and
// the range check are written here once, so a handler holds only what is special to its header.
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

/// The arguments of a handler.
struct Call {
  const Parameters& parameters;
  bool query;
  void* device;
  sComErrorInfo* error;

  CDevice& Generator() const { return *static_cast<CDevice*>(device); }
  /// Value of the first parameter. For a word this is its row, so MIN, MAX and DEF count as 0, 1 and 2.
  double Value() const { return parameters.front().value; }
  /// Row of the word that is the first parameter.
  int Row() const { return TruncToInt32(Value()); }
  /// MIN, MAX or DEF if the first parameter is one of these words, otherwise the plain value.
  ETDDefaultType Default() const;
  /// The values of all parameters, in order.
  std::vector<double> Values() const;
  /// The number for the error queue: a status that the error table holds is recorded and returned, any other gives 0.
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

/// For a command that the tree has in both forms; the set form is refused as an undefined header.
template <class Answer>
int AnswerOnly(const Call& call, Answer answer) {
  return AnswerOrSet(call, answer, [](CDevice&) { return scpi_error::kUndefinedHeader; });
}

/// The same, with the query form refused.
template <class Set>
int SetOnly(const Call& call, Set set) {
  return AnswerOrSet(
      call, [](CDevice&) { return scpi_error::kUndefinedHeader; }, set);
}

/// Sends a text unchanged and returns 0.
int SendText(CDevice& device, std::string_view text);

/// Sends a number with twelve significant digits and returns 0.
int SendNumber(CDevice& device, double value);

/// Sends the word in row `value` of a parameter's table, its short form in capitals, and returns 0; -310 if there is no
/// such row.
int SendWord(CDevice& device, const sFParam& parameter, int value);

/// The value of a getter, whose status is dropped: where it is not 0, the value stays what it was.
template <class Value>
Value Get(const CDevice& generator, int (CDevice::*getter)(Value&) const) {
  Value value{};
  (generator.*getter)(value);
  return value;
}

/// A command that stores a number without a check.
int NumberSetting(const Call& call, int (CDevice::*getter)(double&) const, int (CDevice::*setter)(double));

/// A command that stores one of the words of `parameter`.
template <class Value>
int WordSetting(const Call& call, const sFParam& parameter, int (CDevice::*getter)(Value&) const,
                int (CDevice::*setter)(Value)) {
  return AnswerOrSet(
      call, [&](CDevice& generator) { return SendWord(generator, parameter, Get(generator, getter)); },
      [&](CDevice& generator) { return call.Finish((generator.*setter)(static_cast<Value>(call.Row()))); });
}

/// The functions and limits that frequency and power commands work with.
struct Quantity {
  int (CDevice::*getter)(double&, ETDValueType, ETDDefaultType) const;
  int (CDevice::*setter)(double, ETDValueType, ETDDefaultType);
  double sLimits::*low;
  double sLimits::*high;
  double (*answered)(const CDevice&, double);  ///< the value in the unit of answers
};

/// A command that stores one value of a quantity. A number outside the limits, or not a number, is refused with -222; a
/// span may be up to the distance between the limits. Words are not checked.
int QuantitySetting(const Call& call, const Quantity& quantity, ETDValueType type, EQuestionableBit bit);

/// The range check of a numeric set form. Not-a-number is out of range. A refusal sets a bit of the questionable
/// register, but without force, so the register's guard keeps it as it is.
int CheckRange(CDevice& device, double value, double low, double high, EQuestionableBit bit);

}  // namespace scpi_lib
