#!/usr/bin/env bash
# Reads the RUNPATH of every program and library that is built and, in a folder of its own, installed. With an empty or
# relative element a library in the working directory would be loaded. What is installed has none, or the folder of the
# libraries beside it.
# check_runpath.sh BUILD_FOLDER CMAKE
set -eu
build=$1 cmake=$2 failed=0
installed=$(mktemp -d)
trap 'rm -rf "$installed"' EXIT
"$cmake" --install "$build" --prefix "$installed" >/dev/null

# runpaths FOLDER: "file: RUNPATH" of each file that has one, and fails where no program or library is found.
runpaths() {
  local file found=no line
  while IFS= read -r -d '' file; do
    line=$(readelf -dW "$file" 2>/dev/null) || continue
    found=yes
    sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]/\2/p' <<<"$line" | sed "s|^|$file: |"
  done < <(find "$1" -path '*/CMakeFiles/*' -prune -o -type f \( -perm -u+x -o -name '*.so*' \) -print0)
  [ $found = yes ] || { echo "nothing built or installed in $1" >&2; return 1; }
}

built=$(runpaths "$build")
[ -n "$built" ] || { echo "no RUNPATH in $build: the library finds no provider"; exit 1; }
if grep -vE ': (/|\$ORIGIN)[^:]*(:(/|\$ORIGIN)[^:]*)*$' <<<"$built"; then
  echo "has an element that is neither absolute nor relative to the file"
  failed=1
fi
if runpaths "$installed" | grep -vE ': \$ORIGIN(/\.\./lib)?$'; then
  echo "is installed with a RUNPATH that leaves the installed tree"
  failed=1
fi
exit $failed
