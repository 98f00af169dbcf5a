#!/usr/bin/env bash
# Compares what the shared library exports with the kept list, and checks its SONAME, its NEEDED entries and
# RUNPATH, and what would keep it from unloading.
# check_exports.sh LIBRARY LIST [SONAME], for a library that loads the provider itself and stays loaded
set -u
export LC_ALL=C
library=$1 list=$2 failed=0 soname=${3:-libscpi_zlt.so.2}
fail() {
  echo "$*"
  failed=1
}

symbols=$(nm -D --defined-only -C "$library")
diff -u --label "$list" <(grep -vE '^(#|$)' "$list" | sort -u) --label "$library" \
  <(sed 's/^[0-9a-f]* [A-Za-z] //' <<<"$symbols" | sort -u) || fail "the exports differ from the list"
grep -qE '^[0-9a-f]+ u ' <<<"$symbols" && fail "a unique symbol keeps the library from unloading"

dynamic=$(readelf -dW "$library")
grep -qF "soname: [$soname]" <<<"$dynamic" || fail "the SONAME is not $soname"
grep -q '(RPATH)' <<<"$dynamic" && fail "an RPATH wins over LD_LIBRARY_PATH; a RUNPATH does not"
grep -q 'BIND_NOW' <<<"$dynamic" || fail "symbols are bound lazily"
if [ $# -eq 2 ]; then
  grep -q 'NODELETE' <<<"$dynamic" && fail "the library can't be unloaded"
else
  grep -q 'NODELETE' <<<"$dynamic" || fail "the library can be unloaded"
fi
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
others=$(grep -vE '^(libSkVisa\.so\.2|libstdc\+\+\.so\.6|libm\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux-x86-64\.so\.2)$' \
  <<<"$needed")
[ -z "$others" ] || fail "needs more than the provider and the standard libraries: $others"
if [ $# -eq 2 ]; then
  grep -qx 'libSkVisa\.so\.2' <<<"$needed" || fail "does not need libSkVisa.so.2"
else
  grep -qx 'libSkVisa\.so\.2' <<<"$needed" && fail "needs libSkVisa.so.2"
fi
exit $failed
