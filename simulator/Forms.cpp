// The packet forms, one row each, and the ranges of their values.
#include "simulator/Forms.h"

namespace sim {
namespace {

using enum Slot;

constexpr Format k10{1, 0}, k20{2, 0}, k21{2, 1}, k40{4, 0}, k42{4, 2}, k60{6, 0}, k62{6, 2};

bool Always(const Profile&) {
  return true;
}
bool Extended(const Profile& profile) {
  return profile.frequency == FrequencyForm::kExtended;
}
bool Wide(const Profile& profile) {
  return profile.frequency != FrequencyForm::kNarrow;
}
bool TenValues(const Profile& profile) {
  return profile.two_sync_channels;
}
bool FourByteOutput(const Profile& profile) {
  return profile.rf_generation >= 1;
}
bool SecondOutput(const Profile& profile) {
  return profile.rf_generation >= 2;
}
bool SixByteOutput(const Profile& profile) {
  return profile.rf_generation == 3 || profile.rf_generation == 5;
}
bool FourByteStop(const Profile& profile) {
  return profile.rf_generation >= 4;
}
bool SixByteStop(const Profile& profile) {
  return profile.rf_generation == 5;
}

constexpr auto kNoRefusal = static_cast<std::int16_t Refusals::*>(nullptr);

// clang-format off
constexpr std::array kForms{
    Form{P_MODE,        k20, {kMode},                                                          Always, kNoRefusal},

    Form{P_FREQUENCY,   k60, {kFrequency},                                                     Always, kNoRefusal},
    Form{P_FREQUENCY,   k40, {kFrequency, kFrequencyPoints, kFrequencyStep},                   Always, kNoRefusal},
    Form{P_FREQUENCY,   k60, {kFrequency, kFrequencyPoints, kFrequencyStep},                   Wide, &Refusals::six_bytes},
    Form{P_FREQUENCY,   k60, {kFrequency, kFrequencyPoints, kFrequencyStep, kFrequencyStop},   Extended, &Refusals::four_fields},

    Form{P_RF_OUT,      k21, {kOutput, kPower},                                                Always, kNoRefusal},
    Form{P_RF_OUT,      k42, {kOutput, kPower},                                                FourByteOutput, &Refusals::output_format},
    Form{P_RF_OUT,      k42, {kOutput, kPower, kPowerPoints, kPowerStep},                      FourByteOutput, &Refusals::output_format},
    Form{P_RF_OUT2,     k42, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower},         SecondOutput, &Refusals::output_format},
    Form{P_RF_OUT2,     k42, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower, kPowerPoints, kPowerStep},
                                                                                               SecondOutput, &Refusals::output_format},
    Form{P_RF_OUT2,     k42, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower, kPowerPoints, kPowerStep, kPowerStop},
                                                                                               FourByteStop, &Refusals::output_values},
    Form{P_RF_OUT2,     k62, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower},         SixByteOutput, &Refusals::output_format},
    Form{P_RF_OUT2,     k62, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower, kPowerPoints, kPowerStep},
                                                                                               SixByteOutput, &Refusals::output_format},
    Form{P_RF_OUT2,     k62, {kOutput, kStrategy, kAttenuation, kOutputSpare, kPower, kPowerPoints, kPowerStep, kPowerStop},
                                                                                               SixByteStop, &Refusals::output_values},

    Form{P_SYNC_IN,     k10, {kSyncIn, kSyncInSlope, kSyncInLevelling, kSyncInReserved, kSyncInLast}, Always, kNoRefusal},
    Form{P_SYNC_IN,     k10, {kSyncIn, kSyncInSlope, kSyncInLevelling, kSyncInReserved, kSyncInLast,
                              kSyncInB, kSyncInBSlope, kSyncInBLevelling, kSyncInBReserved, kSyncInBLast},
                                                                                               TenValues, &Refusals::ten_values},
    Form{P_SYNC_OUT,    k10, {kSyncOut, kSyncOutPolarity, kSyncOutDuration, kSyncOutLevelling, kSyncOutReserved},
                                                                                               Always, kNoRefusal},
    Form{P_SYNC_OUT,    k10, {kSyncOut, kSyncOutPolarity, kSyncOutDuration, kSyncOutLevelling, kSyncOutReserved,
                              kSyncOutB, kSyncOutBPolarity, kSyncOutBDuration, kSyncOutBLevelling, kSyncOutBReserved},
                                                                                               TenValues, &Refusals::ten_values},
    Form{P_GEN_SYNC,    k40, {kGeneratorWidth, kGeneratorGap, kGeneratorThird},                Always, kNoRefusal},

    Form{P_INTERVAL,    k40, {kIntervalFirst, kDwell},                                         Always, kNoRefusal},
    Form{P_EXT_REF_GEN, k10, {kReference},                                                     Always, kNoRefusal},
    Form{P_EXT_REF_GEN, k40, {kReference, kReferenceFrequency},                                Always, kNoRefusal},
    Form{P_PHASE,       k42, {kPhase},                                                         Always, kNoRefusal},
    Form{P_RF_BUTTON,   k20, {kButton},                                                        Always, kNoRefusal},
};
// clang-format on

}  // namespace

std::span<const Form> Forms() {
  return kForms;
}

const Form* FindForm(std::uint16_t parameter, Format format, int count) {
  for (const Form& form : kForms) {
    if (form.parameter == parameter && form.format == format && form.Count() == count) return &form;
  }
  return nullptr;
}

const Form* KnownPart(const Form& form, const Profile& profile) {
  const Form* best = nullptr;
  for (const Form& part : kForms) {
    if (part.parameter != form.parameter || part.format != form.format || !part.known(profile)) continue;
    if (part.Count() < form.Count() && (best == nullptr || part.Count() > best->Count())) best = &part;
  }
  return best;
}

bool KnowsParameter(std::uint16_t parameter, const Profile& profile) {
  for (const Form& form : kForms) {
    if (form.parameter == parameter && form.known(profile)) return true;
  }
  return false;
}

SlotRule RuleOf(Slot slot, const Limits& limits) {
  constexpr double kWord = 4294967295.0;
  const double power_range = limits.power_high - limits.power_low;
  switch (slot) {
    case kMode:
      return {0, 65535, 0, false};
    case kFrequency:
    case kFrequencyStop:
      return {limits.frequency_low, limits.frequency_high, limits.frequency_step, true};
    case kFrequencyPoints:
      return {limits.points_low, limits.points_high, 0, false};
    case kFrequencyStep:
      return {-limits.frequency_high, limits.frequency_high, 0, true};
    case kOutput:
    case kButton:
    case kReference:
      return {0, 1, 1, false};
    case kStrategy:
      return {0, 5, 1, true};
    case kAttenuation:
      return {0, 130, 1, true};
    case kPower:
    case kPowerStop:
      return {limits.power_low, limits.power_high, limits.power_step, true};
    case kPowerPoints:
      return {1, limits.points_high, 1, true};
    case kPowerStep:
      return {-power_range, power_range, limits.power_step, true};
    case kSyncIn:
      return {0, 4, 0, false};
    case kSyncOut:
    case kSyncOutB:
    case kSyncInB:
      return {0, 7, 0, false};
    case kSyncInSlope:
    case kSyncInBSlope:
    case kSyncOutPolarity:
    case kSyncOutBPolarity:
      return {0, 1, 0, false};
    case kDwell:
      return {0, limits.dwell_high, 0, false};
    case kReferenceFrequency:
      return {limits.reference_low, limits.reference_high, 0, false};
    case kPhase:
      return {-360, 360, 0, true};
    default:
      return {0, kWord, 0, false};
  }
}

}  // namespace sim
