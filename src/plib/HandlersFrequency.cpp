// Frequency, sweep, reference and phase commands.
#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

int Frequency(const Parameters& parameters, bool query, void* device, sComErrorInfo* error, ETDValueType type,
              short questionable_bit) {
  return Guarded(device, error, [&](CDevice& generator) {
    const ETDDefaultType def = DefaultType(parameters);
    double value = 0.0;
    if (query) {
      int status = generator.GetFrequency(value, type, def);
      if (CheckErr(status, device, error)) return status;
      return SendNumber(generator, value);
    }
    if (def == kDefaultPlain) {
      value = parameters.front().value;
      const sLimits& limits = generator.Limits();
      const bool span = type == kValueSpan;
      const double low = span ? 0.0 : limits.low_frequency;
      const double high = span ? limits.high_frequency - limits.low_frequency : limits.high_frequency;
      if (const int refused = CheckRange(generator, value, low, high, questionable_bit)) return refused;
    }
    return Finish(generator.SetFrequency(value, type, def), device, error);
  });
}

}  // namespace

int SCPI_SOUR_FREQ(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Frequency(parameters, query, device, error, kValueCW, 3);
}

int SCPI_SOUR_FREQ_STAR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Frequency(parameters, query, device, error, kValueStart, 5);
}

int SCPI_SOUR_FREQ_STOP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Frequency(parameters, query, device, error, kValueStop, 5);
}

int SCPI_SOUR_FREQ_CENT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Frequency(parameters, query, device, error, kValueCenter, 5);
}

int SCPI_SOUR_FREQ_SPAN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Frequency(parameters, query, device, error, kValueSpan, 5);
}

int SCPI_SOUR_FREQ_MODE(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendWord(generator, FreqModeParams, generator.GetFreqMode());
    const int index = Index(parameters.front());
    const EMode mode = index == 0 ? kModeFixed : static_cast<EMode>(index);  // "cw" and "fixed" are one mode
    return Finish(generator.SetFreqMode(mode), device, error);
  });
}

int SCPI_SOUR_SWE_DWEL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendNumber(generator, generator.GetDwell());
    return Finish(generator.SetDwell(parameters.front().value), device, error);
  });
}

int SCPI_SOUR_SWE_STEP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      double value = 0.0;
      generator.GetFrequency(value, kValueStep, kDefaultPlain);
      return SendNumber(generator, value);
    }
    return Finish(generator.SetFrequency(parameters.front().value, kValueStep, kDefaultPlain), device, error);
  });
}

int SCPI_SOUR_SWE_POIN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    const double low = generator.Limits().min_sweep_points;
    const double high = generator.Limits().max_sweep_points;
    const ETDDefaultType def = DefaultType(parameters);
    double value = def == kDefaultMinimum ? low : high;  // "DEF" means the same as "MAX"
    if (query) {
      if (def == kDefaultPlain) {
        int status = generator.GetFrequency(value, kValuePoints, kDefaultPlain);
        if (CheckErr(status, device, error)) return status;
      }
      return SendNumber(generator, value);
    }
    if (def == kDefaultPlain) {
      value = parameters.front().value;
      if (const int refused = CheckRange(generator, value, low, high, 5)) return refused;
    }
    // Frequency and power sweeps share the count.
    if (const int failed = Finish(generator.SetFrequency(value, kValuePoints, kDefaultPlain), device, error)) {
      return failed;
    }
    return Finish(generator.SetPower(value, kValuePoints, kDefaultPlain), device, error);
  });
}

int SCPI_SOUR_SWE_SPAC(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      EFreqSpacing spacing = kSpacingLinear;
      int status = generator.GetFreqSpacing(spacing);
      if (CheckErr(status, device, error)) return status;
      return SendWord(generator, FreqSpacingParams, spacing);
    }
    return Finish(generator.SetFreqSpacing(static_cast<EFreqSpacing>(Index(parameters.front()))), device, error);
  });
}

int SCPI_SOUR_ROSC_EXT_FREQ(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PlainNumber(parameters, query, device, error, &CDevice::GetExtRefGenFrequency,
                     &CDevice::SetExtRefGenFrequency);
}

int SCPI_SOUR_ROSC_SOUR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      bool external = false;
      int status = generator.GetExtRefGenState(external);
      if (CheckErr(status, device, error)) return status;
      return SendWord(generator, SourceParams, external);
    }
    const int index = Index(parameters.front());
    if (index > 2) return scpi_error::kDataOutOfRange;
    return Finish(generator.SetExtRefGenState(index != 0), device, error);
  });
}

int SCPI_SOUR_PHAS(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PlainNumber(parameters, query, device, error, &CDevice::GetPhaseAdjust, &CDevice::SetPhaseAdjust);
}

}  // namespace scpi_lib
