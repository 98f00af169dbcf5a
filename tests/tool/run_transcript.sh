#!/usr/bin/env bash
# Types a transcript at the tool, in an empty folder, and compares what a person would see, word for word.
#
# Usage: run_transcript.sh FOLDER_OF_THE_TOOL TRANSCRIPT
# A line "$ command" is typed; up to the next one stand its output and its error stream, and "[exit N]" when it failed.
set -uo pipefail
transcript=$(realpath "$2")
PATH=$(realpath "$1"):$PATH
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
unset SCPI_ZLT_SIM_LOG

commands=$(grep -c '^\$ ' "$transcript")
[ "$commands" -gt 0 ] || { echo "no commands in $transcript"; exit 1; }

while IFS= read -r line; do
  [[ $line == '$ '* ]] || continue
  printf '%s\n' "$line"
  bash -c "${line#'$ '}" 2>&1 </dev/null
  status=$?
  [ $status -eq 0 ] || echo "[exit $status]"
done <"$transcript" >seen
diff -a -u --label expected --label seen "$transcript" seen && echo "$commands commands as written"
