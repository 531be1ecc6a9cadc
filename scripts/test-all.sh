#!/usr/bin/env bash
# Builds trapsmith twice, as is (build/) and with AddressSanitizer and
# UndefinedBehaviorSanitizer (build-asan/), runs every unit and end-to-end
# test in both builds, and checks a full compile of the bundled example under
# valgrind.  On a fresh Debian machine the missing tools are installed first.
#
# Quiet on success apart from the two test summaries; exits non-zero on any
# failure, after printing what failed.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

source "$root/scripts/install-missing.sh"

# Runs a command with its output kept in a log that is shown only on failure.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    cat "$log"
    rm -f "$log"
    echo "failed: $*"
    return 1
  fi
  rm -f "$log"
}

# Lists the tests of the last CTest run in build tree $1 that reported
# themselves skipped, each with the reason it printed.
report_skipped() {
  local log=$1/Testing/Temporary/LastTest.log
  [ -f "$log" ] || return 0
  awk '
    /^[0-9]+\/[0-9]+ Test: / { name = $3; next }
    /^Output:$/ { getline; inout = 1; next }
    /^<end of output>$/ { inout = 0; next }
    inout && /^skipped: / { sub(/^skipped: /, ""); printf "  skipped %s: %s\n", name, $0 }
  ' "$log"
}

# Configures and builds one tree, then runs its tests; prints the summary.
build_and_test() {
  local dir=$1
  shift
  quietly cmake -S "$root" -B "$root/$dir" "$@" || return 1
  quietly cmake --build "$root/$dir" -j "$(nproc)" || return 1
  local log status=0
  log=$(mktemp)
  (cd "$root/$dir" && ctest --output-on-failure -j "$(nproc)") >"$log" 2>&1 || status=$?
  if [ $status -ne 0 ]; then
    cat "$log"
  else
    echo "$dir:"
    grep -E 'tests passed|tests failed|Total Test time' "$log" || true
  fi
  report_skipped "$root/$dir"
  rm -f "$log"
  return $status
}

install_missing cmake g++ clang libgtest-dev libgmock-dev libbenchmark-dev valgrind tmux

failed=0
build_and_test build || failed=1
build_and_test build-asan -DTRAPSMITH_SANITIZE=ON -DTRAPSMITH_BENCH=OFF || failed=1

# A full compile (main module and one import) must leave no leak and no
# memory error behind.
if [ -x "$root/build/trapsmith" ]; then
  scratch=$(mktemp -d)
  cp "$root"/examples/*.mib "$scratch/"
  # valgrind sees the allocations of a program linked with the shared C
  # library: the static build/trapsmith has a dynamic twin for it.
  memcheck_bin=$root/build/trapsmith_dynamic
  [ -x "$memcheck_bin" ] || memcheck_bin=$root/build/trapsmith
  if ! valgrind -q --leak-check=full --errors-for-leak-kinds=definite --error-exitcode=3 \
       "$memcheck_bin" -d "$scratch" ACME-TRAP-MIB.mib >"$scratch/log" 2>&1; then
    cat "$scratch/log"
    echo "failed: valgrind check of the example compile"
    failed=1
  fi
  rm -rf "$scratch"
fi

exit $failed
