// Frequency, sweep, reference and phase commands.
#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

constexpr Quantity kFrequency = {&CDevice::GetFrequency, &CDevice::SetFrequency, &sLimits::low_frequency,
                                 &sLimits::high_frequency, [](const CDevice&, double hertz) { return hertz; }};

}  // namespace

int SCPI_SOUR_FREQ(const Call& call) {
  return QuantitySetting(call, kFrequency, kValueCW, kQuestionablePower);
}

int SCPI_SOUR_FREQ_STAR(const Call& call) {
  return QuantitySetting(call, kFrequency, kValueStart, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_STOP(const Call& call) {
  return QuantitySetting(call, kFrequency, kValueStop, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_CENT(const Call& call) {
  return QuantitySetting(call, kFrequency, kValueCenter, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_SPAN(const Call& call) {
  return QuantitySetting(call, kFrequency, kValueSpan, kQuestionableFrequency);
}

int SCPI_SOUR_FREQ_MODE(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendWord(generator, FreqModeParams, generator.GetFreqMode()); },
      [&](CDevice& generator) {
        // "cw" and "fixed" are one mode.
        const EMode mode = call.Row() == kRowCW ? kModeFixed : static_cast<EMode>(call.Row());
        return call.Finish(generator.SetFreqMode(mode));
      });
}

int SCPI_SOUR_SWE_DWEL(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendNumber(generator, generator.GetDwell()); },
      [&](CDevice& generator) { return call.Finish(generator.SetDwell(call.Value())); });
}

int SCPI_SOUR_SWE_STEP(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        double value = 0.0;
        generator.GetFrequency(value, kValueStep, kDefaultPlain);
        return SendNumber(generator, value);
      },
      [&](CDevice& generator) { return call.Finish(generator.SetFrequency(call.Value(), kValueStep, kDefaultPlain)); });
}

int SCPI_SOUR_SWE_POIN(const Call& call) {
  return Guarded(call, [&](CDevice& generator) {
    const double low = generator.Limits().min_sweep_points;
    const double high = generator.Limits().max_sweep_points;
    const ETDDefaultType def = call.Default();
    double value = def == kDefaultMinimum ? low : high;  // "DEF" means the same as "MAX"
    if (call.query) {
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

int SCPI_SOUR_SWE_SPAC(const Call& call) {
  return WordSetting(call, FreqSpacingParams, &CDevice::GetFreqSpacing, &CDevice::SetFreqSpacing);
}

int SCPI_SOUR_ROSC_EXT_FREQ(const Call& call) {
  return NumberSetting(call, &CDevice::GetExtRefGenFrequency, &CDevice::SetExtRefGenFrequency);
}

int SCPI_SOUR_ROSC_SOUR(const Call& call) {
  return WordSetting(call, SourceParams, &CDevice::GetExtRefGenState, &CDevice::SetExtRefGenState);
}

int SCPI_SOUR_PHAS(const Call& call) {
  return NumberSetting(call, &CDevice::GetPhaseAdjust, &CDevice::SetPhaseAdjust);
}

}  // namespace scpi_lib
