// What the handlers have in common, written once: the catch of exceptions, the end of a set form, the replies, and how
// a keyword parameter (MIN, MAX, DEF) is told from a number.
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

inline CDevice& Device(void* device) {
  return *static_cast<CDevice*>(device);
}

/// Runs a handler's body; an exception becomes -310.
template <class Body>
int Guarded(void* device, sComErrorInfo* error, Body body) {
  try {
    return body(Device(device));
  } catch (std::exception& e) {
    return CatchErr(e, device, error);
  }
}

/// The end of a set form: a status that the error table holds is returned and recorded; any other counts as success.
int Finish(int status, void* device, sComErrorInfo* error);

/// Sends a text as it stands and returns 0.
int SendText(CDevice& device, std::string_view text);

/// Sends a number with twelve significant digits and returns 0.
int SendNumber(CDevice& device, double value);

/// Sends the word in row `value` of a parameter's table, its short form in capitals, and returns 0; -310 for what is no
/// row.
int SendWord(CDevice& device, const sFParam& parameter, int value);

inline bool IsKeyword(const sParamInfo& parameter) {
  return parameter.type == kParamCharacter;
}

/// The number of a mnemonic.
inline int Index(const sParamInfo& parameter) {
  return TruncToInt32(parameter.value);
}

/// MIN, MAX or DEF if the first parameter is such a keyword, otherwise the plain value.
ETDDefaultType DefaultType(const Parameters& parameters);

/// The check in front of a numeric set form. Not-a-number is out of range. A refusal names a bit of the questionable
/// register, without force: the guard keeps the register as it is.
int CheckRange(CDevice& device, double value, double low, double high, short questionable_bit);

/// The values of all parameters, in order.
std::vector<double> Values(const Parameters& parameters);

/// A handler whose query answers one number of a getter (its status is dropped) and whose set form passes the first
/// parameter's value on, whatever its type: the keywords count as 0, 1 and 2.
using NumberGetter = int (CDevice::*)(double&) const;
using NumberSetter = int (CDevice::*)(double);
int PlainNumber(const Parameters& parameters, bool query, void* device, sComErrorInfo* error, NumberGetter getter,
                NumberSetter setter);

}  // namespace scpi_lib
