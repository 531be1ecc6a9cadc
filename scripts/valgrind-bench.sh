#!/usr/bin/env bash
# Compiles the two large modules of ../shared/bench-mibs under valgrind's
# memcheck and fails on any memory error and on any definite or indirect leak.
#
#   scripts/valgrind-bench.sh            builds the release binary first (with
#                                        the shared C library, which valgrind
#                                        needs to see every allocation)
#   scripts/valgrind-bench.sh BINARY     checks the given binary
#
# Each module is compiled in a scratch folder that also holds the files of
# ../shared/mibs, so that the imports found there resolve (the others are
# reported as missing, as in any run).  Without ../shared/bench-mibs the
# check is skipped with a message and exits 0.
#
# Environment: VALGRIND_BUILD_DIR is where the binary is built (default
# build-valgrind/); TRAPSMITH_BENCH_MIBS and TRAPSMITH_CORPUS name other
# folders instead of ../shared/bench-mibs and ../shared/mibs.
#
# Prints one line per module: the verdict, valgrind's error count, the bytes
# definitely and indirectly lost, the exit status (the compiler's, or 1 when
# valgrind found something; reported, not judged, as nothing is expected of
# these modules' output) and the time taken.
# Exits 1 when a module shows an error or a leak, 2 when the binary cannot
# be built or valgrind cannot be had.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2
root=$(pwd)
bench=${TRAPSMITH_BENCH_MIBS:-$root/../shared/bench-mibs}
mibs=${TRAPSMITH_CORPUS:-$root/../shared/mibs}
modules=(ABBMODULARUPS-MIB.mib RAPID-CITY.mib)

if [ ! -d "$bench" ]; then
  echo "valgrind-bench: skipped: no folder $bench"
  exit 0
fi

if [ $# -eq 1 ]; then
  bin=$(readlink -f "$1")
elif [ $# -eq 0 ]; then
  dir=${VALGRIND_BUILD_DIR:-$root/build-valgrind}
  log=$(mktemp)
  if ! { cmake -S "$root" -B "$dir" -DTRAPSMITH_TESTS=OFF -DTRAPSMITH_BENCH=OFF -DTRAPSMITH_STATIC=OFF &&
         cmake --build "$dir" -j "$(nproc)" --target trapsmith; } >"$log" 2>&1; then
    cat "$log"
    rm -f "$log"
    echo "valgrind-bench: cannot build $dir"
    exit 2
  fi
  rm -f "$log"
  bin=$dir/trapsmith
else
  echo "usage: scripts/valgrind-bench.sh [BINARY]"
  exit 2
fi
if [ ! -x "$bin" ]; then
  echo "valgrind-bench: no binary at $bin"
  exit 2
fi

source "$(dirname "$(readlink -f "$0")")/install-missing.sh"
if ! command -v valgrind >/dev/null 2>&1 && ! install_missing valgrind; then
  echo "valgrind-bench: valgrind is not available"
  exit 2
fi
[ -d "$mibs" ] || echo "valgrind-bench: no folder $mibs: the imports of the modules will not be found"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The number after `label` in valgrind's log, 0 when the line is not there
# (no leak summary at all when nothing was allocated).
figure() {
  sed -n "s/.*$1 *\([0-9,]*\) bytes.*/\1/p;s/.*$1 *\([0-9,]*\) errors.*/\1/p" "$2" | tail -1 | tr -d ,
}

failed=0
for m in "${modules[@]}"; do
  if [ ! -f "$bench/$m" ]; then
    echo "$m: missing from $bench"
    failed=1
    continue
  fi
  scratch=$work/${m%.mib}
  mkdir -p "$scratch"
  [ -d "$mibs" ] && cp "$mibs"/* "$scratch/"
  cp "$bench/$m" "$scratch/"
  vlog=$work/${m%.mib}.valgrind
  start=$(date +%s)
  status=0
  (cd "$scratch" && valgrind --leak-check=full --errors-for-leak-kinds=definite,indirect \
      --error-exitcode=1 --log-file="$vlog" "$bin" "$m") >"$work/${m%.mib}.stdout" 2>&1 || status=$?
  seconds=$(($(date +%s) - start))
  errors=$(figure "ERROR SUMMARY:" "$vlog")
  definite=$(figure "definitely lost:" "$vlog")
  indirect=$(figure "indirectly lost:" "$vlog")
  # --error-exitcode makes a finding exit 1, which a failed compile does as
  # well: the verdict is read from valgrind's summary.
  verdict=ok
  if [ -z "$errors" ]; then
    verdict="FAILED (no valgrind summary, exit status $status)"
  elif [ "$errors" -ne 0 ] || [ "${definite:-0}" -ne 0 ] || [ "${indirect:-0}" -ne 0 ]; then
    verdict=FAILED
  fi
  echo "$m: $verdict: $errors errors, definitely lost ${definite:-0} bytes, indirectly lost ${indirect:-0} bytes, exit status $status, ${seconds}s"
  if [ "$verdict" != ok ]; then
    failed=1
    # The errors and the loss records, without the program's own lines.
    grep -E '^==[0-9]+== ' "$vlog" | grep -vE '== (Memcheck|Copyright|Using Valgrind|Command|Parent PID|$)' |
      head -60
  fi
done
exit $failed
