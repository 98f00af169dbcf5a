// List commands.
#include <cmath>
#include <utility>

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

int PointList(const Parameters& parameters, bool query, void* device, sComErrorInfo* error,
              int (CDevice::*setter)(std::vector<double>)) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return scpi_error::kUndefinedHeader;
    return Finish((generator.*setter)(Values(parameters)), device, error);
  });
}

int PointCount(const Parameters& parameters, bool query, void* device, sComErrorInfo* error,
               int (CDevice::*getter)(ETDDefaultType) const) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (!query) return scpi_error::kUndefinedHeader;
    return SendNumber(generator, (generator.*getter)(DefaultType(parameters)));
  });
}

}  // namespace

int SCPI_SOUR_LIST_FREQ(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PointList(parameters, query, device, error, &CDevice::SetFreqList);
}

int SCPI_SOUR_LIST_POW(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PointList(parameters, query, device, error, &CDevice::SetPwrList);
}

int SCPI_SOUR_LIST_FREQ_POIN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PointCount(parameters, query, device, error, &CDevice::GetFreqListPointsCnt);
}

int SCPI_SOUR_LIST_POW_POIN(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PointCount(parameters, query, device, error, &CDevice::GetPwrListPointsCnt);
}

int SCPI_SOUR_LIST_DWEL_POIN(Parameters, bool query, void*, sComErrorInfo*) {
  // A dwell list has no length of its own: the query succeeds without text.
  return query ? 0 : scpi_error::kUndefinedHeader;
}

int SCPI_SOUR_LIST_DWEL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    // Callers rely on whole seconds here; ":SWE:DWEL?" answers the exact value.
    if (query) return SendNumber(generator, std::trunc(generator.GetDwell()));
    const double value = parameters.front().value;
    const sLimits& limits = generator.Limits();
    if (const int refused = CheckRange(generator, value, limits.min_dwell, limits.max_dwell, 3)) return refused;
    return Finish(generator.SetDwell(value), device, error);
  });
}

int SCPI_SOUR_LIST_MODE(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    ETrigger source = kTriggerImmediate;
    int status = generator.GetTrigSource(source);
    if (CheckErr(status, device, error)) return status;
    const bool triggered = source == kTriggerExternal || source == kTriggerBus;
    if (query) {
      const bool manual = generator.GetSingleStepEnabled() && triggered;
      return SendWord(generator, ListModeParams, manual ? kListManual : kListAuto);
    }
    const auto mode = static_cast<EListMode>(Index(parameters.front()));
    status = generator.SetSingleStepEnabled(mode == kListManual && triggered);
    if (CheckErr(status, device, error)) return status;
    generator.SetListMode(mode);
    return 0;
  });
}

}  // namespace scpi_lib
