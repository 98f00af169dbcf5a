// Point lists, which arrive in chunks, and the pulses of the modulator. In these packets the count in the head is the
// number of fixed fields before the points, so the number of values follows from the length of the body.
#include <algorithm>
#include <cmath>

#include "simulator/GeneratorModel.h"

namespace sim {

using enum Slot;

struct GeneratorModel::ListForm {
  std::uint16_t parameter;
  Format format;
  int fixed;  ///< fields before index and count
  Slot point;
  int chunk;
};

namespace {

constexpr std::array kFixedSlots{kOutput, kStrategy, kAttenuation, kOutputSpare};
constexpr int kMostPulses = 10000;
constexpr int kPulseChunk = 123;

std::int64_t Field(View body, int index, Format format, bool is_signed = false) {
  const std::int64_t raw = ReadInteger(body, ValueAt(index, format), format.size, is_signed || format.fraction > 0);
  return raw >> (8 * format.fraction);
}

double CorrectPoint(View body, int index, Format format, const SlotRule& rule) {
  const double value = FromRaw(ReadInteger(body, ValueAt(index, format), format.size, true), format);
  return std::clamp(std::round(std::clamp(value, rule.low, rule.high) / rule.quantum) * rule.quantum, rule.low,
                    rule.high);
}

void PutPoint(Bytes& body, int index, Format format, double value) {
  WriteInteger(body, ValueAt(index, format), format.size, ToRaw(value, format));
}

}  // namespace

Bytes GeneratorModel::AnswerList(View request, const Head& head) {
  static constexpr std::array kLists{
      ListForm{P_FREQUENCY_LIST2, {6, 0}, 0, kFrequency, 165},
      ListForm{P_RF_OUT_LIST2, {4, 2}, 4, kPower, 245},
  };
  const std::uint16_t parameter = ReadWord(request, kHeadSize);
  if (parameter == P_MODULATION) return Modulation(request, head);
  if (parameter == P_RF_OUT_LIST) return OldPowerList(request, head);
  const ListForm& form = kLists[parameter == P_FREQUENCY_LIST2 ? 0 : 1];
  if (head.format != form.format) return RefuseUnknown(request, SK_PARAMETER_INCORRECT);
  return head.command == SK_SET ? SetList(request, head, form) : GetList(request, head, form);
}

Bytes GeneratorModel::SetList(View request, const Head& head, const ListForm& form) {
  const int carried = (head.body_length - 2) / form.format.size;
  const int first = form.fixed + 2;
  if (carried < first) return RefuseUnknown(request, SK_SMALL_SIZE);
  Bytes body(request.begin() + kHeadSize, request.end());
  const std::int64_t index = Field(body, form.fixed, form.format);
  const std::int64_t count = Field(body, form.fixed + 1, form.format);
  if (count < 0 || count > carried - first) return RefuseUnknown(request, SK_SMALL_SIZE);
  std::vector<double>& points = form.point == kPower ? m_power_list : m_frequency_list;
  const auto held = static_cast<std::int64_t>(points.size());
  if (index < 0 || index > held || static_cast<double>(index + count) > m_profile.limits.list_points)
    return RefuseUnknown(request, SK_PARAMETER_INCORRECT);

  for (int i = 0; i < form.fixed; ++i) {
    const SlotRule rule = RuleOf(kFixedSlots[static_cast<std::size_t>(i)], m_profile.limits);
    const double value = std::clamp(static_cast<double>(Field(body, i, form.format)), rule.low, rule.high);
    At(kFixedSlots[static_cast<std::size_t>(i)]) = value;
    PutPoint(body, i, form.format, value);
  }
  const SlotRule rule = RuleOf(form.point, m_profile.limits);
  points.resize(static_cast<std::size_t>(index));
  for (int i = 0; i < count; ++i) {
    PutPoint(body, first + i, form.format, CorrectPoint(body, first + i, form.format, rule));
    points.push_back(FromRaw(ReadInteger(body, ValueAt(first + i, form.format), form.format.size, true), form.format));
  }
  (form.point == kPower ? m_power_from_list : m_frequency_from_list) = true;
  return MakeReply(request, TakenStatus(request, body), body);
}

/// The points from the request's index on: as many as it asks for, or as fit.
Bytes GeneratorModel::GetList(View request, const Head& head, const ListForm& form) const {
  const std::vector<double>& points = form.point == kPower ? m_power_list : m_frequency_list;
  const View asked = request.subspan(kHeadSize);
  const bool named = head.body_length >= ValueAt(form.fixed + 2, form.format);
  const auto held = static_cast<std::int64_t>(points.size());
  const std::int64_t index = named ? std::clamp<std::int64_t>(Field(asked, form.fixed, form.format), 0, held) : 0;
  const std::int64_t wanted = named ? Field(asked, form.fixed + 1, form.format) : 0;
  const auto count =
      static_cast<int>(std::min<std::int64_t>({wanted > 0 ? wanted : form.chunk, form.chunk, held - index}));
  Bytes body(ValueAt(form.fixed + 2 + count, form.format));
  WriteWord(body, 0, form.parameter);
  for (int i = 0; i < form.fixed; ++i) PutPoint(body, i, form.format, At(kFixedSlots[static_cast<std::size_t>(i)]));
  PutPoint(body, form.fixed, form.format, static_cast<double>(index));
  PutPoint(body, form.fixed + 1, form.format, count);
  for (int i = 0; i < count; ++i)
    PutPoint(body, form.fixed + 2 + i, form.format, points[static_cast<std::size_t>(index + i)]);
  return MakeReply(request, SK_NO_ERROR, body);
}

/// The older list: all points in one packet, no index.
Bytes GeneratorModel::OldPowerList(View request, const Head& head) {
  constexpr Format kFormat{2, 1};
  if (head.format != kFormat) return RefuseUnknown(request, SK_PARAMETER_INCORRECT);
  if (head.command == SK_GET) {
    const int count = std::min(static_cast<int>(m_power_list.size()), 255);
    Bytes body(ValueAt(count, kFormat));
    WriteWord(body, 0, P_RF_OUT_LIST);
    for (int i = 0; i < count; ++i) PutPoint(body, i, kFormat, m_power_list[static_cast<std::size_t>(i)]);
    Bytes reply = MakeReply(request, SK_NO_ERROR, body);
    reply[kCountAt] = static_cast<std::uint8_t>(count);
    return reply;
  }
  Bytes body(request.begin() + kHeadSize, request.end());
  const int count = CarriedValues(head);
  if (count > m_profile.limits.list_points) return RefuseUnknown(request, SK_PARAMETER_INCORRECT);
  m_power_list.clear();
  for (int i = 0; i < count; ++i) {
    PutPoint(body, i, kFormat, CorrectPoint(body, i, kFormat, RuleOf(kPower, m_profile.limits)));
    m_power_list.push_back(FromRaw(ReadInteger(body, ValueAt(i, kFormat), kFormat.size, true), kFormat));
  }
  m_power_from_list = true;
  return MakeReply(request, TakenStatus(request, body), body);
}

Bytes GeneratorModel::Modulation(View request, const Head& head) {
  constexpr Format kFormat{4, 0};
  const bool with_polarity = head.count == 3;
  if (head.format != kFormat || (!with_polarity && head.count != 2))
    return RefuseUnknown(request, SK_PARAMETER_INCORRECT);
  if (head.command == SK_GET) return GetModulation(request, head, with_polarity);
  const int fixed = with_polarity ? 5 : 4;
  const int carried = (head.body_length - 2) / kFormat.size;
  if (carried < fixed) return RefuseUnknown(request, SK_SMALL_SIZE);
  Bytes body(request.begin() + kHeadSize, request.end());
  const std::int64_t first = Field(body, fixed - 2, kFormat);
  const std::int64_t count = Field(body, fixed - 1, kFormat);
  if (count > (carried - fixed) / 2) return RefuseUnknown(request, SK_SMALL_SIZE);
  if (first > static_cast<std::int64_t>(m_pulses.size()) || first + count > kMostPulses)
    return RefuseUnknown(request, SK_PARAMETER_INCORRECT);

  const bool unknown = with_polarity && !m_profile.polarity_field;
  if (unknown && m_profile.refusals.polarity != SK_PARAMETER_IGNORED)
    return RefuseUnknown(request, m_profile.refusals.polarity);
  constexpr std::array kHighest{2.0, 3.0, 1.0};
  for (int i = 0; i < fixed - 2; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const double value = std::min(static_cast<double>(Field(body, i, kFormat)), kHighest[at]);
    if (i < 2 || !unknown) m_modulation[at] = value;
    PutPoint(body, i, kFormat, value);
  }
  m_pulses.resize(static_cast<std::size_t>(first));
  for (int i = 0; i < count; ++i) {
    const auto width = static_cast<double>(Field(body, fixed + 2 * i, kFormat));
    m_pulses.push_back({width, static_cast<double>(Field(body, fixed + 2 * i + 1, kFormat))});
  }
  if (!unknown) return MakeReply(request, TakenStatus(request, body), body);
  const bool with_body = m_profile.refusal_body != RefusalBody::kNone;
  return MakeReply(request, m_profile.refusals.polarity, with_body ? View(body) : View{});
}

Bytes GeneratorModel::GetModulation(View request, const Head& head, bool with_polarity) const {
  constexpr Format kFormat{4, 0};
  const int fixed = with_polarity ? 5 : 4;
  const bool named = head.body_length >= ValueAt(fixed, kFormat);
  const auto held = static_cast<std::int64_t>(m_pulses.size());
  const std::int64_t first = named ? std::min(Field(request.subspan(kHeadSize), fixed - 2, kFormat), held) : 0;
  const auto count = static_cast<int>(std::min<std::int64_t>(kPulseChunk, held - first));
  Bytes body(ValueAt(fixed + 2 * count, kFormat));
  WriteWord(body, 0, P_MODULATION);
  for (int i = 0; i < fixed - 2; ++i) PutPoint(body, i, kFormat, m_modulation[static_cast<std::size_t>(i)]);
  PutPoint(body, fixed - 2, kFormat, static_cast<double>(first));
  PutPoint(body, fixed - 1, kFormat, count);
  for (int i = 0; i < count; ++i) {
    const Pulse& pulse = m_pulses[static_cast<std::size_t>(first + i)];
    PutPoint(body, fixed + 2 * i, kFormat, pulse.width);
    PutPoint(body, fixed + 2 * i + 1, kFormat, pulse.gap);
  }
  const bool unknown = with_polarity && !m_profile.polarity_field;
  if (unknown) return MakeReply(request, m_profile.refusals.polarity, body);
  return MakeReply(request, SK_NO_ERROR, body);
}

}  // namespace sim
