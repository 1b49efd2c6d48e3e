#!/usr/bin/env bash
# Installs what is missing, builds, and runs the tool on the shipped example.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/bootstrap.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target rq7.config
./build/app/rq7.config --version
