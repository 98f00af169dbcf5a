# Completion of scpi-zlt for bash: verbs and options as the tool's own --help lists them, file names elsewhere. The tool
# answers --help without an instrument and without a VISA provider.
_scpi_zlt() {
  local word=${COMP_WORDS[COMP_CWORD]} i help verbs path=()
  help=$("${COMP_WORDS[0]}" --help 2>/dev/null) || return
  for ((i = 1; i < COMP_CWORD; i++)); do
    verbs=$(sed -n '/^Subcommands:/,$ s/^  \([a-z0-9]\+\) .*/\1/p' <<<"$help")
    grep -qxF -- "${COMP_WORDS[i]}" <<<"$verbs" || continue
    path+=("${COMP_WORDS[i]}")
    help=$("${COMP_WORDS[0]}" "${path[@]}" --help 2>/dev/null) || return
  done
  if [[ $word == -* ]]; then
    help=$(sed -n 's/^  \(-[^ ]*\).*/\1/p' <<<"$help" | tr , '\n' | grep '^--')
    mapfile -t COMPREPLY < <(compgen -W "$help" -- "$word")
    return
  fi
  verbs=$(sed -n '/^Subcommands:/,$ s/^  \([a-z0-9]\+\) .*/\1/p' <<<"$help")
  mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$word"; [ ${#path[@]} -eq 0 ] || compgen -f -- "$word")
}
complete -o filenames -F _scpi_zlt scpi-zlt
