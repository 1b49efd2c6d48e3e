#!/usr/bin/env bash
# Builds everything and runs every test. BUILD_DIR and extra CMake options may be set.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/bootstrap.sh
dir=${BUILD_DIR:-build}
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo ${CMAKE_EXTRA:-} >/dev/null
cmake --build "$dir"
ctest --test-dir "$dir" --output-on-failure -j2
# The Debian package builds and lintian finds no error in it.
if [[ ${CMAKE_EXTRA:-} != *RQ7_SANITIZE=ON* ]]; then ./tools/package.sh "$dir"; fi
