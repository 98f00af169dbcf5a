#!/usr/bin/env bash
# Common misspellings in this repository. Excepted: short forms of headers and other names that look misspelt, and a
# misspelt text of the instrument.
set -euo pipefail
cd "$(dirname "$0")/.."
names=fo,fro,kinf,logicaly,nd,nowns,pevents,pres,puls,requency,sav,sourc,statics
git ls-files -z -- . ':!*.xz' | xargs -0 codespell --ignore-words-list "$names"
