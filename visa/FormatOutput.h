// The text of viPrintf (VPP-4.3 section 6.2.1.3).
#pragma once

#include <cstdarg>
#include <functional>
#include <string>

#include "visa/VisaTypes.h"

namespace visa {

/// Appends what `format` makes of `arguments`, which follow what it took then. `flush` is called after each line
/// end of the format itself, which ends a message, and its failure ends the call. kInvalidFormat: what stood in front
/// of the mistake was appended.
ViStatus FormatOutput(const char* format, va_list arguments, std::string& out, const std::function<ViStatus()>& flush);

}  // namespace visa
