#!/usr/bin/env bash
# Compares what the libraries offer to programs with what was released, and fails on a change that would break a program
# that was built before. "check.sh --renew" takes this build over as released: for a new release only.
set -euo pipefail
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# compare LIBRARY: of build/release. Types that no exported function mentions are left out, and those of no public header.
compare() {
  local library=build/release/$1 released=packaging/abi/${1##*/}.abi.xz
  local headers=(--drop-private-types --headers-dir include/scpi_zlt)
  # The front has the standard's functions and no header of its own; that of the client is beside it.
  case $1 in
    visa/*) headers=() ;;
    client/*) headers=(--drop-private-types --headers-dir client) ;;
  esac
  if [ -n "$renew" ]; then
    abidw "${headers[@]}" --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names \
      --drop-undefined-syms --out-file "$work/dump.abi" "$library"
    xz -9e <"$work/dump.abi" >"$released"
    return
  fi
  xz -d <"$released" >"$work/dump.abi"
  # A program built before calls what it knows: further functions break nothing.
  if abidiff "${headers[@]/--headers-dir/--headers-dir2}" --exported-interfaces-only --no-added-syms "$work/dump.abi" "$library"; then
    echo "$library keeps to the released interface"
  else
    echo "$library breaks programs that were built for the released one (packaging/abi/check.sh --renew: for a new release)"
    status=1
  fi
}

renew=''
[ "${1:-}" != --renew ] || renew=yes
compare library/libscpi_zlt.so.2
compare client/libscpi_zlt_client.so.2
compare visa/libzlt_visa.so.1
exit $status
