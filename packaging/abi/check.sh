#!/usr/bin/env bash
# Compares what the library offers to programs with what was released, and fails on a change that would break a program
# that was built before. "check.sh --renew" takes this build over as released: for a new release only.
set -euo pipefail
cd "$(dirname "$0")/../.."
library=build/release/library/libscpi_zlt.so.2
released=packaging/abi/libscpi_zlt.so.2.abi.xz
dump=$(mktemp --suffix=.abi)
trap 'rm -f "$dump"' EXIT
if [ "${1:-}" = --renew ]; then
  abidw --headers-dir include/scpi_zlt --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-parameter-names --drop-undefined-syms --out-file "$dump" "$library"
  xz -9e <"$dump" >"$released"
  exit
fi
xz -d <"$released" >"$dump"
# A program built before calls what it knows: further functions break nothing.
if ! abidiff --headers-dir2 include/scpi_zlt --drop-private-types --no-added-syms "$dump" "$library"; then
  echo "$library breaks programs that were built for the released one (packaging/abi/check.sh --renew: for a new release)"
  exit 1
fi
echo "$library keeps to the released interface"
