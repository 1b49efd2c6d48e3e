#!/usr/bin/env bash
# Installs what is missing, builds, and runs a Logger configure of the shipped
# example. A run rewrites its configuration file, so it works on a copy.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/bootstrap.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target rq7.config
work=$(mktemp -d)
cp examples/ka7710x_logger.xml "$work/soc.xml"
echo "== rq7.config -c $work/soc.xml"
./build/app/rq7.config -c "$work/soc.xml"
echo "== rq7.config -d -c $work/soc.xml"
./build/app/rq7.config -d -c "$work/soc.xml"
