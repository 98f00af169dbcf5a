// Power commands. A number in a set form is dBm whatever the unit of ":UNIT:POW"; only answers are converted.
#include <string>

#include "scpi_zlt/helpers.h"

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

int Power(const Parameters& parameters, bool query, void* device, sComErrorInfo* error, ETDValueType type) {
  return Guarded(device, error, [&](CDevice& generator) {
    const ETDDefaultType def = DefaultType(parameters);
    double value = 0.0;
    if (query) {
      int status = generator.GetPower(value, type, def);
      if (CheckErr(status, device, error)) return status;
      return SendNumber(generator, generator.ConvertPower(value, -1, false));
    }
    if (def == kDefaultPlain) {
      value = parameters.front().value;
      const sLimits& limits = generator.Limits();
      const bool span = type == kValueSpan;
      const double low = span ? 0.0 : limits.low_power;
      const double high = span ? limits.high_power - limits.low_power : limits.high_power;
      if (const int refused = CheckRange(generator, value, low, high, 3)) return refused;
    }
    return Finish(generator.SetPower(value, type, def), device, error);
  });
}

}  // namespace

int SCPI_SOUR_POW_LEV(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Power(parameters, query, device, error, kValueCW);
}

int SCPI_SOUR_POW_STAR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Power(parameters, query, device, error, kValueStart);
}

int SCPI_SOUR_POW_STOP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Power(parameters, query, device, error, kValueStop);
}

int SCPI_SOUR_POW_CENT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Power(parameters, query, device, error, kValueCenter);
}

int SCPI_SOUR_POW_SPAN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Power(parameters, query, device, error, kValueSpan);
}

int SCPI_SOUR_POW_MODE(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendWord(generator, PowerModeParams, generator.GetPwrMode());
    const int index = Index(parameters.front());
    if (index == 0)
      return scpi_error::kParameterNotAllowed;  // callers rely on "cw" being refused here, unlike the frequency mode
    generator.SetPwrMode(static_cast<EMode>(index));
    return 0;
  });
}

int SCPI_SOUR_POW_ALC(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendText(generator, "on");
    // Only the word "OFF" has the number 0; the texts "0" and "1" change nothing.
    return !parameters.empty() && parameters.front().value == 0.0 ? scpi_error::kIllegalParameterValue : 0;
  });
}

int SCPI_SOUR_POW_ATT_AUTO(Parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error,
                 [&](CDevice& generator) { return query ? SendText(generator, "off") : scpi_error::kUndefinedHeader; });
}

int SCPI_SOUR_POW_ATT(Parameters, bool query, void* device, sComErrorInfo*) {
  // Callers rely on the entry 1,"" that the count of characters leaves in the error queue.
  return query ? Device(device).SendResponse("0", 1) : scpi_error::kUndefinedHeader;
}

int SCPI_SOUR_POW_ATT_MODE(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  constexpr int kFirstStrategy = 2;
  return Guarded(device, error, [&](CDevice& generator) {
    int strategy = 0;
    if (query) {
      generator.GetAttStrategy(strategy);
      const bool known = strategy >= kFirstStrategy && strategy <= kFirstStrategy + 3;
      return SendWord(generator, AttModeParams, known ? strategy - kFirstStrategy : 0);
    }
    strategy = Index(parameters.front()) + kFirstStrategy;
    generator.SetAttStrategy(strategy);
    return 0;
  });
}

int SCPI_SOUR_POW_CONT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    int control = 0;
    if (query) {
      generator.GetPowControl(control);
      return SendWord(generator, SourceParams, control);
    }
    control = Index(parameters.front());
    generator.SetPowControl(control);
    return 0;
  });
}

int SCPI_UNIT_POW(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      EUnitType unit = kUnitDbm;
      generator.GetUnit(unit);
      return SendText(generator, stdex::toupper(std::string(PowerUnits[unit].name)));
    }
    generator.SetUnit(static_cast<EUnitType>(Index(parameters.front())));
    return 0;
  });
}

}  // namespace scpi_lib
