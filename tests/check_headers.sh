#!/usr/bin/env bash
# The public headers compile alone: the C header as strict C99 and as C++, also after a visa.h that defines the same macros
# with values of its own writing; the others as C++.
set -eu
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/visa.h" <<'EOT'
#define VI_SUCCESS (0L)
#define VI_ERROR_TMO (-1073807339L)
#define VI_ATTR_TERMCHAR (0x3FFF0018UL)
#define VI_ATTR_TMO_VALUE (0x3FFF001AUL)
EOT
for before in '' '#include "visa.h"'; do
  printf '%s\n#include <scpi_zlt/scpi_zlt.h>\nlong status(void) { return VI_ERROR_TMO; }\n' "$before" >"$work/c.c"
  cc -std=c99 -Wall -Wextra -pedantic -Werror -Iinclude -I"$work" -fsyntax-only "$work/c.c"
  cp "$work/c.c" "$work/c.cpp"
  c++ -std=c++11 -Wall -Wextra -pedantic -Werror -Iinclude -I"$work" -fsyntax-only "$work/c.cpp"
done
printf '#include "client/exchange.h"\nint answer(void) { return ZLT_COMPLETE; }\n' >"$work/exchange.c"
cc -std=c99 -Wall -Wextra -pedantic -Werror -I. -Iinclude -fsyntax-only "$work/exchange.c"
for header in include/scpi_zlt/*.h; do
  printf '#include <%s>\n' "${header#include/}" >"$work/alone.cpp"
  c++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -Iinclude -fsyntax-only "$work/alone.cpp"
done
