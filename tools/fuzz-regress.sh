#!/usr/bin/env bash
# Regression run of every libFuzzer target of a fuzz build: each one runs for
# a minute on its seed corpus (copied, so the sources stay as they are) and
# the script fails if any of them finds a crash, a leak, a hang or a
# sanitizer report. Usage: tools/fuzz-regress.sh BUILD_DIR [SECONDS]
# BUILD_DIR is a clang build configured with -DRQ7_FUZZ=ON (see README).
set -euo pipefail
build=${1:?usage: tools/fuzz-regress.sh BUILD_DIR [SECONDS]}
seconds=${2:-60}
src=$(cd "$(dirname "$0")/.." && pwd)
cmake --build "$build" --target xrt_reader_fuzz config_loader_fuzz configure_fuzz configure_fuzz_dict

# binary (in the build) | seed corpus | dictionary | extra flags
targets=(
  "xrt/fuzz/xrt_reader_fuzz|$src/xrt/fuzz/corpus|$src/xrt/fuzz/xml.dict|"
  "tests/fuzz/loader/config_loader_fuzz|$src/tests/fuzz/loader/corpus|$src/tests/fuzz/loader/loader.dict|"
  "tests/fuzz/configure/configure_fuzz|$src/tests/fuzz/configure/corpus|$build/tests/fuzz/configure/configure.dict|-max_len=65536 --reach-report"
)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
for t in "${targets[@]}"; do
  IFS='|' read -r binary corpus dict extra <<<"$t"
  name=$(basename "$binary")
  mkdir -p "$work/$name/corpus" "$work/$name/artifacts"
  echo "== $name: ${seconds}s on $corpus"
  if ! "$build/$binary" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 \
      -close_fd_mask=1 -print_final_stats=1 -dict="$dict" \
      -artifact_prefix="$work/$name/artifacts/" $extra "$work/$name/corpus" "$corpus" \
      >"$work/$name/log" 2>&1; then
    echo "!! $name failed:"
    tail -n 60 "$work/$name/log"
    for a in "$work/$name/artifacts"/*; do [ -e "$a" ] && echo "   input kept in $a" && cp "$a" "$build/"; done
    failed=1
  else
    grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE|reached the modules' "$work/$name/log" | tail -n 3 || true
  fi
done
exit $failed
