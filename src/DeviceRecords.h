// The records of the generator model: enumerations and plain structures. Frequencies in Hz, powers in dBm, times in
// seconds unless a name says otherwise. A value that was never set is 0 or false.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Frequency mode and power mode. 0 ("cw" of the mnemonic table) is never stored.
enum EMode : int { kModeFixed = 1, kModeSweep = 2, kModeList = 3 };
enum EListMode : int { kListAuto = 0, kListManual = 1 };
enum ESweepListType : int { kFrequencyList = 0, kPowerList = 1 };
enum ETrigger : int { kTriggerImmediate = 0, kTriggerExternal = 1, kTriggerBus = 2 };
enum EUnitType : int { kUnitDbm = 0, kUnitWatt = 1 };
/// In place of an EUnitType: the unit that is set.
inline constexpr int kStoredUnit = -1;
enum EOutputState : int { kOutputOff = 0, kOutputOn = 1 };
/// Where the output level is controlled.
enum ELevelling : int { kLevellingInternal = 0, kLevellingExternal = 1 };
enum EFreqSpacing : int { kSpacingLinear = 0, kSpacingLogarithmic = 1 };
enum ESlope : int { kSlopePositive = 0, kSlopeNegative = 1 };
enum EPolarity : int { kPolarityPositive = 0, kPolarityNegative = 1 };
/// When the auxiliary output pulses, as codes on the wire.
enum EIntervalCode : int {
  kIntervalNone = 0,
  kIntervalSweep = 1,
  kIntervalStep = 2,
  kIntervalPoint = 3,
  kIntervalInput = 4,
  kIntervalPulse = 5,
  kIntervalAuxiliary = 7,
};
/// Where the pulses of pulse modulation come from.
enum EModulationSource : int { kModulationInternal = 0, kModulationExternal = 1 };
/// What the internal source makes.
enum EModulationType : int { kFreeRun = 0, kSquare = 1, kPulseTrain = 2 };
/// The quantity that SetFrequency, GetFrequency, SetPower and GetPower read or set.
enum ETDValueType : int { kValueCW = 0, kValueStart, kValueStop, kValueCenter, kValueSpan, kValuePoints, kValueStep };
/// One of the keywords, or the number given.
enum ETDDefaultType : int { kDefaultMinimum = 0, kDefaultMaximum = 1, kDefaultDefault = 2, kDefaultPlain = 3 };

/// What MIN and MAX answer. The first six are learnt from the instrument at start-up.
struct sLimits {
  double low_frequency = 0.0;
  double high_frequency = 4e10;
  double low_power = -300.0;
  double high_power = 35.0;
  std::uint32_t min_sweep_points = 1;
  std::uint32_t max_sweep_points = 100001;
  std::uint32_t max_list_points = 2500;
  double max_dwell = 4.0;
  double min_dwell = 0.0;
  double max_pulse_period = 4.0;
  double min_pulse_period = 4e-8;
  double max_pulse_width = 4.0;
  double min_pulse_width = 2e-8;
};

/// One entry of the error queue.
struct SErrorInfo {
  int number = 0;
  std::string text;
};

/// The trigger input.
struct SSyncInType {
  ETrigger source = kTriggerImmediate;
  bool step_form = false;  ///< with an external source in single-step operation: which of the two step codes is sent
  ESlope slope = kSlopePositive;
};

struct SSweepParameters {
  double start_frequency = 0.0;
  double stop_frequency = 0.0;
  double step_frequency = 0.0;
  double start_power = 0.0;
  double stop_power = 0.0;
  double step_power = 0.0;
  SSyncInType sync_in;
  int sync_interval = 0;           ///< an EIntervalCode, not the row of the mnemonic table
  double sync_out_duration = 0.0;  ///< microseconds
  int sync_out_polarity = 0;       ///< an EPolarity
  bool sync_out_enabled = false;
  double sync_gen_width = 0.0;
  double sync_gen_period = 0.0;
  double sync_gen_third = 0.0;
  EMode frequency_mode = kModeFixed;
  EMode power_mode = kModeFixed;
  double dwell = 0.0;
  EFreqSpacing spacing = kSpacingLinear;
  bool single_step = false;
  bool external_reference = false;
  double external_reference_frequency = 0.0;
};

/// True unless both modes are fixed.
bool HasSweep(SSweepParameters sweep);

struct SSystemParameters {
  bool rf_button = false;
  bool pll = false;
  bool level = false;
  int power_control = 0;  ///< an ELevelling
  bool reference = false;
  double phase_adjust = 0.0;
};

/// Every setting of the generator.
struct SParameters {
  bool init_continuous = false;
  int rf_out_generation = 3;  ///< 0 to 5: which RF-out packets the firmware takes
  EUnitType power_unit = kUnitDbm;
  EListMode list_mode = kListAuto;
  std::uint32_t sweep_points = 0;  ///< shared by frequency and power sweeps
  double cw_frequency = 0.0;
  double cw_power = 0.0;
  int output_state = 0;  ///< an EOutputState
  int attenuator_strategy = 0;
  int attenuation = 0;
  int rf_out_spare = 0;  ///< field 3 of the second RF-out packets; always 0
  SSweepParameters sweep;
  int internal_modulation_type = 0;  ///< an EModulationType
  double pulse_width = 0.0;
  double pulse_period = 0.0;
  std::vector<double> train_widths;  ///< expanded trains, while one is sent
  std::vector<double> train_gaps;
  int train_pulse_count = 0;  ///< never raised: trains can be stored, not started
  bool modulation_enabled = false;
  bool modulation_polarity = false;
  int modulation_source = 0;  ///< an EModulationSource
  bool modulation_available = false;
  SSystemParameters system;
};
