#!/usr/bin/env bash
# The man pages have no errors, the verbs and options of scpi-zlt.1 are those of the tool's help, and the program in libscpi_zlt.3
# is that of the examples.
#
# Usage: check_manpages.sh TOOL
set -uo pipefail
tool=$(realpath "$1")
cd "$(dirname "$0")/.."
pages=packaging/man
failed=0

# A reference to a page that this machine does not have installed is no error.
! mandoc -T lint "$pages"/*.[13] | grep -v 'referenced manual not found' || failed=1

# show_help [VERB...]: the help of the tool, of each verb, and of each verb's verbs.
show_help() {
  local text verb
  text=$("$tool" "$@" --help)
  printf '%s\n' "$text"
  for verb in $(verbs_of <<<"$text"); do show_help "$@" "$verb"; done
}
verbs_of() { sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9]*\) .*/\1/p'; }

same() { diff -u --label "help of the tool" --label "$pages/scpi-zlt.1" "$1" "$2" || failed=1; }
same <(show_help | awk '/^  -/ {print $1}' | tr ',' '\n' | sed 's/{.*//' | sort -u) \
  <(grep '^\.It Fl' "$pages/scpi-zlt.1" | grep -oE 'Fl [a-z0-9-]+' | sed 's/^Fl /-/' | sort -u)
same <("$tool" --help | verbs_of | sort) <(grep '^\.It Ic' "$pages/scpi-zlt.1" | grep -oE 'Ic [a-z0-9]+' | cut -d' ' -f2 | sort -u)
diff -u --label examples/frequency.c --label "$pages/libscpi_zlt.3" <(tail -n +2 examples/frequency.c) \
  <(sed -n '/^\.Bd -literal$/,/^\.Ed$/p' "$pages/libscpi_zlt.3" | sed '1d;$d;s/\\e/\\/g') || failed=1
exit $failed
