#!/usr/bin/env bash
# Installs the Debian packages into a Debian 12 that has nothing on it, uses each as its user would, removes them, and looks
# for what they left. Needs root and network; about five minutes. Nothing of the computer it runs on is used or changed.
# packaging/try-packages.sh FOLDER_OF_PACKAGES [ROOT_TO_COPY]    made by packaging/build-deb.sh, and by debootstrap
set -euo pipefail
[ "$(id -u)" = 0 ] || { echo "packaging/try-packages.sh changes the root of the programs it starts: run it as root" >&2; exit 2; }
[ $# -ge 1 ] || { sed -n '2,4s/^# //p' "$0" >&2; exit 2; }
cd "$(dirname "$0")/.."
packages=$(cd "$1" && pwd)
root=$(mktemp -d)
finish() {
  umount -ql "$root/dev/pts" "$root/dev" "$root/proc" 2>/dev/null || true
  # Of a folder that is still mounted nothing is removed.
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
mkdir -p "$root"/{proc,dev,packages,manual}
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
mount -t devpts devpts "$root/dev/pts"
cp /etc/resolv.conf "$root/etc/"
cp "$packages"/*.deb "$root/packages"
rm -f "$root"/packages/*-dbgsym_*
# What a user has before any package: the pages, the examples, and what types the pages and finds differences.
cp -r docs examples tests/install tests/tool packaging/seventeen-tasks.sh "$root/manual"

clean=(env -i PATH=/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive)
as_root() { "${clean[@]}" HOME=/root chroot "$root" bash -euc "$1"; }
as_user() { "${clean[@]}" HOME=/home/user chroot --userspec=user:user "$root" bash -euo pipefail -c "cd; $1"; }
# Without caches, logs, and what is gone with the next start.
files() {
  as_root 'find / -xdev \( -path /proc -o -path /dev -o -path /packages -o -path /manual -o -path /home -o -path /root -o -path /run -o -path /tmp \
    -o -path /var/cache -o -path /var/log -o -path /var/lib/apt -o -path "/var/lib/dpkg/*-old" -o -name __pycache__ \) -prune -o -print | sort'
}

# The packages' dependencies, and programs that use the packages, come first, so that what is left at the end is ours.
as_root 'apt-get update -qq
         useradd --create-home --shell /bin/bash user
         for package in /packages/*.deb; do dpkg-deb -f $package Depends; done | tr "," "\n" | sed -E "s/[(|].*//; s/:any//; s/ //g" |
           grep -vE "scpi-zlt|skvisa|zlt-visa" | sort -u |
           xargs apt-get install -y -qq --no-install-recommends apt-utils bash-completion cmake g++ man-db netcat-openbsd ninja-build pkgconf \
             procps python3-pytest python3-pyvisa systemd zsh
         apt-get clean' >"$packages/install.log" 2>&1 || { tail -n 20 "$packages/install.log" >&2; exit 1; }
files >"$root/packages/before"

echo "== Installed"
as_root 'apt-get install -y -qq --no-install-recommends /packages/*.deb' >"$packages/install.log" 2>&1 || { tail -n 20 "$packages/install.log" >&2; exit 1; }
# A complaint of a tool that the installation calls, ldconfig say.
if grep -iE 'error|warning|not an ELF' "$packages/install.log"; then exit 1; fi
as_root 'dpkg-query -W "*scpi-zlt*" "*skvisa*" "*zlt-visa*"; dpkg --verify; ! ldconfig -p | grep libSkVisa'

echo "== The tool, typed from the manual"
for page in first-sweep connect lab-server recipes; do
  as_user "bash /manual/tool/run_transcript.sh /usr/bin /manual/docs/$page.md"
done

echo "== The seventeen tasks"
as_user 'bash /manual/seventeen-tasks.sh /manual/docs/recipes.md'

echo "== Programs in C and C++"
as_user 'export LD_LIBRARY_PATH=$(pkg-config --variable=simulatordir scpi_zlt)
  mkdir pkgconfig
  cc /manual/examples/frequency.c -o pkgconfig/frequency $(pkg-config --cflags --libs scpi_zlt)
  c++ -std=c++20 /manual/examples/identity.cpp -o pkgconfig/identity $(pkg-config --cflags --libs scpi_zlt)
  cmake -S /manual/install -B cmake -G Ninja -DEXAMPLES=/manual/examples >cmake.log
  cmake --build cmake >>cmake.log
  printf "# GHz S MA R 50\n1 0 0 0.25 0 0 0 0 0\n" >pad.s2p
  for how in pkgconfig cmake; do
    [ "$($how/frequency)" = 1500000000 ]
    $how/identity | grep -qa Sorvik
    echo "$how: frequency, identity"
  done
  [ "$(cmake/attenuation pad.s2p)" = 0.25 ]'

echo "== Programs in Python, without LD_LIBRARY_PATH"
as_user 'printf "%s\n" "from scpi_zlt import Generator" \
    "with Generator(\"SIM0::INSTR::ZLT\") as generator: print(generator.query(\":FREQ 1.5 GHZ;:FREQ?\"))" >own.py
  [ "$(python3 own.py)" = 1500000000 ]; echo "scpi_zlt"
  printf "%s\n" "import pyvisa" "generator = pyvisa.ResourceManager(\"@zlt\").open_resource(\"SIM0::INSTR::ZLT\")" \
    "generator.write(\":FREQ 1.5 GHZ\")" "print(generator.query(\":FREQ?\").strip())" "generator.close()" >front.py
  [ "$(python3 front.py)" = 1500000000 ]; echo "pyvisa"
  sed -n "/^\`\`\`pytest$/,/^\`\`\`$/p" /manual/docs/programs.md | grep -v "^\`\`\`" >test_own.py
  python3 -m pytest -q -p no:cacheprovider test_own.py | tail -n 1'

echo "== The service"
# As the page of the server says it. A root without systemd as its first process can switch it on, not start it.
as_root 'echo RESOURCE=SIM0::INSTR::ZLT >/etc/scpi-zlt/bench1.conf
  echo "OPTIONS=--raw 15025" >>/etc/scpi-zlt/bench1.conf
  systemd-analyze verify scpi-zlt@bench1.service
  systemctl enable scpi-zlt@bench1 2>&1'
as_user 'set -- $(sed "s/^[A-Z]*=//" /etc/scpi-zlt/bench1.conf)
  scpi-zlt serve "$@" >server.log 2>&1 & server=$!
  until grep -q "port 15025" server.log; do kill -0 $server; read -rt 0.1 <> <(:) || true; done
  [ "$(scpi-zlt -s 127.0.0.1:15025 ":FREQ 1 GHZ" ":FREQ?")" = 1000000000 ]
  kill $server; wait $server; echo "its command serves"'

echo "== Pages and completion"
as_user 'MANPAGER=cat man scpi-zlt | grep -A 1 "^NAME"
  MANPAGER=cat man libscpi_zlt | grep -A 1 "^NAME"
  bash -ic ". /usr/share/bash-completion/bash_completion; _completion_loader scpi-zlt
    COMP_WORDS=(scpi-zlt s) COMP_CWORD=1; _scpi_zlt; echo bash: \${COMPREPLY[*]} | grep \"shell\"" 2>/dev/null
  zsh -fc "autoload -U compinit; compinit -D; echo zsh: \$_comps[scpi-zlt]" | grep _scpi-zlt'

echo "== Upgraded"
# The next version: the same files under a higher number.
as_root 'mkdir /packages/next
  for package in /packages/*.deb; do
    dpkg-deb -R "$package" /tmp/package
    sed -i "/^Version: /s/$/+next/; /^Depends: /s/(= [^)]*/&+next/g" /tmp/package/DEBIAN/control
    dpkg-deb -b /tmp/package /packages/next
    rm -r /tmp/package
  done
  apt-get install -y -qq --no-install-recommends /packages/next/*.deb' >"$packages/install.log" 2>&1 || { tail -n 20 "$packages/install.log" >&2; exit 1; }
as_root 'dpkg-query -W "*scpi-zlt*" "*skvisa*" "*zlt-visa*"; dpkg --verify
  grep -q 15025 /etc/scpi-zlt/bench1.conf
  systemctl is-enabled scpi-zlt@bench1'
as_user 'scpi-zlt SIM0::INSTR::ZLT "*IDN?"'

echo "== Removed"
as_root 'dpkg-query -W -f "\${Package}\n" "*scpi-zlt*" "*skvisa*" "*zlt-visa*" | xargs apt-get purge -y -qq' >"$packages/install.log" 2>&1 ||
  { tail -n 20 "$packages/install.log" >&2; exit 1; }
files >"$root/packages/after"
if ! diff "$root/packages/before" "$root/packages/after"; then
  echo "is left (>), or was taken away (<)"
  exit 1
fi
echo "nothing is left of $(wc -l <"$root/packages/before") files before"
