// Pulse modulation commands, and the stubs of amplitude modulation. A setting of the pulse generator never changes
// while modulation is on: modulation is switched off for the change and on again after it. A failure in between leaves
// it off, and the model says so.
#include <memory>
#include <string>
#include <vector>

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

bool IsModulating(const CDevice& generator) {
  return Get(generator, &CDevice::GetModulationEnabled);
}

/// Ends a change: switches modulation on again if it was on and the change succeeded.
int FinishChange(const Call& call, CDevice& generator, bool was_on, int status) {
  if (const int failed = call.Finish(status)) return failed;
  return was_on ? call.Finish(generator.SetModulationEnabled(true)) : 0;
}

/// Makes a change with modulation switched off. The status of switching it off is dropped.
template <class Change>
int ChangeWhileOff(const Call& call, CDevice& generator, Change change) {
  const bool was_on = IsModulating(generator);
  if (was_on) generator.SetModulationEnabled(false);
  return FinishChange(call, generator, was_on, change());
}

int PulseTime(const Call& call, int (CDevice::*getter)(double&, ETDDefaultType) const,
              int (CDevice::*setter)(double, ETDDefaultType)) {
  const ETDDefaultType def = call.Default();
  return AnswerOrSet(
      call,
      [&](CDevice& generator) {
        double value = 0.0;
        (generator.*getter)(value, def);
        return SendNumber(generator, value);
      },
      [&](CDevice& generator) {
        const double value = call.Value();
        if (def == kDefaultPlain) {
          // Odd, and kept: the width is checked against the limits of the period, so a width below 40 ns is refused.
          const sLimits& limits = generator.Limits();
          const double low = limits.min_pulse_period;
          if (const int refused = CheckRange(generator, value, low, limits.max_pulse_period, kQuestionablePower)) {
            return refused;
          }
        }
        return ChangeWhileOff(call, generator, [&] { return (generator.*setter)(value, def); });
      });
}

int AnswerTrain(const Call& call, CDevice& generator, int (CDevice::*getter)(double*&, int&) const) {
  double* values = nullptr;
  int count = 0;
  const int status = (generator.*getter)(values, count);
  const std::unique_ptr<double[]> owner(values);
  if (const int failed = call.Finish(status)) return failed;
  std::string text;
  for (int i = 0; i < count; ++i) {
    char number[128];
    ConvertOutputData(&values[i], kResultDouble, number, true);
    if (i > 0) text += ',';
    text += number;
  }
  return SendText(generator, text);
}

int Train(const Call& call, int (CDevice::*getter)(double*&, int&) const, int (CDevice::*setter)(double*, int)) {
  return AnswerOrSet(
      call, [&](CDevice& generator) { return AnswerTrain(call, generator, getter); },
      [&](CDevice& generator) {
        if (call.parameters.empty()) return scpi_error::kMissingParameter;
        const bool was_on = IsModulating(generator);
        std::vector<double> values = call.Values();
        if (was_on) {
          if (const int failed = call.Finish(generator.SetModulationEnabled(false))) return failed;
        }
        const int status = (generator.*setter)(values.data(), static_cast<int>(values.size()));
        return FinishChange(call, generator, was_on, status);
      });
}

}  // namespace

int SCPI_SOUR_PULM_STAT(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendText(generator, Booleans[IsModulating(generator)].name); },
      // Odd, and kept: the text "1", the fourth row of the table, means off.
      [&](CDevice& generator) { return call.Finish(generator.SetModulationEnabled(call.Row() == kRowOn)); });
}

int SCPI_SOUR_PULM_POL(const Call& call) {
  return WordSetting(call, PMPolarityParams, &CDevice::GetModulationPolarity, &CDevice::SetModulationPolarity);
}

int SCPI_SOUR_PULM_SOUR(const Call& call) {
  return WordSetting(call, SourceParams, &CDevice::GetModulationSource, &CDevice::SetModulationSource);
}

int SCPI_SOUR_PULM_SOUR_INT(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        return SendWord(generator, PMTypesParams, Get(generator, &CDevice::GetIntModulationType));
      },
      [&](CDevice& generator) {
        return ChangeWhileOff(call, generator, [&] { return generator.SetIntModulationType(call.Row()); });
      });
}

int SCPI_SOUR_PULM_INT_PER(const Call& call) {
  return PulseTime(call, &CDevice::GetPulseGeneratorPeriod, &CDevice::SetPulseGeneratorPeriod);
}

int SCPI_SOUR_PULM_INT_PWID(const Call& call) {
  return PulseTime(call, &CDevice::GetPulseGeneratorWidth, &CDevice::SetPulseGeneratorWidth);
}

int SCPI_SOUR_PULM_INT_TRA_OFFT(const Call& call) {
  return Train(call, &CDevice::GetPulmTrainOffArray, &CDevice::SetPulmTrainOffArray);
}

int SCPI_SOUR_PULM_INT_TRA_ONT(const Call& call) {
  return Train(call, &CDevice::GetPulmTrainOnArray, &CDevice::SetPulmTrainOnArray);
}

int SCPI_SOUR_PULM_INT_TRA_REP(const Call& call) {
  return Train(call, &CDevice::GetPulmTrainRepArray, &CDevice::SetPulmTrainRepArray);
}

// The instrument has no amplitude modulation and no pulse mode. Their headers are in the table and their parameters are
// checked; then both forms are refused as an undefined header.
int SCPI_SOUR_PULM_MODE(const Call&) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_DEPT(const Call&) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_EXT_COUP(const Call&) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_INT_FREQ(const Call&) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_SOUR(const Call&) {
  return scpi_error::kUndefinedHeader;
}
int SCPI_SOUR_AM_STAT(const Call&) {
  return scpi_error::kUndefinedHeader;
}

}  // namespace scpi_lib
