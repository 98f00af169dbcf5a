#!/usr/bin/env bash
# Types a transcript at the tool, in an empty folder, and compares what a user would see, word for word.
#
# Usage: run_transcript.sh FOLDER_OF_THE_TOOL TRANSCRIPT
# A line "$ command" is typed; up to the next one follow its output and its error stream, and "[exit N]" when it failed.
# Of a page (.md) the blocks marked "console" are the transcript. Its port 5025 is replaced by one that is likely to be free, and
# a server that still runs at the end is killed by the number in the file "pid".
set -uo pipefail
transcript=$(realpath "$2")
PATH=$(realpath "$1"):$PATH
folder=$(mktemp -d)
trap '[ ! -s "$folder/pid" ] || kill "$(cat "$folder/pid")"; rm -rf "$folder"' EXIT
cd "$folder" || exit 1
port=''
if [[ $transcript == *.md ]]; then
  sed -n '/^```console$/,/^```$/{/^```/d;p}' "$transcript" >transcript
  transcript=transcript port=$((10000 + $$ % 20000))
fi
unset SCPI_ZLT_SIM_LOG

commands=$(grep -c '^\$ ' "$transcript")
[ "$commands" -gt 0 ] || { echo "no commands in $transcript"; exit 1; }

while IFS= read -r line; do
  [[ $line == '$ '* ]] || continue
  printf '%s\n' "$line"
  line=${line#'$ '}
  [ -z "$port" ] || line=$(sed "s/5025/$port/g; s/--raw\b/& $port/" <<<"$line")
  bash -c "$line" 2>&1 </dev/null
  status=$?
  [ $status -eq 0 ] || echo "[exit $status]"
done <"$transcript" >seen
diff -a -u --label expected --label seen "$transcript" seen && echo "$commands commands as written"
