// Firmware generations as rows of data: the packet forms a generation knows, its answers to the others, its limits. A
// new generation is a row in Profile.cpp; a new packet form is a row in Forms.cpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "protocol/comset.h"

namespace sim {

enum class FrequencyForm { kNarrow, kWide, kExtended };

/// What follows the head of a refusal: nothing, the values as they came, or the values that the instrument could set.
enum class RefusalBody { kNone, kEcho, kLimits };

struct Limits {
  double frequency_low = 1e7;
  double frequency_high = 2e10;
  double frequency_step = 1;  ///< resolution, Hz
  double points_low = 1;
  double points_high = 100001;
  double power_low = -100;
  double power_high = 20;
  double power_step = 0.01;  ///< resolution, dB
  double list_points = 2500;
  double reference_low = 0;
  double reference_high = 4294967295.0;
  double dwell_high = 4294967295.0;  ///< nanoseconds
};

/// The statuses that answer packet forms which the firmware does not know.
struct Refusals {
  std::int16_t four_fields = SK_PARAMETER_IGNORED;    ///< range with a stop frequency
  std::int16_t six_bytes = SK_PARAMETER_INCORRECT;    ///< range in six-byte values
  std::int16_t ten_values = SK_PARAMETER_IGNORED;     ///< two synchronisation channels
  std::int16_t output_format = SK_UNKNOWN_PARAMETER;  ///< RF output in another format or parameter
  std::int16_t output_values = SK_PARAMETER_IGNORED;  ///< RF output with a stop power
  std::int16_t polarity = SK_PARAMETER_IGNORED;       ///< modulation with a polarity field
  std::int16_t lists = SK_UNKNOWN_PARAMETER;
};

struct Profile {
  std::string_view name;
  FrequencyForm frequency = FrequencyForm::kExtended;
  int rf_generation = 5;  ///< 0 to 5
  bool two_sync_channels = true;
  bool polarity_field = true;
  Refusals refusals;
  RefusalBody refusal_body = RefusalBody::kLimits;
  Limits limits;
  std::string_view model;
  bool lists = true;
};

std::span<const Profile> Profiles();

/// Null if no row has the name.
const Profile* FindProfile(std::string_view name);

}  // namespace sim
