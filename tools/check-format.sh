#!/usr/bin/env bash
# Fails when a C++ file of the tree differs from what .clang-format makes of
# it, naming the files. Usage: tools/check-format.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"
mapfile -t files < <(git ls-files '*.cpp' '*.h')
bad=()
for f in "${files[@]}"; do
  clang-format --dry-run -Werror "$f" >/dev/null 2>&1 || bad+=("$f")
done
if [ ${#bad[@]} -gt 0 ]; then
  printf 'not formatted as .clang-format says (run clang-format -i on them):\n' >&2
  printf '  %s\n' "${bad[@]}" >&2
  exit 1
fi
