// Sends lists to the instrument. A list does not fit into one packet, so it goes out in chunks, and the points that the
// instrument took come back into the same places of the model. A refused chunk does not end the transfer; its status is
// that of the last chunk. A lost link ends it; what was sent stays in the instrument.
#include <algorithm>
#include <span>
#include <vector>

#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

constexpr int kDefaultListPoints = 101;

/// The form of a list on the wire.
struct ListForm {
  EParameter parameter;
  ValueFormat format;
  std::size_t chunk_points;
  unsigned char head_count;  ///< in the head, in place of the count of values
};

constexpr ListForm kFrequencyForm{P_FREQUENCY_LIST2, {6, 0}, 165, 0};
constexpr ListForm kPowerForm{P_RF_OUT_LIST2, {4, 2}, 245, 4};

int PointsCount(ETDDefaultType def, std::size_t size, std::uint32_t maximum) {
  switch (def) {
    case kDefaultMinimum:
      return 0;
    case kDefaultMaximum:
      return static_cast<int>(maximum);
    case kDefaultDefault:
      return kDefaultListPoints;
    default:
      return static_cast<int>(size);
  }
}

}  // namespace

int CDevice::CheckListSize(EMode frequency_mode, EMode power_mode) const {
  const std::size_t frequencies = m_frequency_list.size();
  const std::size_t powers = m_power_list.size();
  const std::size_t points = m_settings.sweep_points;
  bool fits = true;
  if (frequency_mode == kModeList && power_mode == kModeSweep) fits = frequencies == points;
  if (frequency_mode == kModeSweep && power_mode == kModeList) fits = powers == points;
  if (frequency_mode == kModeList && power_mode == kModeList) {
    fits = frequencies == powers || frequencies == 1 || powers == 1;
  }
  return fits ? 0 : scpi_error::kListsNotSameLength;
}

int CDevice::GetFreqListPointsCnt(ETDDefaultType def) const {
  return PointsCount(def, m_frequency_list.size(), m_limits.max_list_points);
}

int CDevice::GetPwrListPointsCnt(ETDDefaultType def) const {
  return PointsCount(def, m_power_list.size(), m_limits.max_list_points);
}

int CDevice::HW_SendList(ESweepListType type) {
  const SSweepParameters& sweep = m_settings.sweep;
  const bool is_power = type == kPowerList;
  if (is_power && sweep.power_mode != kModeList) return 0;
  // Odd, and kept: with logarithmic spacing the list is sent in every mode. A logarithmic sweep is sent this way.
  if (!is_power && sweep.frequency_mode != kModeList && sweep.spacing == kSpacingLinear) return 0;
  bool replied = true;
  const int status = WithRunStopped(Restart::kAfterReply, [&] {
    const Sent sent = SendChunks(type);
    replied = sent.replied;
    return sent;
  });
  if (replied) UpdateTimeout();
  return status;
}

Sent CDevice::SendChunks(ESweepListType type) {
  const bool is_power = type == kPowerList;
  const ListForm& form = is_power ? kPowerForm : kFrequencyForm;
  std::vector<double>& list = is_power ? m_power_list : m_frequency_list;
  Sent last = 0;
  for (std::size_t first = 0; first < list.size(); first += form.chunk_points) {
    const std::span points = std::span(list).subspan(first, std::min(form.chunk_points, list.size() - first));
    std::vector<double> fields;
    if (is_power) {
      fields = {static_cast<double>(m_settings.output_state), static_cast<double>(m_settings.attenuator_strategy),
                static_cast<double>(m_settings.attenuation), 0.0};
    }
    fields.push_back(static_cast<double>(first));
    fields.push_back(static_cast<double>(points.size()));
    const auto before_points = static_cast<unsigned int>(fields.size());
    fields.insert(fields.end(), points.begin(), points.end());

    Exchange exchange(form.parameter, form.format, fields);
    exchange.SetHeadCount(form.head_count);
    if (!exchange.Run(m_link)) return exchange.Result();
    if (exchange.DemandValues(static_cast<unsigned int>(fields.size()))) {
      unsigned int index = before_points;
      for (double& point : points) point = exchange.Value(index++);
    }
    last = exchange.Result();
  }
  return last;
}

long CDevice::set_rf_out_list(double* powers, unsigned int count) {
  CDevParameter packet(P_RF_OUT_LIST, count, 2, 1, SK_SET);
  for (unsigned int i = 0; i < count; ++i) packet.SetValue(i, powers[i]);
  return ProcessParameter(&packet);
}
