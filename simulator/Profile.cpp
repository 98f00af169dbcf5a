// The firmware generations. Two names may mean the same one.
#include "simulator/Profile.h"

#include <array>

namespace sim {
namespace {

constexpr auto kNarrow = FrequencyForm::kNarrow;
constexpr auto kWide = FrequencyForm::kWide;
constexpr auto kExtended = FrequencyForm::kExtended;
constexpr auto kBody = RefusalBody::kLimits;
constexpr Limits kFine{};
constexpr Limits kCoarse{.power_step = 0.1};

// "ignored" where the firmware knows a part of the values, "incorrect" where it knows the format.
constexpr Refusals kIgnores{};
constexpr Refusals kRejects{.four_fields = SK_PARAMETER_INCORRECT, .ten_values = SK_PARAMETER_INCORRECT};
constexpr Refusals kMixed{.four_fields = SK_PARAMETER_INCORRECT};

// clang-format off
constexpr std::array kProfiles{
    //       name      frequency  RF  10 sync  polarity refusals  body   limits   model
    Profile{"newest",  kExtended, 5,  true,    true,    kIgnores, kBody, kFine,   "ZG-20E"},
    Profile{"g5",      kExtended, 5,  true,    true,    kIgnores, kBody, kFine,   "ZG-20E"},
    Profile{"g4",      kExtended, 4,  true,    true,    kIgnores, kBody, kFine,   "ZG-20D"},
    Profile{"g3",      kExtended, 3,  true,    true,    kIgnores, kBody, kFine,   "ZG-20C"},
    Profile{"middle",  kWide,     2,  false,   true,    kIgnores, kBody, kFine,   "ZG-20B"},
    Profile{"g2",      kWide,     2,  false,   true,    kIgnores, kBody, kFine,   "ZG-20B"},
    Profile{"g1",      kWide,     1,  false,   false,   kRejects, kBody, kCoarse, "ZG-20A"},
    Profile{"oldest",  kNarrow,   0,  false,   false,   kMixed,   kBody, kCoarse, "ZG-20"},
    Profile{"g0",      kNarrow,   0,  false,   false,   kMixed,   kBody, kCoarse, "ZG-20"},
};
// clang-format on

}  // namespace

std::span<const Profile> Profiles() {
  return kProfiles;
}

const Profile* FindProfile(std::string_view name) {
  for (const Profile& profile : kProfiles) {
    if (profile.name == name) return &profile;
  }
  return nullptr;
}

}  // namespace sim
