#!/usr/bin/env bash
# Builds the Debian package of a configured build folder and checks it with
# lintian: any error fails, warnings are listed. Usage: tools/package.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-${BUILD_DIR:-build}}
rm -f "$dir"/package/rq7-config_*.deb
cmake --build "$dir" --target package >/dev/null
deb=$(ls "$dir"/package/rq7-config_*.deb)
echo "package: $deb"
dpkg-deb --field "$deb" Package Version Architecture Depends
lintian --fail-on error --tag-display-limit 0 "$deb"
