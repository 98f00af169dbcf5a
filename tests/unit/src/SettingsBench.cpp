// See SettingsBench.h.
#include "tests/unit/src/SettingsBench.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

#include "scpi_core/pcore.h"
#include "src/plib/CommandTable.h"

namespace test {

namespace {

/// The played run: active from Run to CancelRun, as the real one is.
class PlayedRun : public CRunThread {
 public:
  PlayedRun(ExchangeGate& gate, std::vector<std::string>& log) : CRunThread(gate), m_log(log) {}
  ~PlayedRun() override { ThreadStop(0); }
  void Run(int count) override {
    ThreadStop(0);
    m_log.push_back("RUN " + std::to_string(count));
    ThreadStart();
  }
  void CancelRun() override {
    m_log.push_back("CANCEL");
    ThreadStop(0);
  }
  void ThreadCycle() override {}

 private:
  std::vector<std::string>& m_log;
};

using Numbers = std::vector<double>;
using Call = std::function<std::string(CDevice&, const Numbers&)>;

std::string Text(double value) {
  char number[32];
  std::snprintf(number, sizeof number, "%.12g", value);
  return number;
}

/// The numbers of a call, one after the other; a keyword that is not given means the plain value.
struct Reader {
  template <class Value>
  Value Next() {
    return static_cast<Value>(index < numbers.size() ? numbers[index++] : double{kDefaultPlain});
  }
  const Numbers& numbers;
  std::size_t index = 0;
};

// A member of CDevice as a call on numbers. Setters answer their status, getters the value, arrays with commas.
template <class... Arguments>
Call Wrap(int (CDevice::*member)(Arguments...)) {
  return [member](CDevice& device, const Numbers& numbers) {
    [[maybe_unused]] Reader reader{numbers};
    std::tuple<std::decay_t<Arguments>...> values{reader.Next<std::decay_t<Arguments>>()...};
    const auto call = [&](auto&... value) { return (device.*member)(static_cast<Arguments>(value)...); };
    return Text(std::apply(call, values));
  };
}
template <class Value, class... Rest>
Call Wrap(int (CDevice::*member)(Value&, Rest...) const) {
  return [member](CDevice& device, const Numbers& numbers) {
    [[maybe_unused]] Reader reader{numbers};
    std::tuple<Rest...> rest{reader.Next<Rest>()...};
    Value value{};
    const int status = std::apply([&](auto... r) { return (device.*member)(value, r...); }, rest);
    return Text(status == 0 ? static_cast<double>(value) : status);
  };
}
template <class Result>
Call Wrap(Result (CDevice::*member)() const) {
  return [member](CDevice& device, const Numbers&) { return Text(static_cast<double>((device.*member)())); };
}
Call Wrap(int (CDevice::*member)(ETDDefaultType) const) {
  return
      [member](CDevice& device, const Numbers& n) { return Text((device.*member)(Reader{n}.Next<ETDDefaultType>())); };
}
Call Wrap(int (CDevice::*member)(Numbers)) {
  return [member](CDevice& device, const Numbers& numbers) { return Text((device.*member)(numbers)); };
}
Call Wrap(int (CDevice::*member)(double*, int)) {
  return [member](CDevice& device, Numbers numbers) {
    return Text((device.*member)(numbers.data(), static_cast<int>(numbers.size())));
  };
}
Call Wrap(int (CDevice::*member)(double*&, int&) const) {
  return [member](CDevice& device, const Numbers&) {
    double* values = nullptr;
    int count = 0;
    (device.*member)(values, count);
    const std::unique_ptr<double[]> owner(values);
    std::string text;
    for (int i = 0; i < count; ++i) text += (text.empty() ? "" : ",") + Text(values[i]);
    return text;
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
      &D::SetAtten, &D::SetAttStrategy, &D::SetPowControl, &D::SetOutputEnabled, &D::SetUnit, &D::SetListMode,
      &D::SetDwell, &D::SetInitContinuous, &D::SetSingleStepEnabled, &D::SendSoftwareTrigger, &D::HW_SetMode,
      &D::HW_SetDwell, &D::SetModulationEnabled, &D::SetModulationSource, &D::SetIntModulationType,
      &D::SetModulationPolarity, &D::SetPulseGeneratorWidth, &D::SetPulseGeneratorPeriod, &D::SetSyncSourceDetection,
      &D::SetSyncInterval, &D::SetSyncOpolarity, &D::SetSyncOutputEnabled, &D::SetSyncOutputDuration,
      &D::SetSyncGenPeriod, &D::SetSyncGenWidth, &D::SetTrigSource, &D::SetExtRefGenFrequency, &D::SetExtRefGenState,
      &D::SetPhaseAdjust, &D::SetPulmTrainOnArray, &D::SetPulmTrainOffArray, &D::SetPulmTrainRepArray, &D::SetFreqList,
      &D::SetPwrList, &D::GetFrequency, &D::GetPower, &D::GetFreqMode, &D::GetPwrMode, &D::GetDwell,
      &D::GetSingleStepEnabled, &D::GetFreqListPointsCnt, &D::GetPwrListPointsCnt, &D::GetFreqSpacing, &D::GetAtten,
      &D::GetAttStrategy, &D::GetPowControl, &D::GetOutputEnabled, &D::GetModulationEnabled, &D::GetModulationSource,
      &D::GetIntModulationType, &D::GetModulationPolarity, &D::GetPulseGeneratorWidth, &D::GetPulseGeneratorPeriod,
      &D::GetSyncSourceDetection, &D::GetSyncInterval, &D::GetSyncOpolarity, &D::GetSyncOutputEnabled,
      &D::GetSyncOutputDuration, &D::GetSyncGenPeriod, &D::GetSyncGenWidth, &D::GetTrigSource,
      &D::GetExtRefGenFrequency, &D::GetExtRefGenState, &D::GetPhaseAdjust, &D::GetPulmTrainOnArray,
      &D::GetPulmTrainOffArray, &D::GetPulmTrainRepArray);
  return calls;
}
#undef ZLT_NAMED

double TypeNumber(const std::string& name) {
  constexpr const char* kNames[] = {"cw", "start", "stop", "center", "span", "points", "step"};
  const auto found = std::ranges::find(kNames, name);
  return static_cast<double>(found - std::begin(kNames));
}

constexpr std::int16_t Code(unsigned code) {
  return static_cast<std::int16_t>(code);
}

}  // namespace

std::unique_ptr<CRunThread> PlayedDevice::MakeRunThread(ExchangeGate& gate) {
  return std::make_unique<PlayedRun>(gate, m_log);
}

SettingsBench::SettingsBench(Firmware firmware, int generation) : m_firmware(firmware), m_generation(generation) {
  constexpr int kGenerations[] = {5, 2, 0};
  if (m_generation < 0) m_generation = kGenerations[static_cast<int>(firmware)];
  scpi_lib::RegisterCommandTree();
  provider.Respond([this](std::span<const unsigned char> request) { return Respond(request); });
  EXPECT_EQ(device.OpenConnection("TCPIP0::1::INSTR::ZLT", 2000), 0);
  m_probing = false;
  m_log.clear();
}

std::string SettingsBench::Do(const std::string& script) {
  std::string answers;
  std::istringstream lines(script);
  for (std::string line; std::getline(lines, line, ';');) {
    std::istringstream stream(line);
    const Words words{std::istream_iterator<std::string>(stream), {}};
    if (words.empty()) continue;
    const bool is_message = words[0].find_first_of(":*") == 0;
    const std::string answer = is_message ? Say(line) : DoOne(words);
    if (!answer.empty()) answers += (answers.empty() ? "" : " ") + answer;
  }
  return answers;
}

std::string SettingsBench::Say(std::string message) {
  message += '\n';
  Parse(message.data(), static_cast<int>(message.size()), &device, &device);
  std::string answer = device.TakeResponse();
  while (device.GetErrCount() > 0) {
    device.SCPI_SYST_ERR();
    const std::string error = device.TakeResponse();
    answer += error.substr(0, error.find(','));
  }
  std::erase(answer, '\n');
  return answer;
}

std::string SettingsBench::DoOne(const Words& words) {
  std::string name = words[0];
  if (name == "F?" || name == "P?") {
    std::string text;
    for (std::size_t i = 1; i < words.size(); ++i) {
      const std::string getter = name == "F?" ? "GetFrequency" : "GetPower";
      text += (i == 1 ? "" : " ") + Calls().at(getter)(device, {TypeNumber(words[i])});
    }
    return text;
  }
  if (name == "sweep") return Do("SetTrigSource 0; SetFreqMode 2; SetInitContinuous 1"), device.Start(0), TakeLog(), "";
  if (name == "forget") return TakeLog(), "";
  if (name == "lost") return provider.writes.push_back(ScriptedProvider::kConnectionLost), "";

  const bool is_exception = name == "answer" || name == "bare";
  Numbers numbers;
  for (std::size_t i = is_exception ? 2 : 1; i < words.size(); ++i) numbers.push_back(std::stod(words[i]));
  if (is_exception) {
    const auto status = Code(static_cast<unsigned>(numbers.at(0)));
    std::string line = words[1];
    if (line.starts_with("GET_")) line[3] = ' ';
    m_exceptions.push_back({line, status, {numbers.begin() + 1, numbers.end()}, name == "bare"});
    return "";
  }
  const bool wants_status = name.starts_with('=');
  if (wants_status) name.erase(0, 1);
  if (name.starts_with("F.") || name.starts_with("P.")) {
    numbers = {numbers.at(0), TypeNumber(name.substr(2)), double{kDefaultPlain}};
    name = name[0] == 'F' ? "SetFrequency" : "SetPower";
  }
  const std::string answer = Calls().at(name)(device, numbers);
  return wants_status || name.starts_with("Get") ? answer : "";
}

Bytes SettingsBench::Respond(std::span<const unsigned char> request) {
  std::string line = Describe(request);
  if (m_probing) return Probe(line, request);
  if (line.starts_with("SET P_")) line.erase(0, 6);
  if (line.starts_with("GET P_")) line = "GET " + line.substr(6, line.find(" ", 6) - 6);
  m_log.push_back(line);
  const auto found = std::ranges::find_if(m_exceptions, [&](const Exception& e) {
    return line.starts_with(e.line) && (line.size() == e.line.size() || line[e.line.size()] == ' ');
  });
  if (found != m_exceptions.end()) {
    const Exception exception = *found;
    m_exceptions.erase(found);
    if (exception.bare) {
      Bytes reply = Answer(request.first(16), exception.status);
      reply[6] = reply[7] = 0;
      return reply;
    }
    return exception.values.empty() ? Answer(request, exception.status)
                                    : Answer(request, exception.status, exception.values);
  }
  // The fields of a channel are told apart, and its second one is no flag yet.
  if (line.starts_with("GET SYNC")) return Answer(request, 0, {11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
  return Answer(request);
}

Bytes SettingsBench::Probe(const std::string& line, std::span<const unsigned char> request) const {
  const auto starts = [&](const char* text) { return line.starts_with(text); };
  if (starts("GET P_FILE")) return Answer(request, Code(0x8103));
  double start = 0, count = 0, step = 0, stop = 0;
  if (std::sscanf(line.c_str(), "SET P_FREQUENCY 6.0 [%lf, %lf, %lf, %lf]", &start, &count, &step, &stop) == 4) {
    constexpr std::int16_t kStatus[] = {0, 2, Code(0x8003)};
    return Answer(request, kStatus[static_cast<int>(m_firmware)],
                  {std::max(start, 1e7), std::clamp(count, 1.0, 100001.0), step, std::min(stop, 2e10)});
  }
  if (starts("SET P_FREQUENCY 6.0") && m_firmware == Firmware::kOld) return Answer(request, Code(0x8003));
  if (starts("SET P_SYNC_OUT") && m_firmware != Firmware::kNew) return Answer(request, 2);
  if ((starts("SET P_RF_OUT2 6.2") && m_generation != 3 && m_generation != 5) ||
      (starts("SET P_RF_OUT2 4.2") && m_generation < 2) || (starts("SET P_RF_OUT 4.2") && m_generation == 0)) {
    return Answer(request, Code(0x8002));
  }
  const bool is_eight = line.find(", 1, 0, ") != std::string::npos;
  if (is_eight) return Answer(request, m_generation < 4 ? 2 : 0);
  const double power = starts("SET P_RF_OUT") ? std::stod(line.substr(line.find_last_of(",[") + 1)) : 0.0;
  if (starts("SET P_RF_OUT2 ")) return Answer(request, 1, {0, 0, 0, 0, std::clamp(power, -100.0, 18.0)});
  if (starts("SET P_RF_OUT ")) return Answer(request, 1, {0, std::clamp(power, -100.0, 18.0)});
  return Answer(request);
}

std::string SettingsBench::TakeLog() {
  std::string log;
  for (const std::string& line : m_log) log += (log.empty() ? "" : " | ") + line;
  m_log.clear();
  return log;
}

std::string SettingsBench::TakePattern() {
  std::string pattern;
  for (const std::string& line : m_log) {
    pattern += line == "CANCEL" ? 'C' : line == "RUN 0" ? 'R' : line == "RUN 1" ? '1' : 'P';
  }
  m_log.clear();
  return pattern;
}

void RunSettings(std::initializer_list<SettingsCase> cases) {
  for (const SettingsCase& c : cases) {
    SCOPED_TRACE(c.name);
    SettingsBench bench(c.firmware, c.generation);
    const std::string model = bench.Do(c.script);
    EXPECT_EQ(bench.TakeLog(), c.packets);
    EXPECT_EQ(model, c.model);
  }
}

}  // namespace test
