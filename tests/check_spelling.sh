#!/usr/bin/env bash
# Common misspellings in all that is ours. Left out: the short forms of headers and other names that look like one, and a
# text of the instrument that has one.
set -euo pipefail
cd "$(dirname "$0")/.."
names=fo,fro,kinf,logicaly,nd,nowns,pevents,pres,puls,requency,sav,sourc,statics
git ls-files -z -- . ':!*.xz' | xargs -0 codespell --ignore-words-list "$names"
