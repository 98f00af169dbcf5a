// The generator as this library models it: the last known value of every setting, the limits that the instrument
// reported, the error queue, and the link to the instrument.
//
// Every setter writes the model and then sends packets; every getter answers from the model. After an exchange the
// model holds what the instrument took, not what was asked for. Two values are kept as they were asked for: the CW
// frequency, and a range that the instrument did not correct. Everything here runs on the session's interpreter thread.
// The run thread (Device/RunThread.h) is a second one; the two meet at the exchange gate only.
//
// Results are ints: 0, a 16-bit device status (sign-extended), one of the SCPI numbers -108, -222, -224, -226, -310,
// -365, or -1, 223, 226 where a function says so. A device status is a failure when its 16 bits, read as unsigned, are
// kFirstFailure or more (IsFailure). Most setters turn any smaller one into 0 (Folded).
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/GenericDevice.h"
#include "scpi_core/sStatusReg.h"
#include "scpi_core/types.h"
#include "src/Device/Link.h"
#include "src/Device/RunThread.h"
#include "src/DeviceRecords.h"
#include "src/PacketTypes.h"

/// True for a status that means failure (kFirstFailure in protocol/comset.h).
constexpr bool IsFailure(int status) {
  return static_cast<std::uint16_t>(status) >= kFirstFailure;
}
/// Successes and warnings become 0, failures stay.
constexpr int Folded(int status) {
  return IsFailure(status) ? status : 0;
}

/// In the standard event register: RF is on. IEEE 488.2 has power-on there.
inline constexpr short kOutputOnBit = kPowerOnBit;

class CDevice : public CGenericDevice {
 public:
  CDevice();
  explicit CDevice(CIOBuffer* io_buffer);
  ~CDevice() override;
  CDevice(const CDevice&) = delete;
  CDevice& operator=(const CDevice&) = delete;

  void StopRun() override;
  /// The run thread counts as a thread of this device too.
  bool RunsOnThisThread() const override {
    const CRunThread* const poller = m_poller;
    return IsThisThread() || (poller != nullptr && poller->IsThisThread());
  }

  // Its own termination character and connection status. Not virtual: the session functions use those of
  // CGenericDevice.
  long GetAttribute(unsigned long id, void* result);
  long SetAttribute(unsigned long id, unsigned long state);
  bool GetConnected() const { return m_link.Connected(); }
  long GetCurrentStatus() const { return m_connection_status; }
  const sLimits& Limits() const { return m_limits; }
  /// The register set that "*ESR?" and "*STB?" show. CGenericDevice holds another one, which is never written.
  sStatusReg& StatusRegisters() { return m_device_status_reg; }

  // Connection and identity (Device/Connection.cpp, Device/InstrumentFile.cpp).
  long OpenConnection(const char* resource, unsigned int open_timeout) override;
  long CloseConnection() override;
  void ReadIdn();
  int GetIdn(std::string& text);
  /// Reads a file of the instrument. Leaves `content` as it was unless the whole file came.
  void GetFile(std::string name, std::string* content);

  // The link (Device/Link.h) by the names of this class.
  long ProcessParameter(CDevParameter* packet, bool no_limit = false);
  long Send(CBasePacket* packet);
  long Recv(CDevCommand* packet, bool cancel, unsigned int timeout);
  long ProcessCommand(CDevCommand* packet, bool no_limit);
  long Clear(bool probe);
  long Reset();

  // Error queue (Device/ErrorQueue.cpp).
  int RaiseError(int number, const char* text) override;
  int SCPI_SYST_ERR();
  int GetErrCount() const;

  // Status registers (Device/StatusQueries.cpp).
  int SCPI_ESR(int& value);
  int SCPI_STB();
  int SCPI_CLS();
  int SetRFRegister();
  int SetPLLRegister();

  // States of the hardware (Device/HardwareStates.cpp).
  int HW_GetRFButtonState(bool* on);
  int HW_GetPLLState(bool* locked);
  int HW_GetERGState(bool* locked);
  int HW_GetLevelState(bool* leveled);
  int GetPLLState(bool& locked);
  int GetLevelState(bool& leveled);
  int GetERGState(bool& locked);
  int GetPLLState(bool* locked) { return HW_GetPLLState(locked); }
  int GetLevelState(bool* leveled) { return HW_GetLevelState(leveled); }
  int GetERGState(bool* locked) { return HW_GetERGState(locked); }
  int GetRFButtonState(bool* on) { return HW_GetRFButtonState(on); }

  // Replies (Device/Replies.cpp).
  int SCPI_SYST_VERS();
  /// A mnemonic: the row's name, its short form in capitals. -310 for what is no row.
  int SendEnum(const sFunctionCallInfo& info, int value, int descriptor);

  // Run thread (Device/RunControl.cpp).
  bool IsSweeping() const;
  bool ShouldSweep() const;
  int Start(short count);
  int Stop();
  /// Waits until a run has been started; at most that long, below 0 the given wait. 0 or -365.
  int WaitOPC(int milliseconds);
  void UpdateTimeout();

  // Start-up (Device/Probing.cpp).
  int Init();
  int HW_SetMode(int& mode);
  int InitRFOut(int state, double power, int strategy, int attenuation, int spare);

  // Frequency (Device/Frequency.cpp, Device/FrequencySenders.cpp). Hz.
  void LimitFreq(double& value, bool is_step) const;
  int GetFrequency(double& value, ETDValueType type, ETDDefaultType def) const;
  int SetFrequency(double value, ETDValueType type, ETDDefaultType def);
  EMode GetFreqMode() const { return m_settings.sweep.frequency_mode; }
  int SetFreqMode(EMode mode);
  int GetFreqSpacing(EFreqSpacing& spacing) const;
  int SetFreqSpacing(EFreqSpacing spacing);
  int SetFreqCommon();
  int set_freq_range_and_step(double& start, double& stop, double& step);
  int HW_SetFrequency(long& start, long& step, long& count);
  int HW_SetExFrequency(long& start, long& step, long& count, long& stop);
  int HW_SendFrequencyRange();
  int HW_SendRFFrequency(double& value);
  void CreateLogList();

  // Output power (Device/Power.cpp, Device/PowerSenders.cpp). dBm.
  double ConvertPower(double value, int unit, bool to_dbm) const;
  int GetPower(double& value, ETDValueType type, ETDDefaultType def) const;
  int SetPower(double value, ETDValueType type, ETDDefaultType def);
  EMode GetPwrMode() const { return m_settings.sweep.power_mode; }
  int SetPwrMode(EMode mode);
  int SetPwrCommon();
  int SendRFOut();
  int set_power_sweep();
  int SetAtten(int& value);
  int GetAtten(int& value) const;
  int SetAttStrategy(int& value);
  int GetAttStrategy(int& value) const;
  int SetPowControl(int& value);
  int GetPowControl(int& value) const;
  int SetOutputEnabled(bool on);
  int GetOutputEnabled(bool& on) const;
  int SetUnit(EUnitType unit);
  int GetUnit(EUnitType& unit) const;
  int HW_SetRFOut(int& state, double& power);
  int HW_SetRFOut_42(int& state, double& power);
  int HW_SetRFOut_2_42(int& state, int& strategy, int& attenuation, int& spare, double& power);
  int HW_SetRFOut_2_62(int& state, int& strategy, int& attenuation, int& spare, double& power);
  int HW_set_power_sweep(int& state, double& start, std::uint32_t& points, double& step);
  int HW_set_power_sweep2(int& state, int& strategy, int& attenuation, int& spare, double& start, std::uint32_t& points,
                          double& step);
  int HW_set_power_sweep2_6(int& state, int& strategy, int& attenuation, int& spare, double& start,
                            std::uint32_t& points, double& step);
  int HW_set_power_sweep3(int& state, int& strategy, int& attenuation, int& spare, double& start, std::uint32_t& points,
                          double& step, double& stop);

  // Sweeps and lists (Device/SweepsAndLists.cpp). Seconds, Hz, dBm.
  int SetFreqList(std::vector<double> list);
  int SetPwrList(std::vector<double> list);
  int SetListMode(EListMode mode);
  int HW_SetDwell(double& value);
  int SetDwell(double value);
  double GetDwell() const { return m_settings.sweep.dwell; }
  /// Nothing consumes the request.
  int SetSingleSweep() { return 0; }
  int SetInitContinuous(bool on);
  bool GetInitContinuous() const { return m_settings.init_continuous; }
  int SetSingleStepEnabled(bool on);
  bool GetSingleStepEnabled() const { return m_settings.sweep.single_step; }
  int SendSoftwareTrigger();

  // List transfer (Device/ListTransfer.cpp).
  int CheckListSize(EMode frequency_mode, EMode power_mode) const;
  int GetFreqListPointsCnt(ETDDefaultType def) const;
  int GetPwrListPointsCnt(ETDDefaultType def) const;
  int HW_SendList(ESweepListType type);
  long set_rf_out_list(double* powers, unsigned int count);

  // Pulse modulation (Device/Pulse.cpp). Seconds.
  int HW_SetModulationPulse(int mode, int& source, double* widths, double* gaps, int count, bool polarity);
  int PulseGeneratorConfigure(double& width);
  int PacketGeneratorConfigure();
  int SetModulationEnabled(bool on);
  int GetModulationEnabled(bool& on) const;
  int SetModulationSource(int source);
  int GetModulationSource(int& source) const;
  int SetIntModulationType(int type);
  int GetIntModulationType(int& type) const;
  int SetModulationPolarity(bool inverted);
  int GetModulationPolarity(bool& inverted) const;
  int SetPulseGeneratorWidth(double width, ETDDefaultType def);
  int GetPulseGeneratorWidth(double& width, ETDDefaultType def) const;
  int SetPulseGeneratorPeriod(double period, ETDDefaultType def);
  int GetPulseGeneratorPeriod(double& period, ETDDefaultType def) const;
  int SetPulmTrainOnArray(double* values, int count);
  int SetPulmTrainOffArray(double* values, int count);
  int SetPulmTrainRepArray(double* values, int count);
  /// The caller frees the array with delete[]. Odd, and kept: all three answer the off-times, so ":PULM:INT:TRA:ONT?"
  /// does not answer what was set.
  int GetPulmTrainOnArray(double*& values, int& count) const;
  int GetPulmTrainOffArray(double*& values, int& count) const;
  int GetPulmTrainRepArray(double*& values, int& count) const;

  // Trigger and synchronisation (Device/TriggerSync.cpp, Device/SyncSenders.cpp).
  int HW_set_sync_out(int* code, bool* polarity, int* duration, int* leveling, int* reserved);
  int HW_set_sync_in(int* code, bool* slope, int* leveling, int* reserved, int* fourth);
  int HW_set_sync_out10p(int* code, bool* polarity, int* duration, int* leveling, int* reserved, int channel);
  int HW_set_sync_in10p(int* code, bool* slope, int* leveling, int* reserved, int* fourth, int channel);
  int set_sync_out(int* code, bool* polarity, int* duration, int* leveling, int* reserved, int channel);
  int set_sync_in(int* code, bool* slope, int* leveling, int* reserved, int* fourth, int channel);
  int HW_set_sync_gen(double* width, double* gap, double* third);
  int SendSyncOutParams();
  int SendSyncGenParams();
  int SetSyncIn(SSyncInType& record, bool single_step);
  int GetSyncIn(SSyncInType& record, bool& single_step) const;
  int SetSyncSourceDetection(ESlope slope);
  int GetSyncSourceDetection(ESlope& slope) const;
  int SetSyncInterval(int index);
  int GetSyncInterval(int& index) const;
  int SetSyncOpolarity(int polarity);
  int GetSyncOpolarity(int& polarity) const;
  int SetSyncOutputEnabled(bool on);
  int GetSyncOutputEnabled(bool& on) const;
  int SetSyncOutputDuration(double seconds);
  int GetSyncOutputDuration(double& seconds) const;
  int SetSyncGenPeriod(double seconds);
  int GetSyncGenPeriod(double& seconds) const;
  int SetSyncGenWidth(double seconds);
  int GetSyncGenWidth(double& seconds) const;
  int SetTrigSource(ETrigger source);
  int GetTrigSource(ETrigger& source) const;

  // External reference and phase (Device/Reference.cpp). Hz, degrees.
  int HW_set_ext_ref_gen_state(bool* external);
  int set_ext_ref_gen_state(bool* external);
  int HW_set_ext_ref_gen_state_40(bool* external, double* frequency);
  int set_ext_ref_gen_state_40(bool* external, double* frequency);
  int HW_set_ext_ref_gen_phase(double* phase);
  int SetExtRefGenFrequency(double frequency);
  int GetExtRefGenFrequency(double& frequency) const;
  int SetExtRefGenState(bool external);
  int GetExtRefGenState(bool& external) const;
  int SetPhaseAdjust(double phase);
  int GetPhaseAdjust(double& phase) const;

 protected:
  /// The run thread of an opened device. A test replaces it by one that polls nothing.
  virtual std::unique_ptr<CRunThread> MakeRunThread(ExchangeGate& gate);

 private:
  /// The part of OpenConnection that talks to the instrument.
  long ResetAndProbe();
  /// "*ESR?" and "*STB?" from what the run thread saw last.
  void SetRegistersFromRun();
  // The steps of Init; each returns a failure or 0.
  int ProbeFrequencyLimits();
  int ProbeOldFrequencyForms(long start, long step);
  void ProbeSyncForm();
  void SetStartValues();
  void SetStartValuesOfSweep();
  void ProbePowerLimits();
  void StartRunThread();
  // What a setting does to a run (Device/RunControl.cpp).
  /// When a run that was stopped for a setting is started again, if the settings ask for one at all.
  enum class Restart {
    kAlways,         ///< whatever the result
    kAfterReply,     ///< unless the link failed; after a refusal too
    kUnlessRefused,  ///< unless the link or the setting failed
    kNever,
  };
  /// Stops a run, sends, and starts the run again as `restart` says. Returns the status of `send`.
  template <class Send>
  int WithRunStopped(Restart restart, Send send) {
    CancelIfSweeping();
    const Sent sent = send();
    if (IsDue(restart, sent)) RunIfShouldSweep();
    return sent.status;
  }
  static bool IsDue(Restart restart, const Sent& sent);
  void CancelIfSweeping();
  /// Starts polling if the settings ask for it.
  void RunIfShouldSweep();
  // Steps of the setters.
  void StoreFrequency(double value, ETDValueType type);
  void GetPowerKeyword(double& value, ETDValueType type, ETDDefaultType def) const;
  /// Sends what the power mode needs, with the run stopped around it.
  int ResendPower();
  /// Sends a list in as many packets as it takes. The last packet's status, or that of a link that failed.
  Sent SendChunks(ESweepListType type);
  /// Sends the pulses likewise. `source_taken` becomes the source as the instrument answered it, 0.0 without an answer.
  Sent SendPulses(int mode, int source, std::span<double> widths, std::span<double> gaps, bool polarity,
                  double& source_taken);
  /// Switches modulation on again if it is on.
  int ReapplyModulation();
  void ExpandTrain();
  /// Settles what the auxiliary output is, given the code of the reply; may send the second channel. A failure or 0.
  int SettleSyncOutput(int got);
  int SendFirstChannel();
  int SendSecondChannel(int& code);

  // The limits for clamping; equal to those of `m_limits` after start-up.
  double m_working_high_frequency = 4e10;
  double m_working_low_frequency = 0.0;
  double m_working_low_power = -300.0;
  double m_working_high_power = 35.0;

  // What the firmware understands, learnt at start-up.
  bool m_wide_frequency = false;
  bool m_extended_frequency = true;
  bool m_ten_value_sync = true;
  bool m_modulation_has_polarity = false;

  // The link.
  std::string m_address;
  std::string m_identity;
  Link m_link{*this};
  int m_mode_word = 0;
  char m_device_termchar = 0;
  long m_connection_status = VI_ERROR_NIMPL_OPER;
  std::unique_ptr<CRunThread> m_run_thread;
  std::atomic<const CRunThread*> m_poller{nullptr};  ///< the same, for calls from another thread
  neosmart::neosmart_event_t m_opc_event = nullptr;  ///< the run thread's; null while there is none
  int m_opc_wait = 500;                              ///< milliseconds

  std::deque<SErrorInfo> m_errors;
  sStatusReg m_device_status_reg;

  // The settings.
  SParameters m_settings;
  sLimits m_limits;
  std::vector<double> m_frequency_list;
  std::vector<double> m_power_list;
  std::vector<double> m_train_off_times;
  std::vector<double> m_train_on_times;
  std::vector<double> m_train_repeats;
};
