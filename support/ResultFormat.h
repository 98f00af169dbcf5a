// The buffer in which query handlers form their numbers.
#pragma once

#include <cstddef>

namespace scpi_lib {

inline constexpr std::size_t kCommandResultSize = 256;

/// One per thread, so that two sessions never mix their texts.
extern constinit thread_local char CommandResultBuffer[kCommandResultSize];

}  // namespace scpi_lib
