#!/usr/bin/env bash
# Includes point one way: support <- scpi_core <- src, support <- datafiles; the simulator shares three headers with src;
# client and examples see include/ only, server and tools also client. Prints each line that breaks this, and fails.
set -u
cd "$(dirname "$0")/.."
failed=0

# forbid FOLDER PATTERN WHAT: no include in FOLDER may match PATTERN.
forbid() {
  local hits
  hits=$(grep -rnE "^#include [\"<]($2)" "$1" --include='*.h' --include='*.cpp' --include='*.c' 2>/dev/null)
  if [ -n "$hits" ]; then
    echo "$1 must not include $3:"
    echo "$hits"
    failed=1
  fi
}

others='support|scpi_core|src|datafiles|simulator|tools|tests'
forbid include "($others|client|server)/" 'anything but public headers'
forbid support '(scpi_core|src|datafiles|simulator|tools|tests)/' 'other rooms'
forbid scpi_core '(src|datafiles|simulator|tools|tests)/' 'the instrument'
forbid src '(datafiles|simulator|tools|tests)/' 'other rooms'
forbid datafiles '(scpi_core|src|simulator|tools|tests)/' 'other rooms'
forbid client "($others|server)/" 'anything but public headers'
forbid server "($others)/" 'anything but public headers and client'
forbid tools '(support|scpi_core|src|datafiles|simulator|tests)/' 'anything but public headers, client and server'
forbid examples "($others|client|server)/" 'anything but public headers'
forbid simulator '(support|scpi_core|datafiles|tools|tests)/' 'other rooms'
hits=$(grep -rnE '^#include "src/' simulator | grep -vE '"src/(comset|ComSetInfo|visa)\.h"')
if [ -n "$hits" ]; then
  echo "simulator shares only comset.h, ComSetInfo.h and visa.h with src:"
  echo "$hits"
  failed=1
fi

# The rooms of the model: handlers call CDevice, nobody reaches into it.
hits=$(grep -rnE '^#include "src/plib/' src/Device src/Device.h src/LinkExchange.* 2>/dev/null)
if [ -n "$hits" ]; then
  echo "the model must not know the command set:"
  echo "$hits"
  failed=1
fi
exit $failed
