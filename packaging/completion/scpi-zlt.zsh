#compdef scpi-zlt
# Completion of scpi-zlt for zsh: verbs and options as the tool's own --help lists them, file names elsewhere. The tool
# answers --help without an instrument and without a VISA provider.
_scpi_zlt() {
  local help word
  local -a verbs said
  _scpi_zlt_verbs() { verbs=(${(f)"$(sed -n '/^Subcommands:/,$ s/^  \([a-z0-9]\{1,\}\) .*/\1/p' <<<"$help")"}) }
  help=$($words[1] --help 2>/dev/null) || return 1
  _scpi_zlt_verbs
  for word in ${words[2,CURRENT-1]}; do
    (( ${verbs[(Ie)$word]} )) || continue
    said+=($word)
    help=$($words[1] $said --help 2>/dev/null) || return 1
    _scpi_zlt_verbs
  done
  if [[ $words[CURRENT] == -* ]]; then
    compadd -- ${(f)"$(sed -n 's/^  \(-[^ ]*\).*/\1/p' <<<"$help" | tr , '\n' | grep '^--')"}
    return
  fi
  (( $#verbs )) && compadd -- $verbs
  (( $#said )) && _files
}
if [[ $funcstack[1] == _scpi-zlt ]]; then _scpi_zlt; else compdef _scpi_zlt scpi-zlt; fi
