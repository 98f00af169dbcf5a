#!/usr/bin/env bash
# Installs into a folder, moves it, and builds and runs a user's programs in C and C++ against it: by CMake, by
# pkg-config, and with the two words "-lscpi_zlt" alone. Each must need the library and, by itself, no provider.
# check_install.sh BUILD_FOLDER CMAKE
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples build=$1 cmake=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
tree=$work/tree
printf '# GHz S MA R 50\n1 0 0 0.25 0 0 0 0 0\n' >"$work/pad.s2p"
failed=0

# expect WHAT IS WANTED
expect() {
  [ "$2" = "$3" ] && return
  printf '%s gives\n%s\nand not\n%s\n' "$1" "$2" "$3"
  failed=1
}

# try HOW FOLDER: what the three programs in the folder print and need.
try() {
  local needed
  expect "$1: frequency" "$(LD_LIBRARY_PATH=$run "$2/frequency")" 1500000000
  expect "$1: identity" "$(LD_LIBRARY_PATH=$run "$2/identity" | head -n 1 | cut -f 2 | tr -d '\0')" "$identity"
  expect "$1: attenuation" "$("$2/attenuation" "$work/pad.s2p")" 0.25
  needed=$(readelf -dW "$2/frequency" | grep -oE 'libscpi_zlt[^]]*|libSkVisa[^]]*' | sort -u)
  expect "$1: frequency needs" "$needed" libscpi_zlt.so.2
}

export PKG_CONFIG_PATH=$tree/lib/pkgconfig
simulator=$(pkg-config --variable=simulatordir scpi_zlt)
run=$tree/lib:$simulator
# The tool finds the library, and the simulator by the name of the resource.
identity=$("$tree/bin/scpi-zlt" SIM0::INSTR::ZLT '*IDN?' | tr -d '\0')
[ -n "$identity" ]

mkdir "$work/cmake" "$work/pkgconfig" "$work/plain"
"$cmake" -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$tree" -DEXAMPLES="$examples" >/dev/null
"$cmake" --build "$work/cmake" >/dev/null
try CMake "$work/cmake"

read -ra flags <<<"$(pkg-config --cflags --libs scpi_zlt)"
cc "$examples/frequency.c" -o "$work/pkgconfig/frequency" "${flags[@]}"
c++ -std=c++20 "$examples/identity.cpp" -o "$work/pkgconfig/identity" "${flags[@]}"
c++ -std=c++20 "$here/attenuation.cpp" -o "$work/pkgconfig/attenuation" "${flags[@]}" -lscpi_zlt_datafiles
try pkg-config "$work/pkgconfig"

export CPATH=$tree/include LIBRARY_PATH=$tree/lib
cc "$examples/frequency.c" -o "$work/plain/frequency" -lscpi_zlt
c++ -std=c++20 "$examples/identity.cpp" -o "$work/plain/identity" -lscpi_zlt
c++ -std=c++20 "$here/attenuation.cpp" -o "$work/plain/attenuation" -lscpi_zlt_datafiles
try -lscpi_zlt "$work/plain"
exit $failed
