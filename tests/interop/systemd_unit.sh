#!/bin/sh
# The systemd unit, by systemd's own checker: systemd_unit.sh DIRECTORY SCPI_ZLT. Nothing is started. Exit status 77: skipped.
set -eu
command -v systemd-analyze >/dev/null || { echo "skipped: systemd-analyze is not installed"; exit 77; }
place=$(mktemp -d)
trap 'rm -r "$place"' EXIT
# The instance needs a program, a file and a manual page that exist; the page is installed later.
echo RESOURCE=SIM0::INSTR::ZLT >"$place/generator.conf"
sed "s|/usr/bin/scpi-zlt|$2|; s|/etc/scpi-zlt/|$place/|; /^Documentation=/d" "$1/scpi-zlt@.service" >"$place/scpi-zlt@generator.service"
systemd-analyze verify "$place/scpi-zlt@generator.service" 2>"$place/complaints"
if grep . "$place/complaints"; then exit 1; fi
# From 0, fully confined, to 100.
systemd-analyze security --offline=true --threshold=25 "$place/scpi-zlt@generator.service" | tail -n 1
