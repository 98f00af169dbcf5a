#!/usr/bin/env bash
# Installs the Debian packages into a Debian 12 that has nothing on it, uses each as its user would, removes them, and looks
# for what they left. Needs root and network; about four minutes.
# packaging/try-packages.sh FOLDER_OF_PACKAGES [ROOT_TO_COPY]    made by packaging/build-deb.sh, and by debootstrap
set -euo pipefail
cd "$(dirname "$0")/.."
packages=$(cd "$1" && pwd)
root=$(mktemp -d)
finish() {
  umount -q "$root/proc" "$root/dev" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap finish EXIT
if [ $# -gt 1 ]; then
  cp -a "$2/." "$root"
else
  . cmake/setup.sh
  need debootstrap
  debootstrap --variant=minbase bookworm "$root" >/dev/null
fi
mkdir -p "$root/proc" "$root/dev" "$root/packages"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/"
cp "$packages"/*.deb "$root/packages"
rm -f "$root"/packages/*-dbgsym_*
cp examples/frequency.c "$root/packages"

in_root() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 chroot "$root" bash -euc "$1"
}

# The packages' dependencies are installed first, so that what is left at the end is ours.
in_root 'apt-get update -qq
         for package in /packages/*.deb; do dpkg-deb -f $package Depends; done | tr "," "\n" | sed -E "s/[(|].*//; s/:any//; s/ //g" |
           grep -vE "scpi-zlt|skvisa|zlt-visa" | sort -u | xargs apt-get install -y -qq --no-install-recommends gcc libc6-dev pkgconf >/dev/null
         apt-get clean'
files() { in_root 'find / -xdev \( -path /proc -o -path /dev -o -path /packages -o -path /tmp -o -path /var/cache -o -path /var/log -o -path /var/lib/apt -o -path "/var/lib/dpkg/*-old" -o -path /root -o -name "__pycache__" \) -prune -o -print | sort'; }
files >"$root/packages/before"

in_root 'apt-get install -y -qq --no-install-recommends /packages/*.deb >/dev/null'
echo "== The tool"
in_root 'scpi-zlt --version; scpi-zlt SIM0::INSTR::ZLT "*IDN?" ":FREQ 1.5 GHZ" ":FREQ?"'
echo "== A program in C"
in_root 'cd /tmp && cc /packages/frequency.c -o frequency $(pkg-config --cflags --libs scpi_zlt)
         LD_LIBRARY_PATH=$(pkg-config --variable=simulatordir scpi_zlt) ./frequency'
if compgen -G "$root/packages/python3-scpi-zlt_*" >/dev/null; then
  echo "== A program in Python"
  in_root 'cd /tmp && python3 -c "
from scpi_zlt import Generator
with Generator(\"SIM0::INSTR::ZLT\") as generator: print(generator.query(\"*IDN?\"))"'
fi
echo "== Removed"
in_root 'dpkg-query -W -f "\${Package}\n" "*scpi-zlt*" "*skvisa*" "*zlt-visa*" 2>/dev/null | xargs apt-get purge -y -qq >/dev/null'
files >"$root/packages/after"
if ! diff "$root/packages/before" "$root/packages/after"; then
  echo "is left, or was taken away"
  exit 1
fi
echo "nothing is left"
