#!/usr/bin/env bash
# Runs the example programs on the simulated generator and looks at what they print, and for the sweep at the packets:
# it has to run to its end.
#
# Usage: run_examples.sh FOLDER_OF_THE_EXAMPLES
set -uo pipefail
cd "$(dirname "$0")/../.." || exit 1
programs=$1
log=$(mktemp)
trap 'rm -f "$log"' EXIT
failed=0

# expect WHAT IS WANTED
expect() {
  [ "$2" = "$3" ] && return
  printf '%s printed\n%s\nand not\n%s\n' "$1" "$2" "$3"
  failed=1
}

expect frequency "$("$programs/frequency")" 1500000000
expect identity "$("$programs/identity" SIM0::serial=7::INSTR::ZLT | tr -d '\0')" '*IDN?	Sorvik,ZG-20E,7
:FREQ?	10005000000
:POW?	-100
:OUTP?	OFF
:SYST:ERR?	+0,"No error"'
expect sweep.py "$(python3 examples/sweep.py)" 'Sorvik,ZG-20E,000000
:FREQ:STAR?  1000000000
:FREQ:STOP?  2000000000
:SWE:POIN?   11
:POW?        -10
:FREQ:MODE?  SWEep
:SYST:ERR?   +0,"No error"'

# The pass takes much longer than points times dwell.
expect single_sweep "$(SCPI_ZLT_SIM_LOG=$log "$programs/single_sweep" SIM0::pass=1500::INSTR::ZLT)" 'over, +0,"No error"'
expect "the sweep of single_sweep" "$(grep -c -e '<- RUN SK_NO_ERROR' "$log") ended, $(grep -c -e '-- clear' "$log") broken off" \
  "1 ended, 0 broken off"
exit $failed
