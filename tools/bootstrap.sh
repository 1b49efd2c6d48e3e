#!/usr/bin/env bash
# Installs what the build and the tests need, from Debian packages only.
# Idempotent and non-interactive: does nothing when everything is present.
set -euo pipefail
pkgs=(g++ clang clang-format libclang-rt-14-dev ccache python3 cmake ninja-build pkg-config
      libboost-dev libboost-program-options-dev libboost-thread-dev
      libboost-system-dev libboost-filesystem-dev
      libxml2-dev googletest libgtest-dev libgmock-dev libbenchmark-dev
      dpkg-dev lintian mandoc groff bash-completion
      nlohmann-json3-dev graphviz
      libopencsd-bin  # trc_pkt_lister: the capture tests decode with it
      hyperfine jq valgrind)  # bench/run_all.sh
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
# The SARIF Multitool validates rq7 lint's SARIF in the tests; skipped without npm.
if command -v npm >/dev/null 2>&1 && ! command -v sarif-multitool >/dev/null 2>&1; then
  echo "bootstrap: installing @microsoft/sarif-multitool"
  npm install -g --silent @microsoft/sarif-multitool >/dev/null
fi
