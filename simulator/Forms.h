// The packet forms of all parameters that carry a fixed record of values: which value is in which place, in what
// format, which firmware knows the form, and what other firmware answers. Data only.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "simulator/Profile.h"
#include "simulator/Wire.h"

namespace sim {

/// What the instrument holds, one number each.
enum class Slot {
  kNone,
  kMode,
  kFrequency,  ///< CW, or the start of a sweep
  kFrequencyPoints,
  kFrequencyStep,
  kFrequencyStop,
  kOutput,
  kStrategy,
  kAttenuation,
  kOutputSpare,
  kPower,  ///< CW, or the start of a sweep
  kPowerPoints,
  kPowerStep,
  kPowerStop,
  kSyncIn,  ///< two channels of five for the input, then two for the output
  kSyncInSlope,
  kSyncInLevelling,
  kSyncInReserved,
  kSyncInLast,
  kSyncInB,
  kSyncInBSlope,
  kSyncInBLevelling,
  kSyncInBReserved,
  kSyncInBLast,
  kSyncOut,
  kSyncOutPolarity,
  kSyncOutDuration,
  kSyncOutLevelling,
  kSyncOutReserved,
  kSyncOutB,
  kSyncOutBPolarity,
  kSyncOutBDuration,
  kSyncOutBLevelling,
  kSyncOutBReserved,
  kGeneratorWidth,
  kGeneratorGap,
  kGeneratorThird,
  kIntervalFirst,
  kDwell,  ///< nanoseconds
  kReference,
  kReferenceFrequency,
  kPhase,
  kButton,
  kCount,
};

constexpr Slot operator+(Slot slot, int offset) {
  return static_cast<Slot>(static_cast<int>(slot) + offset);
}

struct Form {
  std::uint16_t parameter = 0;
  Format format;
  std::array<Slot, 10> slots{};  ///< ends at the first kNone
  bool (*known)(const Profile&) = nullptr;
  std::int16_t Refusals::*refusal = nullptr;

  constexpr int Count() const {
    int count = 0;
    while (count < 10 && slots[static_cast<std::size_t>(count)] != Slot::kNone) ++count;
    return count;
  }
};

std::span<const Form> Forms();

/// The form of a request, whether this firmware knows it or not; null if no firmware does.
const Form* FindForm(std::uint16_t parameter, Format format, int count);

/// The longest form of the same parameter and format that the firmware knows and that has fewer values; null if none.
const Form* KnownPart(const Form& form, const Profile& profile);

/// Does any form of the parameter exist for this firmware?
bool KnowsParameter(std::uint16_t parameter, const Profile& profile);

/// Range of a slot, and whether its integer is read with a sign. A quantum of 0: the value is not rounded.
struct SlotRule {
  double low = 0;
  double high = 0;
  double quantum = 0;
  bool is_signed = false;
};
SlotRule RuleOf(Slot slot, const Limits& limits);

}  // namespace sim
