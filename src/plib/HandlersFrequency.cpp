// Frequency, sweep, reference and phase commands.
#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

constexpr Quantity kFrequency = {&CDevice::GetFrequency, &CDevice::SetFrequency, &sLimits::low_frequency,
                                 &sLimits::high_frequency, [](const CDevice&, double hertz) { return hertz; }};

}  // namespace

int SCPI_SOUR_FREQ(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return QuantitySetting({parameters, query, device, error}, kFrequency, kValueCW, kQuestionablePower);
}

int SCPI_SOUR_FREQ_STAR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return QuantitySetting({parameters, query, device, error}, kFrequency, kValueStart, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_STOP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return QuantitySetting({parameters, query, device, error}, kFrequency, kValueStop, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_CENT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return QuantitySetting({parameters, query, device, error}, kFrequency, kValueCenter, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_SPAN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return QuantitySetting({parameters, query, device, error}, kFrequency, kValueSpan, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_MODE(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  const Call call{parameters, query, device, error};
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendWord(generator, FreqModeParams, generator.GetFreqMode()); },
      [&](CDevice& generator) {
        // "cw" and "fixed" are one mode.
        const EMode mode = call.Row() == kRowCW ? kModeFixed : static_cast<EMode>(call.Row());
        return call.Finish(generator.SetFreqMode(mode));
      });
}

int SCPI_SOUR_SWE_DWEL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  const Call call{parameters, query, device, error};
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendNumber(generator, generator.GetDwell()); },
      [&](CDevice& generator) { return call.Finish(generator.SetDwell(call.Value())); });
}

int SCPI_SOUR_SWE_STEP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  const Call call{parameters, query, device, error};
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        double value = 0.0;
        generator.GetFrequency(value, kValueStep, kDefaultPlain);
        return SendNumber(generator, value);
      },
      [&](CDevice& generator) { return call.Finish(generator.SetFrequency(call.Value(), kValueStep, kDefaultPlain)); });
}

int SCPI_SOUR_SWE_POIN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  const Call call{parameters, query, device, error};
  return Guarded(call, [&](CDevice& generator) {
    const double low = generator.Limits().min_sweep_points;
    const double high = generator.Limits().max_sweep_points;
    const ETDDefaultType def = call.Default();
    double value = def == kDefaultMinimum ? low : high;  // "DEF" means the same as "MAX"
    if (query) {
      if (def == kDefaultPlain) {
        if (const int failed = call.Finish(generator.GetFrequency(value, kValuePoints, def))) return failed;
      }
      return SendNumber(generator, value);
    }
    if (def == kDefaultPlain) {
      value = call.Value();
      if (const int refused = CheckRange(generator, value, low, high, kQuestionableFrequency)) return refused;
    }
    // Frequency and power sweeps share the count.
    if (const int failed = call.Finish(generator.SetFrequency(value, kValuePoints, kDefaultPlain))) return failed;
    return call.Finish(generator.SetPower(value, kValuePoints, kDefaultPlain));
  });
}

int SCPI_SOUR_SWE_SPAC(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return WordSetting({parameters, query, device, error}, FreqSpacingParams, &CDevice::GetFreqSpacing,
                     &CDevice::SetFreqSpacing);
}

int SCPI_SOUR_ROSC_EXT_FREQ(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return NumberSetting({parameters, query, device, error}, &CDevice::GetExtRefGenFrequency,
                       &CDevice::SetExtRefGenFrequency);
}

int SCPI_SOUR_ROSC_SOUR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return WordSetting({parameters, query, device, error}, SourceParams, &CDevice::GetExtRefGenState,
                     &CDevice::SetExtRefGenState);
}

int SCPI_SOUR_PHAS(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return NumberSetting({parameters, query, device, error}, &CDevice::GetPhaseAdjust, &CDevice::SetPhaseAdjust);
}

}  // namespace scpi_lib
