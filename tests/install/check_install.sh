#!/usr/bin/env bash
# Installs into a folder, moves it, and builds and runs a user's programs in C and C++ against it: by CMake, by
# pkg-config, and with the two words "-lscpi_zlt" alone. Each must need the library and, by itself, no provider. Then, with no
# variable set, in Python and by the VISA library in front.
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

# bare PROGRAM: what the program in Python prints. It finds the packages of the tree, and nothing else is set.
packages=$tree/lib/python3/dist-packages
mkdir -p "$packages"
cp -r "$here"/../../python/*_zlt "$packages"
bare() { env -i PYTHONDONTWRITEBYTECODE=1 PYTHONPATH="$packages" /usr/bin/python3 -c "$1" 2>&1; }

simulated='import scpi_zlt.simulator
with scpi_zlt.simulator.SimulatedGenerator() as generator: print(generator.query(":FREQ 1 GHZ;:FREQ?"))'
expect 'Python: a generator' "$(bare 'import scpi_zlt
with scpi_zlt.Generator("SIM0::INSTR::ZLT") as generator: print(generator.query(":FREQ 1 GHZ;:FREQ?"))')" 1000000000
expect 'Python: a simulated generator' "$(bare "$simulated")" 1000000000
expect 'The front' "$(bare "import ctypes
front = ctypes.CDLL('$tree/lib/libzlt_visa.so')"'
manager, session, text = ctypes.c_uint32(), ctypes.c_uint32(), ctypes.create_string_buffer(64)
assert front.viOpenDefaultRM(ctypes.byref(manager)) == 0
assert front.viOpen(manager, b"SIM0::INSTR::ZLT", 0, 0, ctypes.byref(session)) == 0
assert front.viWrite(session, b":FREQ 1 GHZ;:FREQ?", 18, None) == 0 and front.viRead(session, text, 64, None) == 0
print(text.value.decode().strip())
front.viClose(manager)')" 1000000000
if /usr/bin/python3 -c 'import pyvisa' 2>/dev/null; then
  expect 'pyvisa' "$(bare 'import pyvisa
generator = pyvisa.ResourceManager("@zlt").open_resource("SIM0::INSTR::ZLT")
print(generator.query(":FREQ 1 GHZ;:FREQ?").strip())
generator.close()')" 1000000000
fi
echo broken >"$simulator/libSkVisa.so.2"
expect 'Python: a broken simulator' "$(bare "$simulated" | tail -n 1)" \
  'That is the installed simulator: install it again, or take it away.'
exit $failed
