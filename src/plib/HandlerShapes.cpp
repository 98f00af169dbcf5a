#include "src/plib/HandlerShapes.h"

#include <cstring>

#include "support/ResultFormat.h"

namespace scpi_lib {

int Finish(int status, void* device, sComErrorInfo* error) {
  return CheckErr(status, device, error) ? status : 0;
}

int SendText(CDevice& device, std::string_view text) {
  device.SendResponse(text.data(), static_cast<int>(text.size()));
  return 0;
}

int SendNumber(CDevice& device, double value) {
  ConvertOutputData(&value, 2, CommandResultBuffer, true);
  return SendText(device, CommandResultBuffer);
}

int SendWord(CDevice& device, const sFParam& parameter, int value) {
  return device.SendEnum({kBothForms, &parameter, 1}, value, 0);
}

ETDDefaultType DefaultType(const Parameters& parameters) {
  if (parameters.empty() || !IsKeyword(parameters.front())) return kDefaultPlain;
  return static_cast<ETDDefaultType>(Index(parameters.front()));
}

int CheckRange(CDevice& device, double value, double low, double high, short questionable_bit) {
  if (low <= value && value <= high) return 0;
  device.StatusRegisters().SetRegBit(1, questionable_bit, false);
  return scpi_error::kDataOutOfRange;
}

std::vector<double> Values(const Parameters& parameters) {
  std::vector<double> values;
  values.reserve(parameters.size());
  for (const sParamInfo& parameter : parameters) values.push_back(parameter.value);
  return values;
}

int PlainNumber(const Parameters& parameters, bool query, void* device, sComErrorInfo* error, NumberGetter getter,
                NumberSetter setter) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      double value = 0.0;
      (generator.*getter)(value);
      return SendNumber(generator, value);
    }
    return Finish((generator.*setter)(parameters.front().value), device, error);
  });
}

}  // namespace scpi_lib
