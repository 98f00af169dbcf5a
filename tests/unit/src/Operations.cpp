// The operations of the model that a transcript may call by name.
#include <algorithm>
#include <functional>
#include <map>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "tests/unit/src/PlayedInstrument.h"

namespace test {
namespace {

using Numbers = std::vector<double>;
using Call = std::function<double(CDevice&, const Numbers&)>;

/// The numbers of a call, one after the other; a keyword that is not given means the plain value.
struct Reader {
  template <class Value>
  Value Next() {
    return static_cast<Value>(index < numbers.size() ? numbers[index++] : double{kDefaultPlain});
  }
  const Numbers& numbers;
  std::size_t index = 0;
};

template <class... Arguments>
Call Wrap(int (CDevice::*member)(Arguments...)) {
  return [member](CDevice& device, const Numbers& numbers) {
    [[maybe_unused]] Reader reader{numbers};
    std::tuple<std::decay_t<Arguments>...> values{reader.Next<std::decay_t<Arguments>>()...};
    return std::apply([&](auto&... value) { return (device.*member)(static_cast<Arguments>(value)...); }, values);
  };
}
template <class Value, class... Rest>
Call Wrap(int (CDevice::*member)(Value&, Rest...) const) {
  return [member](CDevice& device, const Numbers& numbers) {
    [[maybe_unused]] Reader reader{numbers};
    std::tuple<Rest...> rest{reader.Next<Rest>()...};
    Value value{};
    const int status = std::apply([&](auto... r) { return (device.*member)(value, r...); }, rest);
    return status == 0 ? static_cast<double>(value) : status;
  };
}
Call Wrap(bool (CDevice::*member)() const) {
  return [member](CDevice& device, const Numbers&) { return (device.*member)(); };
}
Call Wrap(int (CDevice::*member)(Numbers)) {
  return [member](CDevice& device, const Numbers& numbers) { return (device.*member)(numbers); };
}
Call Wrap(int (CDevice::*member)(double*, int)) {
  return [member](CDevice& device, Numbers numbers) {
    return (device.*member)(numbers.data(), static_cast<int>(numbers.size()));
  };
}

/// Maps each name in "&D::A, &D::B" to its member.
template <class... Members>
std::map<std::string, Call> Named(std::string names, Members... members) {
  std::ranges::replace_if(
      names, [](char c) { return c == '&' || c == ':' || c == ','; }, ' ');
  std::istringstream stream(names);
  std::map<std::string, Call> calls;
  const auto next = [&] {
    std::string name;
    stream >> name >> name;
    return name;
  };
  (calls.emplace(next(), Wrap(members)), ...);
  return calls;
}

#define ZLT_NAMED(...) Named(#__VA_ARGS__, __VA_ARGS__)
const std::map<std::string, Call>& Calls() {
  using D = CDevice;
  static const std::map<std::string, Call> calls = ZLT_NAMED(
      &D::SetFrequency, &D::SetFreqMode, &D::SetFreqSpacing, &D::SetFreqCommon, &D::SetPower, &D::SetPwrMode,
      &D::SetAtten, &D::SetAttStrategy, &D::SetPowControl, &D::SetOutputEnabled, &D::SetListMode, &D::SetDwell,
      &D::SetInitContinuous, &D::SetSingleStepEnabled, &D::SendSoftwareTrigger, &D::HW_SetMode, &D::HW_SetDwell,
      &D::SetModulationEnabled, &D::SetModulationSource, &D::SetIntModulationType, &D::SetModulationPolarity,
      &D::SetPulseGeneratorWidth, &D::SetPulseGeneratorPeriod, &D::SetSyncSourceDetection, &D::SetSyncInterval,
      &D::SetSyncOpolarity, &D::SetSyncOutputEnabled, &D::SetSyncOutputDuration, &D::SetSyncGenPeriod,
      &D::SetSyncGenWidth, &D::SetTrigSource, &D::SetExtRefGenFrequency, &D::SetExtRefGenState, &D::SetPhaseAdjust,
      &D::SetPulmTrainOnArray, &D::SetPulmTrainOffArray, &D::SetPulmTrainRepArray, &D::SetFreqList, &D::SetPwrList,
      &D::GetFrequency, &D::GetPower, &D::GetSingleStepEnabled, &D::GetAtten, &D::GetPulseGeneratorWidth,
      &D::GetPulseGeneratorPeriod);
  return calls;
}
#undef ZLT_NAMED

}  // namespace

double CallOperation(CDevice& device, const std::string& name, const Numbers& arguments) {
  return Calls().at(name)(device, arguments);
}

}  // namespace test
