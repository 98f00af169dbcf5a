#!/usr/bin/env bash
# Includes point one way: each room sees itself, the public headers and the rooms named here, and nothing else of ours.
# Prints each line that breaks this, and fails.
set -u
cd "$(dirname "$0")/.."
failed=0
every='include|support|scpi_core|protocol|src|datafiles|simulator|library|client|server|visa|tools|examples|tests|bench|fuzz'

# allow ROOM [OTHER...]: the room's includes, without those of the others.
allow() {
  local room=$1 seen hits
  seen="scpi_zlt|$(IFS='|' && echo "$*")"
  hits=$(grep -rnE "^#include [\"<]($every)/" "$room" --include='*.h' --include='*.cpp' --include='*.c' \
    2>/dev/null |
    grep -vE ":#include [\"<]($seen)/")
  if [ -n "$hits" ]; then
    echo "$room must not include:"
    echo "$hits"
    failed=1
  fi
}

allow include
allow support
allow scpi_core support
allow protocol support
allow src scpi_core protocol support
allow datafiles support
allow simulator protocol
allow client
allow server client
allow visa client
allow tools client server simulator
allow examples

# The rooms of the model: handlers call CDevice, nobody reaches into it.
hits=$(grep -rnE '^#include "src/plib/' src/Device src/Device.h src/LinkExchange.* 2>/dev/null)
if [ -n "$hits" ]; then
  echo "the model must not know the command set:"
  echo "$hits"
  failed=1
fi
# The link knows nothing of the model that sends over it.
hits=$(grep -nE '^#include "src/Device.h"' src/Device/{Link,Exchange,ExchangeGate,Fields,RunThread}.{h,cpp} 2>/dev/null)
if [ -n "$hits" ]; then
  echo "the link must not know the model:"
  echo "$hits"
  failed=1
fi
exit $failed
