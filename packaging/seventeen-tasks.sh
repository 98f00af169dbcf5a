#!/usr/bin/env bash
# Does the tasks of docs/recipes.md as a new user does: types the messages of the page at the tool, compares the answers with those
# of the page, and looks at what the simulated generator then holds. Triggers come from the Python package.
# packaging/seventeen-tasks.sh [RECIPES]     with scpi-zlt on the path, and scpi_zlt where python3 finds it
set -euo pipefail
page=$(realpath "${1:-$(dirname "$0")/../docs/recipes.md}")
work=$(mktemp -d)
server=''
trap '[ -z "$server" ] || kill "$server"; rm -rf "$work"' EXIT
cd "$work"
export SCPI_ZLT_SIM_LOG=$work/packets
ok='SK_NO_ERROR$'
done=0 failed=0 task=''

fail() {
  echo "$task: $*"
  failed=1
}

# begin NAME: the chapter of the page that the next lines take their blocks from.
begin() {
  [ -z "$task" ] || done=$((done + 1))
  task=$1
}

# block N: of the chapter, without the fences.
block() {
  awk -v chapter="## $task" -v wanted="$1" '
    /^## / { here = $0 == chapter }
    here && /^```/ { inside = !inside; n += inside; next }
    here && inside && n == wanted' "$page" | grep . || { fail "the page has no block $1"; exit 1; }
}

# enter N [KEYS]: types the N-th block at a simulated generator of the last firmware form that the block names. Goes on after
# "! await=passes:N" when so many sweeps have ended.
enter() {
  local resource line
  block "$1" >block
  resource=$(head -n 1 block | sed -E 's/fw=[g0-9|]*(g[0-5])/fw=\1/')
  [ -z "${2:-}" ] || resource=SIM0::$2::INSTR
  sed -n 's/^< \?//p' block >wanted
  rm -f packets
  while IFS= read -r line; do
    case $line in
      '> '*) printf '%s\n' "${line#> }" ;;
      '! await=passes:'*) await packets '<- RUN SK_NO_ERROR' "${line##*:}" ;;
    esac
  done <block | scpi-zlt "$resource::ZLT" >answers 2>errors || true
  ! grep -q '^! await=passes' block || grep -q '^! trigger' block || grep -q -- '<- RUN SK_NO_ERROR' packets || fail "no sweep has ended"
}

# await FILE TEXT [TIMES]: until a file that is being written has lines with the text, 20 s at most.
await() {
  grep -m "${3:-1}" -- "$2" < <(timeout 20 tail --pid=$$ -n +1 -F "$1" 2>/dev/null) >/dev/null
}

# good: no message left an error, and the answers are those of the page.
good() {
  [ ! -s errors ] || fail "$(cat errors)"
  diff -u wanted answers || fail "other answers than on the page"
}

# holds PARAMETER VALUES: the last that was set, and that the generator took it as it is.
holds() {
  local last
  last=$(grep -- "<- SET $1 " packets | tail -n 1) || true
  grep -qE -- "\[$2\] $ok" <<<"$last" || fail "the generator does not hold $1 [$2] but: $last"
}

# triggered N: the sweep of the first block ends with the N-th trigger, and not before.
triggered() {
  block 1 >block
  python3 - "$1" block <<'EOT' || fail "not stepped by the triggers"
import sys
from scpi_zlt.simulator import SimulatedGenerator

with SimulatedGenerator() as generator:
    for line in open(sys.argv[2]):
        if line.startswith("> ") and "?" not in line:
            generator.write(line[2:].strip())
    for _ in range(int(sys.argv[1])):
        generator.wait("held")
        assert generator.ask("passes") == "0", "ended too early"
        generator.trigger()
    generator.wait("passes:1")
EOT
}

begin 'CW at a level that is not whole dBm'
enter 1; good; holds P_FREQUENCY 1500000000; holds P_RF_OUT2 '1, 0, 0, 0, -10.5'
enter 3; good; holds P_RF_OUT2 '1, 0, 0, 0, -10.5'

begin 'CW, stepped by hand'
enter 1; good
for frequency in 1000000000 1100000000 1200000000; do
  grep -qE -- "<- SET P_FREQUENCY .*\[$frequency\] $ok" packets || fail "$frequency Hz was not set"
done
holds P_RF_OUT2 '0, 0, 0, 0, -10'

begin 'Frequency sweep'
enter 1; good; holds P_FREQUENCY '1000000000, 11, 100000000, 2000000000'; holds P_INTERVAL '0, 10000000'
enter 2; good

begin 'Level sweep with an external trigger'
enter 1; good; holds P_RF_OUT2 '1, 0, 0, 0, -20, 5, 5, 0'; triggered 1

begin 'Centre, span and step'
enter 1; good; holds P_FREQUENCY '1450000000, 101, 1000000, 1550000000'

begin 'List sweep of frequency and power'
enter 1; good; holds P_FREQUENCY_LIST2 '0, 3, 1000000000, 1500000000, 3000000000'; holds P_RF_OUT_LIST2 '.*, 3, -10, -20, -30'

begin 'List stepped by a trigger'
enter 1; good; holds P_FREQUENCY_LIST2 '0, 3, 1000000000, 1500000000, 3000000000'; triggered 3

begin 'Pulse of 1 µs in 10 µs'
enter 2; good; holds P_GEN_SYNC '1000, 9000, 0'

begin 'Pulse train'
# The page says that it cannot be started, and the tool says so too.
enter 1
grep -q '":PULM:STAT ON": -224,"Illegal parameter value"' errors || fail "the refusal is not said: $(cat errors)"
! grep -q 'SET P_MODULATION' packets || fail "something was sent"

begin 'External pulse and external levelling'
enter 1; good; holds P_MODULATION '2, 2, 0, 0, 1, 0, 0'
enter 2; good

begin 'Auxiliary and synchronisation output'
enter 1; good
enter 2; good; holds P_GEN_SYNC '50, 950, 0'

begin 'External reference, and whether it is locked'
enter 1; good; holds P_EXT_REF_GEN '1, 10000000'
# What is done to the instrument from outside is so from the start here.
enter 2 pll=0; sed -i '1s/128/136/' wanted; good

begin 'Wait for the end of a sweep'
# By the tool, which ends when the sweep has ended, and with the messages of the page.
rm -f packets
scpi-zlt sweep SIM0::INSTR::ZLT --start 1GHz --stop 2GHz --points 11 --dwell 10ms --level -10 >answers
grep -q -- "<- RUN SK_NO_ERROR" packets || fail "the sweep has not ended"
enter 1; good

begin 'Logarithmic sweep'
enter 1; good; holds P_FREQUENCY_LIST2 '0, 5, 1000000000, 1741101127, 3031433133, 5278031643, 16000000000'
enter 2; good; holds P_FREQUENCY_LIST2 '0, 5, 1000000000, 2000000000, 4000000000, 8000000000, 16000000000'

begin 'Save and restore'
rm -f packets
scpi-zlt serve SIM0::INSTR::ZLT --raw 15025 >server 2>&1 & server=$!
await server 'port 15025' || fail "$(cat server)"
here=(-s 127.0.0.1:15025)
scpi-zlt "${here[@]}" ':FREQ 1.5 GHZ' ':POW -10' ':OUTP ON'
scpi-zlt save "${here[@]}" -o saved
scpi-zlt "${here[@]}" ':FREQ 3 GHZ' ':POW -40' ':OUTP OFF'
scpi-zlt load "${here[@]}" saved
[ "$(scpi-zlt "${here[@]}" ':FREQ?' ':POW?' ':OUTP?' | tr '\n' ' ')" = '1500000000 -10 ON ' ] || fail "reads otherwise"
holds P_FREQUENCY 1500000000; holds P_RF_OUT2 '1, 0, 0, 0, -10'
kill $server
wait $server || fail "the server ended with $?"
server=''

begin 'Level through a cable'
printf '%s\n' '# GHz S dB R 50' '1 -20 0 -3 0 -3 0 -20 0' '2 -20 0 -5 0 -5 0 -20 0' >cable.s2p
rm -f packets
scpi-zlt sweep SIM0::INSTR::ZLT --start 1GHz --stop 2GHz --points 3 --dwell 10ms --level 0 --through cable.s2p >answers
holds P_RF_OUT_LIST2 '.*, 3, 3, 4, 5'; holds P_FREQUENCY_LIST2 '0, 3, 1000000000, 1500000000, 2000000000'

begin 'Everything read back'
enter 1; good; holds P_FREQUENCY '1000000000, 11, 100000000, 2000000000'

begin ''
[ $done = "$(grep -c '^[0-9]*\. \[' "$page")" ] || { echo "$done tasks, and not as many as the page lists"; failed=1; }
[ $failed = 0 ] && echo "$done tasks as on the page"
exit $failed
