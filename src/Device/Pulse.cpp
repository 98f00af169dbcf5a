// Pulse modulation. While modulation is off, no setting is sent: it waits in the model until modulation is switched on.
// Switching off is always sent. While modulation is on, every setting switches it on again with the new value.
//
// Odd, and kept: widths and gaps are sent in seconds without fraction, so a microsecond arrives as 0 and comes back
// into the model as 0. Trains can be stored and read back (all their queries answer the off-times), but not started.
#include <algorithm>
#include <span>
#include <vector>

#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

/// Modulation modes on the wire.
enum EWireMode : int { kWireOff = 0, kWirePulse = 2 };
/// Sources on the wire.
constexpr double kWireNone = 0.0;
constexpr double kWireExternal = 2.0;
constexpr double kWireInternal = 3.0;

constexpr std::size_t kMostPulses = 123;  ///< in one packet

double WireSource(int source) {
  if (source == kModulationInternal) return kWireInternal;
  return source == kModulationExternal ? kWireExternal : kWireNone;
}

std::vector<double> Train(const double* values, int count) {
  return values != nullptr && count > 0 ? std::vector<double>(values, values + count) : std::vector<double>();
}

int CopyTrain(const std::vector<double>& train, double*& values, int& count) {
  values = new double[train.size()];
  std::ranges::copy(train, values);
  count = static_cast<int>(train.size());
  return 0;
}

double PickLimit(double plain, ETDDefaultType def, double minimum, double maximum) {
  if (def == kDefaultMinimum) return minimum;
  return def == kDefaultMaximum ? maximum : plain;
}

}  // namespace

int CDevice::HW_SetModulationPulse(int mode, int& source, double* widths, double* gaps, int count, bool polarity) {
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    const auto pulses = static_cast<std::size_t>(std::max(0, count));
    double source_taken = kWireNone;
    const Sent sent = SendPulses(mode, source, {widths, pulses}, {gaps, pulses}, polarity, source_taken);
    if (!sent.replied || IsFailure(sent.status)) return sent;
    if (source_taken == kWireExternal) source = kModulationExternal;
    if (source_taken == kWireInternal) source = kModulationInternal;
    return Sent(0);
  });
}

Sent CDevice::SendPulses(int mode, int source, std::span<double> widths, std::span<double> gaps, bool polarity,
                         double& source_taken) {
  for (std::size_t first = 0; first < widths.size(); first += kMostPulses) {
    const std::size_t end = std::min(first + kMostPulses, widths.size());
    // The reply has the layout of the packet, also when this reply says that there is no polarity field.
    const bool has_polarity = m_modulation_has_polarity;
    std::vector<double> fields = {static_cast<double>(mode), WireSource(source)};
    if (has_polarity) fields.push_back(polarity ? 1.0 : 0.0);
    fields.push_back(static_cast<double>(first));
    fields.push_back(static_cast<double>(end - first));
    const auto before_pulses = static_cast<unsigned int>(fields.size());
    for (std::size_t i = first; i < end; ++i) {
      fields.push_back(widths[i]);
      fields.push_back(gaps[i]);
    }

    Exchange exchange(P_MODULATION, {4, 0}, fields);
    exchange.SetHeadCount(has_polarity ? 3 : 2);
    if (!exchange.Run(m_link)) return exchange.Result();
    const bool carries = exchange.DemandValues(static_cast<unsigned int>(fields.size()));
    const int status = exchange.Status();
    if (IsFailure(status)) return status;
    if (status == SK_PARAMETER_IGNORED) m_modulation_has_polarity = false;
    if (!carries) continue;
    source_taken = exchange.Value(1);
    unsigned int index = before_pulses;
    for (std::size_t i = first; i < end; ++i) {
      widths[i] = exchange.Value(index++);
      gaps[i] = exchange.Value(index++);
    }
  }
  return 0;
}

int CDevice::PulseGeneratorConfigure(double& width) {
  if (width < 0.0) return scpi_error::kIllegalParameterValue;
  m_settings.pulse_width = width;
  double gap = m_settings.pulse_period - width;
  if (gap < 0.0) gap = 0.0;
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    const int status = HW_SetModulationPulse(kWirePulse, m_settings.modulation_source, &m_settings.pulse_width, &gap, 1,
                                             m_settings.modulation_polarity);
    if (IsFailure(status)) return status;
    width = m_settings.pulse_width;
    m_settings.pulse_period = m_settings.pulse_width + gap;
    return status;
  });
}

int CDevice::PacketGeneratorConfigure() {
  // Odd, and kept: the count of pulses stays 0, so this always refuses and no train ever starts.
  if (m_settings.train_pulse_count == 0) return scpi_error::kIllegalParameterValue;
  ExpandTrain();
  const int count = std::min(m_settings.train_pulse_count, static_cast<int>(m_settings.train_widths.size()));
  return WithRunStopped(Restart::kUnlessRefused, [&] {
    return HW_SetModulationPulse(kWirePulse, m_settings.modulation_source, m_settings.train_widths.data(),
                                 m_settings.train_gaps.data(), count, m_settings.modulation_polarity);
  });
}

void CDevice::ExpandTrain() {
  m_settings.train_widths.clear();
  m_settings.train_gaps.clear();
  // The first repeat belongs to the second pulse; a repeat without a pulse of its own adds nothing.
  std::size_t pulse = 0;
  for (const double repeats : m_train_repeats) {
    ++pulse;
    const int times = TruncToInt32(repeats);
    if (times <= 0 || pulse >= m_train_on_times.size() || pulse >= m_train_off_times.size()) continue;
    m_settings.train_widths.insert(m_settings.train_widths.end(), static_cast<std::size_t>(times),
                                   m_train_on_times[pulse]);
    m_settings.train_gaps.insert(m_settings.train_gaps.end(), static_cast<std::size_t>(times),
                                 m_train_off_times[pulse]);
  }
}

int CDevice::SetModulationEnabled(bool on) {
  m_settings.modulation_enabled = on;
  const int source = m_settings.modulation_source;
  if (on && source == kModulationInternal) {
    switch (m_settings.internal_modulation_type) {
      case kPulseTrain:
        return Folded(PacketGeneratorConfigure());
      case kSquare: {
        double half_period = m_settings.pulse_period / 2.0;
        return Folded(PulseGeneratorConfigure(half_period));
      }
      default:
        return Folded(PulseGeneratorConfigure(m_settings.pulse_width));
    }
  }
  int sent_source = source;
  double width = 0.0;
  double gap = 0.0;
  const int mode = on && source == kModulationExternal ? kWirePulse : kWireOff;
  return Folded(WithRunStopped(Restart::kUnlessRefused, [&] {
    return HW_SetModulationPulse(mode, sent_source, &width, &gap, 1, m_settings.modulation_polarity);
  }));
}

int CDevice::ReapplyModulation() {
  return m_settings.modulation_enabled ? SetModulationEnabled(true) : 0;
}

int CDevice::GetModulationEnabled(bool& on) const {
  if (!m_settings.modulation_available) return scpi_error::kParameterNotAllowed;
  on = m_settings.modulation_enabled;
  return 0;
}

int CDevice::SetModulationSource(int source) {
  m_settings.modulation_source = source;
  return Folded(ReapplyModulation());
}

int CDevice::GetModulationSource(int& source) const {
  source = m_settings.modulation_source;
  return 0;
}

int CDevice::SetIntModulationType(int type) {
  m_settings.internal_modulation_type = type;
  return ReapplyModulation();
}

int CDevice::GetIntModulationType(int& type) const {
  type = m_settings.internal_modulation_type;
  return 0;
}

int CDevice::SetModulationPolarity(bool inverted) {
  m_settings.modulation_polarity = inverted;
  return Folded(ReapplyModulation());
}

int CDevice::GetModulationPolarity(bool& inverted) const {
  if (!m_settings.modulation_available) return scpi_error::kParameterNotAllowed;
  inverted = m_settings.modulation_polarity;
  return 0;
}

int CDevice::SetPulseGeneratorWidth(double width, ETDDefaultType def) {
  if (width < 0.0) return scpi_error::kIllegalParameterValue;
  m_settings.pulse_width = PickLimit(width, def, m_limits.min_pulse_width, m_limits.max_pulse_width);
  return Folded(ReapplyModulation());
}

int CDevice::GetPulseGeneratorWidth(double& width, ETDDefaultType def) const {
  width = PickLimit(m_settings.pulse_width, def, m_limits.min_pulse_width, m_limits.max_pulse_width);
  return 0;
}

int CDevice::SetPulseGeneratorPeriod(double period, ETDDefaultType def) {
  if (period < 0.0) return scpi_error::kIllegalParameterValue;
  m_settings.pulse_period = PickLimit(period, def, m_limits.min_pulse_period, m_limits.max_pulse_period);
  return Folded(ReapplyModulation());
}

int CDevice::GetPulseGeneratorPeriod(double& period, ETDDefaultType def) const {
  period = PickLimit(m_settings.pulse_period, def, m_limits.min_pulse_period, m_limits.max_pulse_period);
  return 0;
}

int CDevice::SetPulmTrainOnArray(double* values, int count) {
  m_train_on_times = Train(values, count);
  return ReapplyModulation();
}

int CDevice::SetPulmTrainOffArray(double* values, int count) {
  m_train_off_times = Train(values, count);
  return ReapplyModulation();
}

int CDevice::SetPulmTrainRepArray(double* values, int count) {
  m_train_repeats = Train(values, count);
  return ReapplyModulation();
}

int CDevice::GetPulmTrainOnArray(double*& values, int& count) const {
  return GetPulmTrainRepArray(values, count);
}

int CDevice::GetPulmTrainOffArray(double*& values, int& count) const {
  return CopyTrain(m_train_off_times, values, count);
}

int CDevice::GetPulmTrainRepArray(double*& values, int& count) const {
  delete[] values;
  return CopyTrain(m_train_off_times, values, count);
}
