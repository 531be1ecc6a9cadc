#!/usr/bin/env bash
# Builds trapsmith and compiles the bundled example module, ACME-TRAP-MIB
# (which imports its registration root from ACME-SMI), then prints the
# resulting .cfg file.  The example is compiled in a scratch copy so that the
# source tree stays clean.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()
for pkg in cmake g++ libgtest-dev libgmock-dev libbenchmark-dev; do
  dpkg -s "$pkg" >/dev/null 2>&1 || missing+=("$pkg")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  $sudo apt-get update -qq >/dev/null
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi

cmake -S . -B build && cmake --build build -j "$(nproc)"

work=$(mktemp -d)
cp examples/*.mib "$work/"
build/trapsmith -d "$work" ACME-TRAP-MIB.mib
echo
echo "==== $work/ACME-TRAP-MIB.cfg ===="
cat "$work/ACME-TRAP-MIB.cfg"
