#!/usr/bin/env bash
# Builds trapsmith and compiles the bundled example module, ACME-TRAP-MIB
# (which imports its registration root from ACME-SMI), then prints the
# resulting .cfg file.  The example is compiled in a scratch copy, removed
# afterwards, so that the source tree stays clean.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/install-missing.sh
install_missing cmake g++ libgtest-dev libgmock-dev libbenchmark-dev

cmake -S . -B build && cmake --build build -j "$(nproc)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/*.mib "$work/"
build/trapsmith -d "$work" ACME-TRAP-MIB.mib
echo
echo "==== ACME-TRAP-MIB.cfg ===="
cat "$work/ACME-TRAP-MIB.cfg"
