// The slow road of NumberScan.h: correct rounding of any length and exponent, without a look at any locale.
#include "datafiles/NumberScan.h"

namespace datafiles {

bool ConvertToken(const char* first, const char* last, const NumberParts& parts, double& value) {
  double magnitude = 0.0;
  const auto result = std::from_chars(first, last, magnitude);
  if (parts.digits == 0) {
    magnitude = 0.0;
  } else if (result.ec == std::errc::result_out_of_range || magnitude > std::numeric_limits<double>::max()) {
    // Out of range says either way out; the place of the first digit tells which. Too small is 0, no failure.
    if (parts.digits - parts.fraction + parts.exponent > 0) {
      return false;
    }
    magnitude = 0.0;
  }
  value = parts.negative ? -magnitude : magnitude;
  return true;
}

}  // namespace datafiles
