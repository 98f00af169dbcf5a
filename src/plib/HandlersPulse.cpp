// Pulse modulation commands, and the stubs of amplitude modulation. A setting of the pulse generator is never changed
// under a running modulation: it is switched off around the change and on again after it. A failure in between leaves
// it off, and the model says so.
#include <cstddef>
#include <memory>
#include <string>

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

/// Switches modulation on again after a change that went well; `status` is the change's.
int FinishAround(bool was_on, int status, CDevice& generator, sComErrorInfo* error) {
  if (CheckErr(status, &generator, error)) return status;
  return was_on ? Finish(generator.SetModulationEnabled(true), &generator, error) : 0;
}

bool IsModulating(const CDevice& generator) {
  bool on = false;
  generator.GetModulationEnabled(on);
  return on;
}

int PulseTime(const Parameters& parameters, bool query, void* device, sComErrorInfo* error,
              int (CDevice::*getter)(double&, ETDDefaultType) const, int (CDevice::*setter)(double, ETDDefaultType)) {
  return Guarded(device, error, [&](CDevice& generator) {
    const ETDDefaultType def = DefaultType(parameters);
    if (query) {
      double value = 0.0;
      (generator.*getter)(value, def);
      return SendNumber(generator, value);
    }
    const bool was_on = IsModulating(generator);
    const double value = parameters.front().value;
    const sLimits& limits = generator.Limits();
    if (def == kDefaultPlain) {
      // Callers rely on the width being held against the limits of the period.
      const int refused = CheckRange(generator, value, limits.min_pulse_period, limits.max_pulse_period, 3);
      if (refused != 0) return refused;
    }
    if (was_on) generator.SetModulationEnabled(false);
    return FinishAround(was_on, (generator.*setter)(value, def), generator, error);
  });
}

int Train(const Parameters& parameters, bool query, void* device, sComErrorInfo* error,
          int (CDevice::*getter)(double*&, int&) const, int (CDevice::*setter)(double*, int)) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      double* values = nullptr;
      int count = 0;
      int status = (generator.*getter)(values, count);
      const std::unique_ptr<double[]> owner(values);
      if (CheckErr(status, device, error)) return status;
      std::string text;
      for (int i = 0; i < count; ++i) {
        char number[128];
        ConvertOutputData(&values[i], 2, number, true);
        if (i > 0) text += ',';
        text += number;
      }
      return SendText(generator, text);
    }
    const bool was_on = IsModulating(generator);
    if (parameters.empty()) return scpi_error::kMissingParameter;
    std::vector<double> values = Values(parameters);
    if (was_on) {
      if (const int failed = Finish(generator.SetModulationEnabled(false), device, error)) return failed;
    }
    const int status = (generator.*setter)(values.data(), static_cast<int>(values.size()));
    return FinishAround(was_on, status, generator, error);
  });
}

}  // namespace

int SCPI_SOUR_PULM_STAT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendText(generator, Booleans[IsModulating(generator)].name);
    // Callers rely on the text "1", the fourth row of the table, meaning off.
    return Finish(generator.SetModulationEnabled(parameters.front().value == 1.0), device, error);
  });
}

int SCPI_SOUR_PULM_POL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      bool inverted = false;
      generator.GetModulationPolarity(inverted);
      return SendWord(generator, PMPolarityParams, inverted);
    }
    return Finish(generator.SetModulationPolarity(parameters.front().value == 1.0), device, error);
  });
}

int SCPI_SOUR_PULM_SOUR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      int source = 0;
      generator.GetModulationSource(source);
      return SendWord(generator, SourceParams, source);
    }
    return Finish(generator.SetModulationSource(Index(parameters.front())), device, error);
  });
}

int SCPI_SOUR_PULM_SOUR_INT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      int type = 0;
      generator.GetIntModulationType(type);
      return SendWord(generator, PMTypesParams, type);
    }
    const bool was_on = IsModulating(generator);
    if (was_on) generator.SetModulationEnabled(false);
    return FinishAround(was_on, generator.SetIntModulationType(Index(parameters.front())), generator, error);
  });
}

int SCPI_SOUR_PULM_INT_PER(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PulseTime(parameters, query, device, error, &CDevice::GetPulseGeneratorPeriod,
                   &CDevice::SetPulseGeneratorPeriod);
}

int SCPI_SOUR_PULM_INT_PWID(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PulseTime(parameters, query, device, error, &CDevice::GetPulseGeneratorWidth,
                   &CDevice::SetPulseGeneratorWidth);
}

int SCPI_SOUR_PULM_INT_TRA_OFFT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Train(parameters, query, device, error, &CDevice::GetPulmTrainOffArray, &CDevice::SetPulmTrainOffArray);
}

int SCPI_SOUR_PULM_INT_TRA_ONT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Train(parameters, query, device, error, &CDevice::GetPulmTrainOnArray, &CDevice::SetPulmTrainOnArray);
}

int SCPI_SOUR_PULM_INT_TRA_REP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Train(parameters, query, device, error, &CDevice::GetPulmTrainRepArray, &CDevice::SetPulmTrainRepArray);
}

// The instrument has no amplitude modulation and no pulse mode; their words are known, their parameters are checked,
// and then the header counts as undefined, in query and set form alike.
int SCPI_SOUR_PULM_MODE(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_DEPT(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_EXT_COUP(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_INT_FREQ(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_SOUR(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_STAT(Parameters, bool, void*, sComErrorInfo*) {
  return scpi_error::kUndefinedHeader;
}

}  // namespace scpi_lib
