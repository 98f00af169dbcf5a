// Common commands, system commands and abort. An exception in a handler that does not use the shapes goes up to the
// interpreter.
#include <string>

#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"
#include "support/ResultFormat.h"

namespace scpi_lib {

int SCPI_IDN(const Call& call) {
  return Guarded(call, [&](CDevice& generator) {
    std::string text;
    if (const int failed = call.Finish(generator.GetIdn(text))) return failed;
    // Odd, and kept: a terminating zero is sent with the text. Programs cut it off.
    return SendText(generator, {text.c_str(), text.size() + 1});
  });
}

int SCPI_OPC(const Call& call) {
  if (!call.query) return scpi_error::kUndefinedHeader;
  CDevice& generator = call.Generator();
  while (generator.WaitOPC(-1) != 0) {
    if (generator.ThreadShouldStop()) return scpi_error::kTimeOutError;
  }
  return SendText(generator, "+1");
}

int SCPI_CLS(const Call& call) {
  return call.query ? scpi_error::kParameterNotAllowed : call.Generator().SCPI_CLS();
}

int SCPI_SYST_VERS(const Call& call) {
  return call.query ? call.Generator().SCPI_SYST_VERS() : scpi_error::kUndefinedHeader;
}

// Odd, and kept: here and in SCPI_ESR the raw device status of a failed query reaches the error queue. Otherwise
// ":SYST:ERR?" would answer another number.
int SCPI_STB(const Call& call) {
  return call.query ? call.Generator().SCPI_STB() : scpi_error::kUndefinedHeader;
}

int SCPI_ESR(const Call& call) {
  if (!call.query) return scpi_error::kUndefinedHeader;
  CDevice& generator = call.Generator();
  int value = 0;
  const int status = generator.SCPI_ESR(value);
  ConvertOutputData(&value, kResultRegister, CommandResultBuffer, true);
  SendText(generator, CommandResultBuffer);
  return status;
}

int SCPI_SYST_ERR(const Call& call) {
  return call.query ? call.Generator().SCPI_SYST_ERR() : scpi_error::kUndefinedHeader;
}

int SCPI_SYST_ERR_COUN(const Call& call) {
  return call.query ? SendNumber(call.Generator(), call.Generator().GetErrCount()) : scpi_error::kUndefinedHeader;
}

int SCPI_RST(const Call& call) {
  return SetOnly(call, [](CDevice& generator) {
    generator.Reset();  // the result is dropped: a reset on a lost link is no error
    return 0;
  });
}

int SCPI_ABOR(const Call& call) {
  return Guarded(call, [&](CDevice& generator) {
    if (const int failed = call.Finish(generator.Stop())) return failed;
    return call.Finish(static_cast<int>(generator.Clear(false)));
  });
}

}  // namespace scpi_lib
