#!/usr/bin/env bash
# Builds the Debian packages of what is committed and puts them into a folder; lintian has to find no error in them.
# packaging/build-deb.sh [FOLDER]     default: build/deb
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/setup.sh
mkdir -p "${1:-build/deb}"
folder=$(cd "${1:-build/deb}" && pwd)
need "${build_packages[@]}" "${debian_packages[@]}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
git archive --prefix=scpi-zlt/ HEAD | tar -x -C "$work"
cp -r "$work/scpi-zlt/packaging/debian" "$work/scpi-zlt/debian"
log=$folder/build.log
# Debian's own Python, whichever comes first on the path.
if ! (cd "$work/scpi-zlt" && PATH=/usr/sbin:/usr/bin:/sbin:/bin dpkg-buildpackage -us -uc -b) >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi
rm -f "$folder"/*.deb
cp "$work"/*.deb "$folder"
lintian --fail-on error --allow-root --tag-display-limit 0 "$work"/*.changes
ls "$folder"/*.deb
