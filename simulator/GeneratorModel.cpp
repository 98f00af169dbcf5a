// Commands, records and files; lists and pulses are in ModelLists.cpp.
#include "simulator/GeneratorModel.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sim {
namespace {

using enum Slot;

/// Four bytes hold the range of a step, but no sign. The step is taken as negative when only that keeps the sweep in
/// range.
double NarrowStep(View body, const Limits& limits) {
  const auto start = static_cast<double>(ReadInteger(body, 2, 4, false));
  const auto intervals = static_cast<double>(ReadInteger(body, 6, 4, false)) - 1;
  const auto rising = static_cast<double>(ReadInteger(body, 10, 4, false));
  const auto falling = static_cast<double>(ReadInteger(body, 10, 4, true));
  const bool leaves = start + intervals * rising > limits.frequency_high;
  return leaves && start + intervals * falling >= limits.frequency_low ? falling : rising;
}

double Decode(View body, const Form& form, int index, const Limits& limits) {
  const Slot slot = form.slots[static_cast<std::size_t>(index)];
  const bool narrow = form.format.size == 4 && form.format.fraction == 0;
  if (narrow && slot == kFrequencyStep) return NarrowStep(body, limits);
  const bool is_signed = form.format.fraction > 0 || (RuleOf(slot, limits).is_signed && !narrow);
  const std::size_t offset = ValueAt(index, form.format);
  return FromRaw(ReadInteger(body, offset, form.format.size, is_signed), form.format);
}

bool SameName(View body, std::size_t offset, std::string_view name) {
  return body.size() > offset + name.size() &&
         std::equal(name.begin(), name.end(), body.begin() + static_cast<long>(offset)) &&
         body[offset + name.size()] == 0;
}

}  // namespace

GeneratorModel::GeneratorModel(const Profile& profile, std::string model, std::string serial, bool has_files)
    : m_profile(profile), m_model(std::move(model)), m_serial(std::move(serial)), m_has_files(has_files) {
  const Limits& limits = m_profile.limits;
  At(kFrequency) = At(kFrequencyStop) = limits.frequency_low;
  At(kFrequencyPoints) = At(kPowerPoints) = 1;
  At(kPower) = At(kPowerStop) = limits.power_low;
  At(kReferenceFrequency) = 1e7;
}

Bytes GeneratorModel::Answer(View request) {
  if (request.size() < kHeadSize) return MakeReply(request, SK_SIZE_ERROR, {});
  const Head head = ReadHead(request);
  if (head.signature != kSignature) return MakeReply(request, SK_SIGNATURE_ERROR, {});
  if (head.body_length % 2 != 0 || head.body_length + kHeadSize != request.size())
    return MakeReply(request, SK_SIZE_ERROR, {});
  switch (head.command) {
    case SK_TEST:
    case SK_RESET:
      return MakeReply(request, SK_NO_ERROR, {});
    case SK_RUN:
      return RunReply(request);
    case SK_SET:
    case SK_GET:
      return AnswerParameter(request, head);
    default:
      return MakeReply(request, SK_UNKNOWN_COMMAND, {});
  }
}

Bytes GeneratorModel::RunReply(View request) const {
  // The status of a pass follows its data, and there is no data here.
  std::int16_t status = SK_NO_ERROR;
  if (!m_states.level) status = SK_UNLEVEL;
  if (!m_states.reference) status = SK_EXTREF_NO_PLL;
  if (!m_states.pll) status = SK_LO1_NO_PLL;
  std::array<std::uint8_t, 2> body{};
  WriteWord(body, 0, static_cast<std::uint16_t>(status));
  return MakeReply(request, SK_NO_ERROR, body);
}

RunPlan GeneratorModel::Plan() const {
  RunPlan plan;
  const double frequencies =
      m_frequency_from_list ? static_cast<double>(m_frequency_list.size()) : At(kFrequencyPoints);
  const double powers = m_power_from_list ? static_cast<double>(m_power_list.size()) : At(kPowerPoints);
  plan.points = static_cast<std::uint64_t>(std::max({frequencies, powers, 1.0}));
  plan.dwell_ns = static_cast<std::uint64_t>(At(kDwell));
  switch (static_cast<int>(At(kSyncIn))) {
    case kInputExternal:
    case kInputBus:
      plan.trigger = RunPlan::Trigger::kPass;
      break;
    case kInputStep:
    case kInputStepForm:
      plan.trigger = RunPlan::Trigger::kPoint;
      break;
    default:
      break;
  }
  plan.rising = At(kSyncInSlope) == 0;
  return plan;
}

Bytes GeneratorModel::AnswerParameter(View request, const Head& head) {
  if (head.body_length < 2) return MakeReply(request, SK_NO_PARAMETERS, {});
  switch (ReadWord(request, kHeadSize)) {
    case P_FILE:
      return File(request, head);
    case P_FREQUENCY_LIST2:
    case P_RF_OUT_LIST2:
    case P_RF_OUT_LIST:
    case P_MODULATION:
      return m_profile.lists || ReadWord(request, kHeadSize) == P_MODULATION
                 ? AnswerList(request, head)
                 : RefuseUnknown(request, m_profile.refusals.lists);
    default:
      return Record(request, head);
  }
}

Bytes GeneratorModel::Record(View request, const Head& head) {
  const std::uint16_t parameter = ReadWord(request, kHeadSize);
  const Form* form = FindForm(parameter, head.format, CarriedValues(head));
  if (form == nullptr) {
    const EStatus status = KnowsParameter(parameter, m_profile) ? SK_PARAMETER_INCORRECT : SK_UNKNOWN_PARAMETER;
    return RefuseUnknown(request, status);
  }
  if (!form->known(m_profile)) return Refuse(request, head, *form);
  if (head.command == SK_GET) return MakeReply(request, QueryStatus(parameter), Encode(*form));
  if (parameter == P_RF_BUTTON) return RefuseUnknown(request, SK_PARAMETER_INCORRECT);
  const Bytes body = Corrected(request.subspan(kHeadSize), *form);
  Store(body, *form);
  return MakeReply(request, TakenStatus(request, body), body);
}

Bytes GeneratorModel::Refuse(View request, const Head& head, const Form& form) {
  std::int16_t status = SK_PARAMETER_INCORRECT;
  if (form.refusal != nullptr) status = m_profile.refusals.*form.refusal;
  const Form* part = status == SK_PARAMETER_IGNORED ? KnownPart(form, m_profile) : nullptr;
  const Bytes corrected = Corrected(request.subspan(kHeadSize), form);
  if (part != nullptr && head.command == SK_SET) Store(corrected, *part);
  if (m_profile.refusal_body != RefusalBody::kLimits) return RefuseUnknown(request, status);
  if (head.command == SK_SET) return MakeReply(request, status, corrected);
  // A query gets the values that exist, so fewer than it asked for.
  if (part == nullptr) return MakeReply(request, status, {});
  Bytes reply = MakeReply(request, status, Encode(*part));
  reply[kCountAt] = static_cast<std::uint8_t>(part->Count());
  return reply;
}

Bytes GeneratorModel::RefuseUnknown(View request, std::int16_t status) const {
  const bool with_body = m_profile.refusal_body != RefusalBody::kNone;
  return MakeReply(request, status, with_body ? request.subspan(kHeadSize) : View{});
}

std::int16_t GeneratorModel::QueryStatus(std::uint16_t parameter) const {
  if (parameter == P_FREQUENCY && !m_states.pll) return SK_LO1_NO_PLL;
  if (parameter == P_FREQUENCY && !m_states.reference) return SK_EXTREF_NO_PLL;
  if ((parameter == P_RF_OUT || parameter == P_RF_OUT2) && !m_states.level) return SK_UNLEVEL;
  return SK_NO_ERROR;
}

/// The body as the instrument takes it: the same form, each value clamped and rounded.
Bytes GeneratorModel::Corrected(View body, const Form& form) const {
  Bytes corrected(body.begin(), body.end());
  for (int i = 0; i < form.Count(); ++i) {
    const SlotRule rule = RuleOf(form.slots[static_cast<std::size_t>(i)], m_profile.limits);
    double value = std::clamp(Decode(body, form, i, m_profile.limits), rule.low, rule.high);
    if (rule.quantum > 0) value = std::clamp(std::round(value / rule.quantum) * rule.quantum, rule.low, rule.high);
    const std::size_t offset = ValueAt(i, form.format);
    WriteInteger(corrected, offset, form.format.size, ToRaw(value, form.format));
  }
  return corrected;
}

void GeneratorModel::Store(View corrected, const Form& form) {
  for (int i = 0; i < form.Count(); ++i)
    At(form.slots[static_cast<std::size_t>(i)]) = Decode(corrected, form, i, m_profile.limits);
  Complete(form);
}

/// Fills in what a shorter form leaves out: a single value is a sweep of one point; a sweep without a stop value ends
/// where its steps end.
void GeneratorModel::Complete(const Form& form) {
  const bool frequency = form.parameter == P_FREQUENCY;
  if (!frequency && form.parameter != P_RF_OUT && form.parameter != P_RF_OUT2) return;
  const Slot start = frequency ? kFrequency : kPower;
  bool has_points = false;
  bool has_stop = false;
  for (const Slot slot : form.slots) {
    has_points = has_points || slot == start + 1;
    has_stop = has_stop || slot == start + 3;
  }
  if (!has_points) {
    At(start + 1) = 1;
    At(start + 2) = 0;
  }
  if (!has_stop) At(start + 3) = At(start) + (At(start + 1) - 1) * At(start + 2);
  (frequency ? m_frequency_from_list : m_power_from_list) = false;
}

Bytes GeneratorModel::Encode(const Form& form) const {
  Bytes body(ValueAt(form.Count(), form.format));
  WriteWord(body, 0, form.parameter);
  for (int i = 0; i < form.Count(); ++i) {
    const Slot slot = form.slots[static_cast<std::size_t>(i)];
    const double value = slot == kButton ? static_cast<double>(m_states.button) : At(slot);
    WriteInteger(body, ValueAt(i, form.format), form.format.size, ToRaw(value, form.format));
  }
  return body;
}

/// Body of a request: parameter id, offset, wanted count, name with its zero. The reply has the delivered count in the
/// place of the wanted one, and the data after the name.
Bytes GeneratorModel::File(View request, const Head& head) const {
  constexpr std::size_t kName = 10;
  const View body = request.subspan(kHeadSize);
  if (head.command != SK_GET || body.size() < kName + 1) return MakeReply(request, SK_SMALL_SIZE, {});
  const std::string* content = nullptr;
  std::string_view name = "\\fram\\type.txt";
  if (SameName(body, kName, name)) content = &m_model;
  if (content == nullptr) {
    name = "\\fram\\serial.txt";
    if (SameName(body, kName, name)) content = &m_serial;
  }
  if (content == nullptr || !m_has_files) return RefuseUnknown(request, SKAPI_FILE_NOTFOUND);
  const auto offset = static_cast<std::size_t>(ReadInteger(body, 2, 4, false));
  const auto wanted = static_cast<std::size_t>(ReadInteger(body, 6, 4, false));
  const std::size_t begin = std::min(offset, content->size());
  const std::string data = content->substr(begin, std::min<std::size_t>(wanted, 64000));
  Bytes reply_body(body.begin(), body.begin() + static_cast<long>(kName + name.size() + 1));
  WriteInteger(reply_body, 6, 4, static_cast<std::int64_t>(data.size()));
  reply_body.insert(reply_body.end(), data.begin(), data.end());
  const EStatus status = data.empty() ? SK_PARAMETER_CORRECTED : SK_NO_ERROR;
  return MakeReply(request, status, reply_body);
}

std::vector<double> GeneratorModel::Values(std::uint16_t parameter) const {
  if (parameter == P_FREQUENCY_LIST2) return m_frequency_list;
  if (parameter == P_RF_OUT_LIST2 || parameter == P_RF_OUT_LIST) return m_power_list;
  std::vector<double> values;
  if (parameter == P_MODULATION) {
    values.assign(m_modulation.begin(), m_modulation.end());
    for (const Pulse& pulse : m_pulses) values.insert(values.end(), {pulse.width, pulse.gap});
    return values;
  }
  if (parameter == P_RF_BUTTON) return {static_cast<double>(m_states.button)};
  const Form* longest = nullptr;
  for (const Form& form : Forms()) {
    if (form.parameter == parameter && (longest == nullptr || form.Count() > longest->Count())) longest = &form;
  }
  for (int i = 0; longest != nullptr && i < longest->Count(); ++i)
    values.push_back(At(longest->slots[static_cast<std::size_t>(i)]));
  return values;
}

}  // namespace sim
