// Power commands. A number in a set form is dBm, whatever the unit of ":UNIT:POW"; only answers are converted. The
// statuses of the setters of modes, strategies and levelling are dropped, so what the instrument refuses there gives no
// error.
#include <string>

#include "scpi_zlt/helpers.h"

#include "src/plib/Descriptors.h"
#include "src/plib/HandlerShapes.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

constexpr Quantity kPower = {
    &CDevice::GetPower, &CDevice::SetPower, &sLimits::low_power, &sLimits::high_power,
    [](const CDevice& generator, double dbm) { return generator.ConvertPower(dbm, kStoredUnit, false); }};

}  // namespace

int SCPI_SOUR_POW_LEV(const Call& call) {
  return QuantitySetting(call, kPower, kValueCW, kQuestionablePower);
}

int SCPI_SOUR_POW_STAR(const Call& call) {
  return QuantitySetting(call, kPower, kValueStart, kQuestionablePower);
}

int SCPI_SOUR_POW_STOP(const Call& call) {
  return QuantitySetting(call, kPower, kValueStop, kQuestionablePower);
}

int SCPI_SOUR_POW_CENT(const Call& call) {
  return QuantitySetting(call, kPower, kValueCenter, kQuestionablePower);
}

int SCPI_SOUR_POW_SPAN(const Call& call) {
  return QuantitySetting(call, kPower, kValueSpan, kQuestionablePower);
}

int SCPI_SOUR_POW_MODE(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendWord(generator, PowerModeParams, generator.GetPwrMode()); },
      [&](CDevice& generator) {
        // Odd, and kept: "cw" is refused here, unlike in the frequency mode.
        if (call.Row() == kRowCW) return scpi_error::kParameterNotAllowed;
        generator.SetPwrMode(static_cast<EMode>(call.Row()));
        return 0;
      });
}

int SCPI_SOUR_POW_ALC(const Call& call) {
  return AnswerOrSet(
      call, [](CDevice& generator) { return SendText(generator, "on"); },
      [&](CDevice&) {
        // Only the word "OFF" has the number 0; the texts "0" and "1" change nothing.
        return !call.parameters.empty() && call.Value() == 0.0 ? scpi_error::kIllegalParameterValue : 0;
      });
}

int SCPI_SOUR_POW_ATT_AUTO(const Call& call) {
  return AnswerOnly(call, [](CDevice& generator) { return SendText(generator, "off"); });
}

int SCPI_SOUR_POW_ATT(const Call& call) {
  // Odd, and kept: the count of characters is returned as an error number, so each query leaves the entry 1,"" in the
  // error queue.
  return call.query ? call.Generator().SendResponse("0", 1) : scpi_error::kUndefinedHeader;
}

int SCPI_SOUR_POW_ATT_MODE(const Call& call) {
  constexpr int kFirstStrategy = 2;  // on the wire; row 0 of the table
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        const int row = Get(generator, &CDevice::GetAttStrategy) - kFirstStrategy;
        return SendWord(generator, AttModeParams, row >= 0 && row < AttModeParams.mnemonic_count ? row : 0);
      },
      [&](CDevice& generator) {
        int strategy = call.Row() + kFirstStrategy;
        generator.SetAttStrategy(strategy);
        return 0;
      });
}

int SCPI_SOUR_POW_CONT(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) { return SendWord(generator, SourceParams, Get(generator, &CDevice::GetPowControl)); },
      [&](CDevice& generator) {
        int control = call.Row();
        generator.SetPowControl(control);
        return 0;
      });
}

int SCPI_UNIT_POW(const Call& call) {
  return AnswerOrSet(
      call,
      [](CDevice& generator) {
        return SendText(generator, stdex::toupper(std::string(PowerUnits[Get(generator, &CDevice::GetUnit)].name)));
      },
      [&](CDevice& generator) {
        generator.SetUnit(static_cast<EUnitType>(call.Row()));
        return 0;
      });
}

}  // namespace scpi_lib
