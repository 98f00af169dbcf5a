// Trigger, initiate and output commands. Odd, and kept: they read their booleans in different ways, and for some "1"
// means off.
#include <string>

#include "scpi_zlt/helpers.h"

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {

int SCPI_TRIG_SEQ_SOUR(const Call& call) {
  return WordSetting(call, TrigSourceParams, &CDevice::GetTrigSource, &CDevice::SetTrigSource);
}

int SCPI_TRIG_SEQ_SLOP(const Call& call) {
  return WordSetting(call, PosNegParams, &CDevice::GetSyncSourceDetection, &CDevice::SetSyncSourceDetection);
}

int SCPI_TRIG_AUX_INT(const Call& call) {
  return WordSetting(call, TrigIntParams, &CDevice::GetSyncInterval, &CDevice::SetSyncInterval);
}

int SCPI_TRIG_AUX_OPOL(const Call& call) {
  return WordSetting(call, PosNegParams, &CDevice::GetSyncOpolarity, &CDevice::SetSyncOpolarity);
}

int SCPI_TRIG_AUX_PULS_PER(const Call& call) {
  return NumberSetting(call, &CDevice::GetSyncGenPeriod, &CDevice::SetSyncGenPeriod);
}

int SCPI_TRIG_AUX_PULS_WIDT(const Call& call) {
  return NumberSetting(call, &CDevice::GetSyncGenWidth, &CDevice::SetSyncGenWidth);
}

int SCPI_TRIG_AUX_DUR(const Call& call) {
  return NumberSetting(call, &CDevice::GetSyncOutputDuration, &CDevice::SetSyncOutputDuration);
}

int SCPI_TRIG_AUX_OUTP_ENAB(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        const bool on = Get(generator, &CDevice::GetSyncOutputEnabled);
        return SendText(generator, stdex::toupper(std::string(Booleans[on].name)));
      },
      [&](CDevice& generator) {
        const int row = call.parameters.empty() ? kRowOff : call.Row();
        return call.Finish(generator.SetSyncOutputEnabled(row == kRowOn || row == kRowOne));
      });
}

int SCPI_OUTP_STAT(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) { return SendWord(generator, OneBoolean, Get(generator, &CDevice::GetOutputEnabled)); },
      [&](CDevice& generator) {
        const int status = generator.SetOutputEnabled(call.Row() == kRowOn || call.Row() == kRowOne);
        call.Finish(status);
        // Odd, and kept: of all set forms only this one puts the raw device status into the error queue.
        return status;
      });
}

int SCPI_INIT_CONT_ALL(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendText(generator, generator.GetInitContinuous() ? "on" : "off"); },
      [&](CDevice& generator) {
        const bool on = call.Row() == kRowOn;  // odd, and kept: the text "1" means off
        generator.Stop();
        if (const int failed = call.Finish(generator.SetInitContinuous(on))) return failed;
        const bool fixed = generator.GetFreqMode() == kModeFixed && generator.GetPwrMode() == kModeFixed;
        return on && !fixed ? call.Finish(generator.Start(0)) : 0;
      });
}

int SCPI_INIT_IMM_ALL(const Call& call) {
  return Guarded(call, [&](CDevice& generator) {
    if (call.query) return scpi_error::kParameterNotAllowed;
    if (generator.GetInitContinuous()) return scpi_error::kInitIgnored;
    if (const int failed = call.Finish(generator.Stop())) return failed;
    return call.Finish(generator.Start(1));
  });
}

int SCPI_TRIG_SEQ_IMM(const Call& call) {
  return Guarded(call, [&](CDevice& generator) {
    if (call.query) return scpi_error::kParameterNotAllowed;
    if (generator.GetInitContinuous()) return scpi_error::kTriggerIgnored;
    return call.Finish(generator.SendSoftwareTrigger());
  });
}

}  // namespace scpi_lib
