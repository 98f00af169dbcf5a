#!/usr/bin/env bash
# What the pages name and show exists: the first program is that of examples/, every path exists, every command line for
# the compiler builds a program that runs, every pattern for ctest finds tests.
#
# Usage: check_pages.sh, after a release build.
set -uo pipefail
cd "$(dirname "$0")/.."
pages=(README.md CONTRIBUTING.md docs/*.md)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

complain() {
  printf '%s\n' "$*"
  failed=1
}

# The program of the examples without its first line, in the README and in the header.
tail -n +2 examples/frequency.c >"$folder/program"
sed -n '/^```c$/,/^```$/p' README.md | sed '1d;$d' >"$folder/readme"
sed -n '/^ \*   #include/,/^ \*   }$/p' include/scpi_zlt/scpi_zlt.h | sed 's/^ \*   //;s/^ \*$//' >"$folder/header"
for place in readme header; do
  diff -u --label examples/frequency.c --label "$place" "$folder/program" "$folder/$place" ||
    complain "the program in the $place is another one"
done

# Paths in backquotes: their first folder is one of ours.
while IFS=: read -r page path; do
  compgen -G "$path" >/dev/null || complain "$page names $path, which is not there"
done < <(grep -oE '`[^`]+`' "${pages[@]}" | tr -d '`' | sed -E 's/ .*//' |
  grep -E ':(\./)?(include|support|scpi_core|protocol|src|datafiles|simulator|library|client|server|python|tools|examples|tests|bench|fuzz|docs|cmake|build/release)/' |
  sort -u)

# Compiler command lines, run in a folder with a program called my.c.
ln -s "$PWD/include" "$PWD/simulator" "$PWD/build" "$folder"
count=0
while IFS= read -r line; do
  count=$((count + 1))
  cat examples/frequency.c >"$folder/my.c"
  case $line in
    *SkVisa*)
      sed -i '1i #include "simulator/control.h"\n' "$folder/my.c"
      sed -i 's/  return skClose/  if (simControl("SIM0 heal=1") != 0) return 1;\n&/' "$folder/my.c"
      ;;
  esac
  (cd "$folder" && eval "$line" && ./a.out >/dev/null) || complain "does not work: $line"
done < <(grep -hoE '^(    )?cc my\.c .*' "${pages[@]}")
[ $count -ge 2 ] || complain "$count lines for the compiler found"

count=0
while IFS= read -r pattern; do
  count=$((count + 1))
  ctest --preset release -N -R "$pattern" | grep -q '^Total Tests: [1-9]' || complain "ctest -R '$pattern' finds nothing"
done < <(grep -hoE "ctest --preset release -R '?[^'\` ]+" "${pages[@]}" | sed -E "s/.* -R '?//")
[ $count -ge 2 ] || complain "$count lines for ctest found"
exit $failed
