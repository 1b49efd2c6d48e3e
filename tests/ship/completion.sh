#!/bin/bash
# Completes command lines through the shipped script and compares the
# candidates with the expected ones. Usage: completion.sh SCRIPT
set -u
source /usr/share/bash-completion/bash_completion
source "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir sub
touch board.xml OTHER.XML notes.txt trace.image

# complete LINE: the candidates for the last word of LINE, sorted, one line.
complete_line() {
  local line=$1
  read -ra COMP_WORDS <<<"$line"
  [[ $line == *" " ]] && COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMP_LINE=$line
  COMP_POINT=${#line}
  COMPREPLY=()
  local registered
  registered=$(complete -p "${COMP_WORDS[0]}")
  local fn=${registered#*-F }
  fn=${fn%% *}
  "$fn" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' ' | sed 's/ $//'
}

failures=0
while IFS='|' read -r line expected; do
  [[ -z $line || $line == \#* ]] && continue
  actual=$(complete_line "$line")
  if [[ $actual != "$expected" ]]; then
    echo "FAIL: '$line': expected '$expected', got '$actual'"
    failures=$((failures + 1))
  fi
done <<'TABLE'
# command line|expected candidates
rq7.config -c |OTHER.XML board.xml sub
rq7.config --config-file b|board.xml
rq7.config --v|--version
rq7.config -d -c sub/|
rq7 |capture diff graph help lint plan snapshot verify
rq7 --v|--version
rq7 p|plan
rq7 help l|lint
rq7 lint |OTHER.XML board.xml sub
rq7 plan --format |json text
rq7 lint --format |sarif text
rq7 plan board.xml --image t|trace.image
rq7 plan --i|--image
rq7 diff -d board.xml |OTHER.XML board.xml sub
gta-sim --image t|trace.image
gta-sim --c|--clear-on-write
TABLE
exit $((failures > 0))
