// What viScanf makes of a response (VPP-4.3 section 6.2.1.4).
#pragma once

#include <cstdarg>

#include "visa/VisaTypes.h"

namespace visa {

/// Bytes to be scanned, with the ends of responses between them.
class ScanInput {
 public:
  virtual ~ScanInput() = default;
  /// True if Front has a byte. False at the end of a response, unless `past_end`, and after a failure.
  virtual bool Ready(bool past_end) = 0;
  virtual char Front() const = 0;
  virtual void Pop() = 0;
  /// What made Ready fail; success at an end.
  virtual ViStatus Status() const = 0;
};

/// kIoError if the response is not what the format expects; arguments in front of that place are stored.
ViStatus FormatInput(const char* format, va_list arguments, ScanInput& input);

}  // namespace visa
