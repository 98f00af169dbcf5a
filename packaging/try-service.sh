#!/usr/bin/env bash
# Boots a Debian 12 in a container and runs the systemd unit there: started, asked by a client, confined, killed, stopped. Needs
# root, network and systemd-container; 70 seconds once the root to copy is there.
# packaging/try-service.sh BUILD_FOLDER [ROOT_TO_COPY]    made by ./run, and by debootstrap
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/setup.sh
build=$(cd "$1" && pwd)
need systemd-container
place=$(mktemp -d)
root=$place/root
trap 'rm -rf --one-file-system "$place"' EXIT
if [ $# -gt 1 ]; then
  cp -a "$2" "$root"
else
  need debootstrap
  debootstrap --variant=minbase bookworm "$root" >/dev/null
fi
cp -L /etc/resolv.conf "$root/etc/"
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive chroot "$root" sh -euc '
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends systemd-sysv libedit2 libtirpc3 netcat-openbsd python3-minimal >/dev/null 2>&1
  systemctl -q mask systemd-networkd-wait-online.service console-getty.service'
DESTDIR=$root cmake --install "$build" --prefix /usr >/dev/null
chroot "$root" ldconfig
rm -f "$root/etc/machine-id"
mkdir -p "$root/etc/scpi-zlt" "$root/try"
printf 'RESOURCE=SIM0::INSTR::ZLT\nOPTIONS=--raw --hislip\n' >"$root/etc/scpi-zlt/bench.conf"
printf 'RESOURCE=SIM0::INSTR\nOPTIONS=--raw 0\n' >"$root/etc/scpi-zlt/mistaken.conf"
cp tests/interop/hislip_client.py "$root/try"
cat >"$root/etc/systemd/system/try.service" <<'EOT'
[Unit]
After=multi-user.target
SuccessAction=poweroff
FailureAction=poweroff
[Service]
Type=oneshot
ExecStart=/bin/bash /try/inside
TimeoutStartSec=120
StandardOutput=append:/try/result
StandardError=append:/try/result
EOT
mkdir -p "$root/etc/systemd/system/default.target.wants"
ln -s ../try.service "$root/etc/systemd/system/default.target.wants/"

cat >"$root/try/inside" <<'EOT'
set -eu
unit=scpi-zlt@bench
property() { systemctl show -P "$1" "$unit"; }
ask() { printf '%s\n' "$1" | nc -N -w 10 127.0.0.1 5025; }
expect() { [ "$2" = "$3" ] && echo "ok: $1: $2" || { echo "FAILED: $1: $2, not $3"; exit 1; }; }
refused() { ! nsenter -m -t "$pid" "$@" 2>/tmp/why || { echo "FAILED: $*"; exit 1; }; echo "ok: $(tail -n 1 /tmp/why)"; }

systemctl start "$unit"
expect "started, when READY=1 has come" "$(property ActiveState)" active
expect "what it says with it" "$(property StatusText)" "Serving SIM0::INSTR::ZLT"
expect "raw socket" "$(ask ':FREQ 1GHZ;:FREQ?')" 1000000000
expect "HiSLIP" "$(cd /try && python3 -c "
from hislip_client import Session
print(Session(('127.0.0.1', 4880)).query(b':FREQ?\n').decode())")" 1000000000

pid=$(property MainPID)
status() { sed -n "s/^$1:[[:space:]]*\([^[:space:]]*\).*/\1/p" "/proc/$pid/status"; }
[ "$(status Uid)" -ge 61184 ] && echo "ok: a user of its own, $(status Uid)"
for row in CapEff=0000000000000000 CapBnd=0000000000000000 CapAmb=0000000000000000 NoNewPrivs=1 Seccomp=2; do
  expect "${row%=*}" "$(status "${row%=*}")" "${row#*=}"
done
refused touch /usr/a /etc/a /var/a
touch /home/theirs /root/theirs /tmp/theirs
expect "what it sees of others' files" "$(nsenter -m -t "$pid" sh -c 'ls -A /home; ls -A /root; ls -A /tmp')" ""

systemctl kill -s KILL "$unit"
until [ "$(property NRestarts)" = 1 ] && [ "$(property ActiveState)" = active ]; do sleep 0.2; done
expect "started again after SIGKILL" "$(ask '*OPC?')" +1
exec 3<>/dev/tcp/127.0.0.1/5025
systemctl stop "$unit"
expect "stopped with a client connected" "$(property Result) $(property ExecMainStatus)" "success 0"
journalctl -q -o cat -u "$unit" | grep -qx '.* ending: messages under way finish' && echo "ok: its log is in the journal"

! systemctl start scpi-zlt@mistaken 2>/dev/null && journalctl -q -o cat -u scpi-zlt@mistaken | grep -m 1 "has to end in ::ZLT"
echo done
EOT
timeout 180 systemd-nspawn --quiet --register=no --keep-unit --private-network --boot -D "$root" --machine="try-service-$$" \
  </dev/null >"$place/boot" 2>&1 || tail -n 20 "$place/boot"
cat "$root/try/result"
[ "$(tail -n 1 "$root/try/result")" = "done" ]
