// List commands.
#include <cmath>
#include <utility>

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

int PointList(const Call& call, int (CDevice::*setter)(std::vector<double>)) {
  return SetOnly(call, [&](CDevice& generator) { return call.Finish((generator.*setter)(call.Values())); });
}

int PointCount(const Call& call, int (CDevice::*getter)(ETDDefaultType) const) {
  return AnswerOnly(call,
                    [&](CDevice& generator) { return SendNumber(generator, (generator.*getter)(call.Default())); });
}

/// True for a source that triggers single steps.
bool IsTriggered(const CDevice& generator) {
  const ETrigger source = Get(generator, &CDevice::GetTrigSource);
  return source == kTriggerExternal || source == kTriggerBus;
}

}  // namespace

int SCPI_SOUR_LIST_FREQ(const Call& call) {
  return PointList(call, &CDevice::SetFreqList);
}

int SCPI_SOUR_LIST_POW(const Call& call) {
  return PointList(call, &CDevice::SetPwrList);
}

int SCPI_SOUR_LIST_FREQ_POIN(const Call& call) {
  return PointCount(call, &CDevice::GetFreqListPointsCnt);
}

int SCPI_SOUR_LIST_POW_POIN(const Call& call) {
  return PointCount(call, &CDevice::GetPwrListPointsCnt);
}

int SCPI_SOUR_LIST_DWEL_POIN(const Call& call) {
  // A dwell list has no length of its own: the query succeeds without text.
  return call.query ? 0 : scpi_error::kUndefinedHeader;
}

int SCPI_SOUR_LIST_DWEL(const Call& call) {
  return AnswerOrSet(
      call,
      // Odd, and kept: the answer is in whole seconds; ":SWE:DWEL?" answers the exact value.
      [](CDevice& generator) { return SendNumber(generator, std::trunc(generator.GetDwell())); },
      [&](CDevice& generator) {
        const sLimits& limits = generator.Limits();
        const int refused = CheckRange(generator, call.Value(), limits.min_dwell, limits.max_dwell, kQuestionablePower);
        return refused != 0 ? refused : call.Finish(generator.SetDwell(call.Value()));
      });
}

int SCPI_SOUR_LIST_MODE(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        const bool manual = generator.GetSingleStepEnabled() && IsTriggered(generator);
        return SendWord(generator, ListModeParams, manual ? kListManual : kListAuto);
      },
      [&](CDevice& generator) {
        const auto mode = static_cast<EListMode>(call.Row());
        const int status = generator.SetSingleStepEnabled(mode == kListManual && IsTriggered(generator));
        if (const int failed = call.Finish(status)) return failed;
        generator.SetListMode(mode);
        return 0;
      });
}

}  // namespace scpi_lib
