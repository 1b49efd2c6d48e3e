#!/usr/bin/env bash
# Installs what the build and the tests need, from Debian packages only.
# Idempotent and non-interactive: does nothing when everything is present.
set -euo pipefail
pkgs=(g++ clang libclang-rt-14-dev ccache python3 cmake ninja-build pkg-config
      libboost-dev libboost-program-options-dev libboost-thread-dev
      libboost-system-dev libboost-filesystem-dev
      libxml2-dev googletest libgtest-dev libgmock-dev libbenchmark-dev)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "bootstrap: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
