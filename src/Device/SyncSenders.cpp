// The records of the synchronisation: one channel in five values for older firmware, two channels in ten for newer. A
// record of ten values is read first and written back with one channel changed, so a write to one channel never changes
// the other. Nothing here stops or restarts a run.
#include <array>

#include "src/Device.h"
#include "src/Device/Fields.h"

namespace {

constexpr ValueFormat kByte{1, 0};
constexpr unsigned int kChannelFields = 5;
constexpr unsigned int kBothChannels = 2 * kChannelFields;
constexpr int kAllBits = -1;
constexpr int kLowByte = 0xFF;

/// The five values of one channel, which the reply overwrites.
struct SyncRecord {
  int* code;
  bool* flag;
  int* second;
  int* third;
  int* fourth;
  int second_mask;  ///< the bits of the second value's reply that count

  std::array<double, kChannelFields> Fields() const { return ToFields(*code, *flag, *second, *third, *fourth); }

  /// Takes the five values of a reply that start at value `base`.
  void Take(Exchange& exchange, unsigned int base) const {
    if (!exchange.DemandValues(base + kChannelFields)) return;
    TakeField(exchange.Value(base), *code);
    TakeField(exchange.Value(base + 1), *flag);
    *second = TruncToInt32(exchange.Value(base + 2)) & second_mask;
    TakeField(exchange.Value(base + 3), *third);
    TakeField(exchange.Value(base + 4), *fourth);
  }
};

int SendFive(Link& link, EParameter parameter, const SyncRecord& record) {
  Exchange exchange(parameter, kByte, record.Fields());
  exchange.Run(link);
  record.Take(exchange, 0);
  return exchange.Status();
}

int SendTen(Link& link, EParameter parameter, const SyncRecord& record, int channel) {
  Exchange question = Exchange::Query(parameter, kByte, kBothChannels);
  question.Run(link);
  if (!question.DemandValues(kBothChannels)) return question.Status();

  const unsigned int base = channel == 0 ? 0 : kChannelFields;
  const unsigned int other = kChannelFields - base;
  std::array<double, kBothChannels> fields{};
  const auto own = record.Fields();
  for (unsigned int i = 0; i < kChannelFields; ++i) {
    const double kept = question.Value(other + i);
    fields[base + i] = own[i];
    fields[other + i] = i == 1 ? static_cast<double>(kept != 0.0) : static_cast<double>(TruncToInt32(kept));
  }
  Exchange exchange(parameter, kByte, fields);
  exchange.Run(link);
  record.Take(exchange, base);
  return exchange.Status();
}

}  // namespace

int CDevice::HW_set_sync_out(int* code, bool* polarity, int* duration, int* leveling, int* reserved) {
  return SendFive(m_link, P_SYNC_OUT, {code, polarity, duration, leveling, reserved, kLowByte});
}

int CDevice::HW_set_sync_in(int* code, bool* slope, int* leveling, int* reserved, int* fourth) {
  return SendFive(m_link, P_SYNC_IN, {code, slope, leveling, reserved, fourth, kAllBits});
}

int CDevice::HW_set_sync_out10p(int* code, bool* polarity, int* duration, int* leveling, int* reserved, int channel) {
  return SendTen(m_link, P_SYNC_OUT, {code, polarity, duration, leveling, reserved, kLowByte}, channel);
}

int CDevice::HW_set_sync_in10p(int* code, bool* slope, int* leveling, int* reserved, int* fourth, int channel) {
  return SendTen(m_link, P_SYNC_IN, {code, slope, leveling, reserved, fourth, kAllBits}, channel);
}

int CDevice::set_sync_out(int* code, bool* polarity, int* duration, int* leveling, int* reserved, int channel) {
  if (m_ten_value_sync) return Folded(HW_set_sync_out10p(code, polarity, duration, leveling, reserved, channel));
  // Odd, and kept: older firmware has no second channel, and setting it there is no error.
  return channel == 0 ? Folded(HW_set_sync_out(code, polarity, duration, leveling, reserved)) : 0;
}

int CDevice::set_sync_in(int* code, bool* slope, int* leveling, int* reserved, int* fourth, int channel) {
  if (m_ten_value_sync) return Folded(HW_set_sync_in10p(code, slope, leveling, reserved, fourth, channel));
  return channel == 0 ? Folded(HW_set_sync_in(code, slope, leveling, reserved, fourth)) : 0;
}

int CDevice::HW_set_sync_gen(double* width, double* gap, double* third) {
  constexpr double kNanoseconds = 1e9;
  Exchange exchange(P_GEN_SYNC, {4, 0}, {*width * kNanoseconds, *gap * kNanoseconds, *third * kNanoseconds});
  exchange.Run(m_link);
  if (exchange.DemandValues(3)) {
    *width = exchange.Value(0) / kNanoseconds;
    *gap = exchange.Value(1) / kNanoseconds;
    *third = exchange.Value(2) / kNanoseconds;
  }
  return exchange.Status();
}
