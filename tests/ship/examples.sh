#!/bin/bash
# Every shipped example loads and configures: Logger examples on a copy,
# GTA examples against gta-sim with the board's image; with rq7 built,
# rq7 lint finds no error in any of them.
# Usage: examples.sh RQ7_CONFIG GTA_SIM IMAGE EXAMPLES_DIR [RQ7]
set -uo pipefail
config=$1 sim=$2 image=$3 examples=$4 rq7=${5:-}
work=$(mktemp -d)
sim_pid=
cleanup() { [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; rm -rf "$work"; }
trap cleanup EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

for example in "$examples"/*.xml; do
  name=$(basename "$example")
  copy=$work/$name
  cp "$example" "$copy"
  method=$(sed -n 's:.*<Name>Target Access Method</Name><DefaultValue>\([^<]*\)<.*:\1:p' "$example")
  case "$method" in
    Logger) ;;
    GTA)
      "$sim" --port 0 --quiet --image "$image" >"$work/sim.out" 2>&1 &
      sim_pid=$!
      for _ in $(seq 100); do grep -q listening "$work/sim.out" && break; sleep 0.1; done
      port=$(sed -n 's/.*listening on .*:\([0-9]*\)$/\1/p' "$work/sim.out")
      [ -n "$port" ] || { fail "$name: gta-sim did not start"; continue; }
      sed -i "s:\(<Name>ServerPort</Name><DefaultValue>\)[0-9]*:\1$port:" "$copy"
      ;;
    *) fail "$name: unknown target access method '$method'"; continue ;;
  esac
  out=$("$config" -c "$copy" 2>&1)
  status=$?
  [ $status -eq 0 ] || fail "$name: configure exited $status"
  [ "$(tail -1 <<<"$out")" = "Configuration finished successfully." ] || fail "$name: $(tail -3 <<<"$out")"
  if grep -q "ERROR" <<<"$out"; then fail "$name: error lines: $(grep ERROR <<<"$out")"; fi
  if [ -n "$sim_pid" ]; then kill "$sim_pid"; wait "$sim_pid" 2>/dev/null; sim_pid=; fi

  if [ -n "$rq7" ]; then
    lint=$("$rq7" lint "$example" 2>&1) || fail "$name: rq7 lint: $lint"
    if grep -q ": error:" <<<"$lint"; then fail "$name: rq7 lint: $lint"; fi
  fi
done
exit $((failures > 0))
