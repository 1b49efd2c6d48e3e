#!/usr/bin/env bash
# Builds everything and runs every test with warnings as errors; then builds a
# second tree with clang, the sanitizers and the fuzz targets, runs every test
# under it and, if the script is there, the fuzz regression runs.
# BUILD_DIR and CMAKE_EXTRA set the first tree; SAN_DIR names the second
# (SAN_DIR= leaves that leg out).
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/bootstrap.sh

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

# leg DIR [CMAKE OPTIONS...]: configure, build and test one tree.
leg() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DRQ7_WERROR=ON \
        "${launcher[@]}" "$@" >/dev/null
  cmake --build "$dir"
  ctest --test-dir "$dir" --output-on-failure -j2
}

# shellcheck disable=SC2086  # CMAKE_EXTRA holds several options
leg "${BUILD_DIR:-build}" ${CMAKE_EXTRA:-}
# The Debian package builds and lintian finds no error in it.
if [[ ${CMAKE_EXTRA:-} != *RQ7_SANITIZE=ON* ]]; then ./tools/package.sh "${BUILD_DIR:-build}"; fi

san=${SAN_DIR-build-san}
if [ -n "$san" ]; then
  CC=clang CXX=clang++ leg "$san" -DRQ7_SANITIZE=ON -DRQ7_FUZZ=ON
  if [ -x tools/fuzz-regress.sh ]; then
    tools/fuzz-regress.sh "$san"
  fi
fi
