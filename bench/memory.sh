#!/usr/bin/env bash
# Peak memory of two compiles: CPQHLTH-MIB.mib, the largest module of the
# MIB corpus that compiles, with the corpus beside it, and a generated MIB of
# 10 MB (gen_mib.py big), with the module it imports beside it.
#
#   memory.sh [BINARY]        (default: build/trapsmith of this repository)
#
# Prints the maximum resident set size that /usr/bin/time -v reports (package
# "time") and the wall-clock time of each compile.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
bin=$(readlink -f "${1:-$here/../build/trapsmith}")
corpus=${TRAPSMITH_CORPUS:-$here/../../shared/mibs}
if [ ! -x /usr/bin/time ]; then
  echo "/usr/bin/time is missing (apt-get install time)"
  exit 2
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
measure() {
  local dir=$1 mib=$2
  /usr/bin/time -v "$bin" -d "$dir" "$mib" 2>"$scratch/time" >"$scratch/stdout" || {
    echo "$mib: the compile failed"
    tail -5 "$scratch/stdout"
    return 1
  }
  printf '%-20s %10s bytes  peak %7s KB  %s s\n' "$mib" "$(stat -c %s "$dir/$mib")" \
    "$(awk -F': ' '/Maximum resident set size/ { print $2 }' "$scratch/time")" \
    "$(awk -F'): ' '/Elapsed \(wall clock\)/ { print $2 }' "$scratch/time")"
}

if [ -d "$corpus" ]; then
  mkdir "$scratch/corpus"
  cp "$corpus"/*.mib "$scratch/corpus/"
  measure "$scratch/corpus" CPQHLTH-MIB.mib
else
  echo "CPQHLTH-MIB.mib: skipped, the MIB corpus $corpus is not there"
fi

python3 "$here/gen_mib.py" big 10000000 "$scratch/big" >/dev/null
measure "$scratch/big" GEN-BIG-MIB.mib
