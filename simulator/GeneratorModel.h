// The simulated generator itself: request bytes in, reply bytes out. No clock, no thread, no log. Plan() says how long
// a sweep takes; Instrument.h keeps the time.
//
// It stores what it is sent. Like a real instrument it clamps and rounds values, and then answers
// SK_PARAMETER_CORRECTED. A form that its firmware does not know is refused as the profile says; a refusal by "ignored"
// takes the part that is known.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Forms.h"
#include "simulator/Profile.h"
#include "simulator/Wire.h"

namespace sim {

/// States of the hardware that no packet sets.
struct Conditions {
  bool pll = true;        ///< first local oscillator locked
  bool reference = true;  ///< external reference locked
  bool level = true;      ///< output power levelled
  bool button = true;     ///< RF button on
};

/// One pass of the present sweep.
struct RunPlan {
  enum class Trigger { kNone, kPass, kPoint };
  std::uint64_t points = 1;
  std::uint64_t dwell_ns = 0;
  Trigger trigger = Trigger::kNone;
  bool rising = true;  ///< edge of the trigger input that counts
};

class GeneratorModel {
 public:
  GeneratorModel(const Profile& profile, std::string model, std::string serial, bool has_files = true);

  /// Answers any bytes at all; SK_RUN as if its pass had just ended.
  Bytes Answer(View request);

  /// The reply to an SK_RUN whose pass has just ended.
  Bytes RunReply(View request) const;

  RunPlan Plan() const;

  Conditions& States() { return m_states; }
  const Conditions& States() const { return m_states; }

  /// What the instrument holds for a parameter, decoded. A record: the values of its longest form. A list: its points.
  /// The modulation: mode, source, polarity, then width and gap of each pulse. Any other number: empty.
  std::vector<double> Values(std::uint16_t parameter) const;

 private:
  struct ListForm;

  Bytes AnswerParameter(View request, const Head& head);
  Bytes Record(View request, const Head& head);
  Bytes Refuse(View request, const Head& head, const Form& form);
  Bytes RefuseUnknown(View request, std::int16_t status) const;
  std::int16_t QueryStatus(std::uint16_t parameter) const;
  Bytes Corrected(View request, const Form& form) const;
  void Store(View corrected, const Form& form);
  void Complete(const Form& form);
  Bytes Encode(const Form& form) const;
  Bytes File(View request, const Head& head) const;
  Bytes AnswerList(View request, const Head& head);
  Bytes SetList(View request, const Head& head, const ListForm& form);
  Bytes GetList(View request, const Head& head, const ListForm& form) const;
  Bytes OldPowerList(View request, const Head& head);
  Bytes Modulation(View request, const Head& head);
  Bytes GetModulation(View request, const Head& head, bool with_polarity) const;
  double& At(Slot slot) { return m_slots[static_cast<std::size_t>(slot)]; }
  double At(Slot slot) const { return m_slots[static_cast<std::size_t>(slot)]; }

  struct Pulse {
    double width = 0;
    double gap = 0;
  };

  Profile m_profile;
  std::string m_model;
  std::string m_serial;
  bool m_has_files;
  Conditions m_states;
  std::array<double, static_cast<std::size_t>(Slot::kCount)> m_slots{};
  std::vector<double> m_frequency_list;
  std::vector<double> m_power_list;
  bool m_frequency_from_list = false;
  bool m_power_from_list = false;
  std::array<double, 3> m_modulation{};  ///< mode, source, polarity
  std::vector<Pulse> m_pulses;
};

}  // namespace sim
