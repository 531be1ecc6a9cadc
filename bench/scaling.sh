#!/usr/bin/env bash
# Stress and scaling runs on generated MIBs.
#
#   scaling.sh [--check-only] [--sizes "N ..."] [--kinds "KIND ..."] [--runs R] [BINARY]
#
# For every kind of gen_mib.py and every size N (default 1000 10000 100000)
# a MIB is generated in a scratch folder, with the modules it imports
# written beside it, and compiled with BINARY (default build/trapsmith of this
# repository).  Every compile must exit 0 with the success message, write
# nothing to standard error, leave no work file behind and produce a ".cfg"
# that check_cfg.py accepts (counts of OBJECT-TYPEs, TRAP-TYPEs and
# registrations, every annotation line, parents ahead of children).
#
# N counts definitions; for the kind "big", which is sized in bytes, the
# module is made N * 100 bytes long (100 KB, 1 MB and 10 MB by default).
#
# Unless --check-only is given, each compile is timed R times (default 3) and
# the best wall-clock and processor (user + system) times are printed; for
# every kind, the processor time at 100,000 must stay within 12 times the
# time at 10,000.  Times below 20 ms are mostly process start-up and noise,
# so the 10,000 time is taken as at least 20 ms in that comparison.
#
# Every module the generated MIB imports is generated beside it, so nothing
# outside the repository is needed.  Exits 0 when every check passed.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)

check_only=0
sizes="1000 10000 100000"
kinds="objects chain traps notifs imports big"
runs=3
bin=$root/build/trapsmith
while [ $# -gt 0 ]; do
  case $1 in
    --check-only) check_only=1 ;;
    --sizes) sizes=$2; shift ;;
    --kinds) kinds=$2; shift ;;
    --runs) runs=$2; shift ;;
    -*) echo "unknown option $1"; exit 2 ;;
    *) bin=$1 ;;
  esac
  shift
done
[ "$check_only" = 1 ] && runs=1
bin=$(readlink -f "$bin")
if [ ! -x "$bin" ]; then
  echo "no binary at $bin"
  exit 2
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

passed=0
failed=0
declare -A best   # "kind N" -> best processor time in seconds

# Generates, compiles and checks one case; sets best["kind N"].
run_case() {
  local kind=$1 n=$2 dir="$scratch/$1-$2" arg=$2
  [ "$kind" = big ] && arg=$((n * 100))
  local mib
  mib=$(python3 "$here/gen_mib.py" "$kind" "$arg" "$dir" | tail -1)
  # The generated files are written out before timing: otherwise the kernel
  # flushes them during the first runs and charges it to the compiler.
  [ "$check_only" = 1 ] || sync
  mib=$(basename "$mib")
  local base=${mib%.mib}

  # Wall-clock and processor (user + system) seconds of each run; the best
  # of each is kept.  The processor time is what the growth check compares:
  # other work on the machine inflates the wall-clock time but hardly this.
  local i status problems=() wall cpu min_wall= min_cpu=
  local TIMEFORMAT='%3R %3U %3S'
  for ((i = 0; i < runs; i++)); do
    rm -f "$dir/$base.cfg"*
    { time (cd "$dir" && "$bin" "$mib" >"$scratch/stdout" 2>"$scratch/stderr"); } 2>"$scratch/time"
    status=$?
    read -r wall cpu < <(awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }' "$scratch/time")
    if [ -z "$min_wall" ] || awk -v a="$wall" -v b="$min_wall" 'BEGIN { exit !(a < b) }'; then min_wall=$wall; fi
    if [ -z "$min_cpu" ] || awk -v a="$cpu" -v b="$min_cpu" 'BEGIN { exit !(a < b) }'; then min_cpu=$cpu; fi
  done

  [ "$status" = 0 ] || problems+=("exit status $status")
  [ "$(tail -c 40 "$scratch/stdout")" = $'\nMib Compilation completed successfully' ] ||
    problems+=("no success message: $(tail -c 200 "$scratch/stdout" | tr '\n' ' ')")
  [ -s "$scratch/stderr" ] && problems+=("standard error: $(head -c 200 "$scratch/stderr")")
  local left
  left=$(cd "$dir" && ls -- *.int *.imports *.dbg 2>/dev/null | head -3)
  [ -n "$left" ] && problems+=("work files left: $left")
  if [ -f "$dir/$base.cfg" ]; then
    local out
    out=$(python3 "$here/check_cfg.py" "$dir/$mib" "$dir/$base.cfg" "$dir/$base.expect") ||
      problems+=("$out")
  else
    problems+=("no $base.cfg")
  fi

  best["$kind $n"]=$min_cpu
  local bytes
  bytes=$(stat -c %s "$dir/$mib")
  rm -rf "$dir"
  if [ ${#problems[@]} -gt 0 ]; then
    printf 'FAIL %-8s %7s:\n' "$kind" "$n"
    printf '    %s\n' "${problems[@]}"
    return 1
  fi
  if [ "$check_only" = 1 ]; then
    printf 'ok   %-8s %7s  %10s bytes\n' "$kind" "$n" "$bytes"
  else
    printf 'ok   %-8s %7s  %10s bytes  %8s s wall  %8s s cpu\n' "$kind" "$n" "$bytes" "$min_wall" "$min_cpu"
  fi
}

for kind in $kinds; do
  for n in $sizes; do
    if run_case "$kind" "$n"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
  done
done

# Growth from 10,000 to 100,000 definitions must stay near linear.
if [ "$check_only" = 0 ]; then
  for kind in $kinds; do
    t10=${best["$kind 10000"]:-}
    t100=${best["$kind 100000"]:-}
    [ -n "$t10" ] && [ -n "$t100" ] || continue
    if awk -v a="$t100" -v b="$t10" 'BEGIN { if (b < 0.020) b = 0.020; exit !(a <= 12 * b) }'; then
      printf 'ok   %-8s growth 10k -> 100k: %s s -> %s s cpu\n' "$kind" "$t10" "$t100"
      passed=$((passed + 1))
    else
      printf 'FAIL %-8s growth 10k -> 100k: %s s -> %s s cpu, more than 12 times\n' "$kind" "$t10" "$t100"
      failed=$((failed + 1))
    fi
  done
fi

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
