#!/bin/sh
# Every manual page renders without a warning from groff and mandoc.
# Usage: check_man.sh PAGE...
status=0
for page in "$@"; do
  out=$(groff -ww -man -z "$page" 2>&1)
  if [ -n "$out" ]; then
    echo "$page: groff: $out"; status=1
  fi
  if ! out=$(mandoc -T lint -W style "$page" 2>&1) || [ -n "$out" ]; then
    echo "$page: mandoc: $out"; status=1
  fi
done
exit $status
