// Marks the exports of the shared library. Everything else is hidden; scripts compare the result with
// cmake/exports.txt.
#pragma once

#if defined(__GNUC__)
#define ZLT_API __attribute__((visibility("default")))
#else
#define ZLT_API
#endif
