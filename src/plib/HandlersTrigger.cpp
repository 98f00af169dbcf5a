// Trigger, initiate and output commands. How each reads its boolean differs ("1" is off for some); callers rely on it.
#include <string>

#include "scpi_zlt/helpers.h"

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

/// A handler whose query answers the mnemonic that a getter gives (its status is dropped) and whose set form passes the
/// mnemonic's number on.
template <class Value>
int Mnemonic(const Parameters& parameters, bool query, void* device, sComErrorInfo* error, const sFParam& words,
             int (CDevice::*getter)(Value&) const, int (CDevice::*setter)(Value)) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      Value value{};
      (generator.*getter)(value);
      return SendWord(generator, words, value);
    }
    return Finish((generator.*setter)(static_cast<Value>(Index(parameters.front()))), device, error);
  });
}

}  // namespace

int SCPI_TRIG_SEQ_SOUR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Mnemonic(parameters, query, device, error, TrigSourceParams, &CDevice::GetTrigSource, &CDevice::SetTrigSource);
}

int SCPI_TRIG_SEQ_SLOP(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Mnemonic(parameters, query, device, error, PosNegParams, &CDevice::GetSyncSourceDetection,
                  &CDevice::SetSyncSourceDetection);
}

int SCPI_TRIG_AUX_INT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Mnemonic(parameters, query, device, error, TrigIntParams, &CDevice::GetSyncInterval,
                  &CDevice::SetSyncInterval);
}

int SCPI_TRIG_AUX_OPOL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Mnemonic(parameters, query, device, error, PosNegParams, &CDevice::GetSyncOpolarity,
                  &CDevice::SetSyncOpolarity);
}

int SCPI_TRIG_AUX_PULS_PER(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PlainNumber(parameters, query, device, error, &CDevice::GetSyncGenPeriod, &CDevice::SetSyncGenPeriod);
}

int SCPI_TRIG_AUX_PULS_WIDT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PlainNumber(parameters, query, device, error, &CDevice::GetSyncGenWidth, &CDevice::SetSyncGenWidth);
}

int SCPI_TRIG_AUX_DUR(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return PlainNumber(parameters, query, device, error, &CDevice::GetSyncOutputDuration,
                     &CDevice::SetSyncOutputDuration);
}

int SCPI_TRIG_AUX_OUTP_ENAB(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      bool on = false;
      generator.GetSyncOutputEnabled(on);
      return SendText(generator, stdex::toupper(std::string(Booleans[on].name)));
    }
    const double value = parameters.empty() ? 0.0 : parameters.front().value;
    return Finish(generator.SetSyncOutputEnabled(value == 1.0 || value == 3.0), device, error);
  });
}

int SCPI_OUTP_STAT(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) {
      bool on = false;
      generator.GetOutputEnabled(on);
      return SendWord(generator, OneBoolean, on);
    }
    int status = generator.SetOutputEnabled((Index(parameters.front()) & ~2) == 1);
    CheckErr(status, device, error);
    // Callers rely on a raw device status reaching the error queue, of this set form alone.
    return status;
  });
}

int SCPI_INIT_CONT_ALL(Parameters parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return SendText(generator, generator.GetInitContinuous() ? "on" : "off");
    const bool on = parameters.front().value == 1.0;  // callers rely on the text "1" meaning off
    generator.Stop();
    int status = generator.SetInitContinuous(on);
    if (CheckErr(status, device, error)) return status;
    if (!on) return 0;
    if (generator.GetFreqMode() == kModeFixed && generator.GetPwrMode() == kModeFixed) return 0;
    return Finish(generator.Start(0), device, error);
  });
}

int SCPI_INIT_IMM_ALL(Parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return scpi_error::kParameterNotAllowed;
    if (generator.GetInitContinuous()) return scpi_error::kInitIgnored;
    int status = generator.Stop();
    if (CheckErr(status, device, error)) return status;
    return Finish(generator.Start(1), device, error);
  });
}

int SCPI_TRIG_SEQ_IMM(Parameters, bool query, void* device, sComErrorInfo* error) {
  return Guarded(device, error, [&](CDevice& generator) {
    if (query) return scpi_error::kParameterNotAllowed;
    if (generator.GetInitContinuous()) return scpi_error::kTriggerIgnored;
    return Finish(generator.SendSoftwareTrigger(), device, error);
  });
}

}  // namespace scpi_lib
