// Answers that need no packet: the SCPI version, and the words of mnemonics.
#include <string>
#include <string_view>

#include "scpi_zlt/helpers.h"
#include "scpi_zlt/scpi_errors.h"

#include "src/Device.h"

int CDevice::SCPI_SYST_VERS() {
  constexpr std::string_view kVersion = "\"1999.0\"";
  SendResponse(kVersion.data(), static_cast<int>(kVersion.size()));
  return 0;
}

int CDevice::SendEnum(const sFunctionCallInfo& info, int value, int descriptor) {
  if (descriptor < 0 || descriptor >= info.count) return scpi_error::kSystemError;
  const sFParam& parameter = info.parameters[descriptor];
  if (parameter.kind != kKindCharacter && parameter.kind != kKindNumeric) return scpi_error::kSystemError;
  if (value < 0 || value >= parameter.mnemonic_count) return scpi_error::kSystemError;
  const sMnemonicRow& row = parameter.mnemonics[value];
  std::string word = row.name;
  const int capitals = row.short_length == kNoShortForm ? static_cast<int>(word.size()) : row.short_length;
  ToUpper(word.data(), capitals);
  SendResponse(word.data(), static_cast<int>(word.size()));
  return 0;
}
