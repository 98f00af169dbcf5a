// The buffer in which query handlers form their numbers.
#pragma once

#include <cstddef>

namespace scpi_lib {

inline constexpr std::size_t kCommandResultSize = 256;

/// One per thread, so that two sessions never mix their texts. Its place is reserved when the library is loaded, as
/// that of all thread-local data here: a thread of the caller allocates nothing on its first call.
extern constinit thread_local char CommandResultBuffer[kCommandResultSize] __attribute__((tls_model("initial-exec")));

}  // namespace scpi_lib
