#include "src/plib/HandlerShapes.h"

#include "support/ResultFormat.h"

namespace scpi_lib {

ETDDefaultType Call::Default() const {
  if (parameters.empty() || parameters.front().type != kParamCharacter) return kDefaultPlain;
  return static_cast<ETDDefaultType>(Row());
}

std::vector<double> Call::Values() const {
  std::vector<double> values;
  values.reserve(parameters.size());
  for (const sParamInfo& parameter : parameters) values.push_back(parameter.value);
  return values;
}

int SendText(CDevice& device, std::string_view text) {
  device.SendResponse(text.data(), static_cast<int>(text.size()));
  return 0;
}

int SendNumber(CDevice& device, double value) {
  ConvertOutputData(&value, kResultDouble, CommandResultBuffer, true);
  return SendText(device, CommandResultBuffer);
}

int SendWord(CDevice& device, const sFParam& parameter, int value) {
  return device.SendEnum({kBothForms, &parameter, 1}, value, 0);
}

int NumberSetting(const Call& call, int (CDevice::*getter)(double&) const, int (CDevice::*setter)(double)) {
  return AnswerOrSet(
      call, [&](CDevice& generator) { return SendNumber(generator, Get(generator, getter)); },
      [&](CDevice& generator) { return call.Finish((generator.*setter)(call.Value())); });
}

int QuantitySetting(const Call& call, const Quantity& quantity, ETDValueType type, EQuestionableBit bit) {
  const ETDDefaultType def = call.Default();
  double value = 0.0;
  return AnswerOrSet(
      call,
      [&](CDevice& generator) {
        if (const int failed = call.Finish((generator.*quantity.getter)(value, type, def))) return failed;
        return SendNumber(generator, quantity.answered(generator, value));
      },
      [&](CDevice& generator) {
        if (def == kDefaultPlain) {
          value = call.Value();
          const double low = generator.Limits().*quantity.low;
          const double high = generator.Limits().*quantity.high;
          const bool span = type == kValueSpan;
          const int refused = CheckRange(generator, value, span ? 0.0 : low, span ? high - low : high, bit);
          if (refused != 0) return refused;
        }
        return call.Finish((generator.*quantity.setter)(value, type, def));
      });
}

int CheckRange(CDevice& device, double value, double low, double high, EQuestionableBit bit) {
  if (low <= value && value <= high) return 0;
  device.StatusRegisters().SetRegBit(kQuestionableRegister, bit, false);
  return scpi_error::kDataOutOfRange;
}

}  // namespace scpi_lib
