#!/usr/bin/env bash
# Whole-process speed and memory of trapsmith beside a parser that operators
# already run: net-snmp's snmptranslate loading the same module and printing
# its tree (snmptranslate -M DIR -m MODULE -Tp, Debian package "snmp", which
# is installed when missing).
#
#   peer.sh [--runs N] [BINARY]     (default: build/trapsmith, 11 runs)
#
# For CPQHLTH-MIB, ABBMODULARUPS-MIB and RAPID-CITY, each compiled in a
# scratch folder that holds the files of ../shared/mibs/ beside it, the two
# commands run in turn, A B A B ..., after one warm-up each; every run is
# measured by the kernel's accounting of the finished process (processor time
# = user + system, peak resident set, minor page faults); what each prints is
# read through a pipe and thrown away.  Printed per module: the median of the
# pairwise processor-time ratios trapsmith / snmptranslate, the median peak
# memory of both and the median page-fault count of trapsmith.
#
# Set PAIRED_TIMER to a command that times two commands run by run and
# prints its own figures (it is called as: $PAIRED_TIMER -n RUNS --vs 'B' -- A)
# to have it used in place of the loop below.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
runs=11
bin=$root/build/trapsmith
source "$here/args.sh"
parse_runs_and_target bin "$@"
bin=$(readlink -f "$bin")
mibs=$root/../shared/mibs
bench_mibs=$root/../shared/bench-mibs
if [ ! -x "$bin" ]; then echo "no binary at $bin"; exit 2; fi
if [ ! -d "$mibs" ] || [ ! -d "$bench_mibs" ]; then
  echo "skipped: ../shared/mibs and ../shared/bench-mibs are needed"
  exit 0
fi

source "$root/scripts/install-missing.sh"
install_missing snmp time

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Runs the two commands in turn (A B A B ..., after one warm-up each) and
# prints the median ratio of their processor times, each run measured by the
# kernel's own accounting of the finished process.
paired() {
  python3 - "$runs" "$@" <<'PY'
import os, statistics, subprocess, sys
runs = int(sys.argv[1])
cut = sys.argv.index("--vs")
ours, peer = sys.argv[2:cut], sys.argv[cut + 1:]
def run(cmd):
    # What the command prints is read through a pipe and thrown away, as a
    # consumer of its output would read it (snmptranslate -Tp prints the
    # whole tree).
    with open(os.devnull, "w") as null:
        p = subprocess.Popen(cmd, stdout=subprocess.PIPE, stderr=null)
        while p.stdout.read(65536):
            pass
        p.stdout.close()
        _, _, ru = os.wait4(p.pid, 0)
    return ru.ru_utime + ru.ru_stime, ru.ru_maxrss, ru.ru_minflt
run(ours); run(peer)
a, b = [], []
for _ in range(runs):
    a.append(run(ours))
    b.append(run(peer))
print("%.2f" % statistics.median(x[0] / y[0] for x, y in zip(a, b) if y[0] > 0))
PY
}

# Median over three runs of "peak_kb minor_faults" of a command, as
# /usr/bin/time reports them (the peak of a process started from this small
# shell, not from a large interpreter).
footprint() {
  local i
  for i in 1 2 3; do
    /usr/bin/time -f '%M %R' -o "$scratch/time" "$@" >/dev/null 2>&1 || true
    cat "$scratch/time"
  done | sort -n | sed -n 2p
}

printf '%-22s %9s %12s %12s %10s %12s\n' module size "ours/peer" "ours peak" "peer peak" "ours faults"
for entry in "$mibs/CPQHLTH-MIB.mib" "$bench_mibs/ABBMODULARUPS-MIB.mib" "$bench_mibs/RAPID-CITY.mib"; do
  name=$(basename "$entry")
  module=${name%.mib}
  dir=$scratch/$module
  mkdir -p "$dir"
  cp "$mibs"/*.mib "$dir/"
  cp "$entry" "$dir/"
  # The copies are written out first: megabytes of freshly written pages
  # would otherwise be flushed during the first measured runs, and charged
  # to whichever command happens to write a file then (only trapsmith does).
  sync
  ours=("$bin" -d "$dir" "$name")
  peer=(snmptranslate -M "$dir" -m "$module" -Tp)
  if [ -n "${PAIRED_TIMER:-}" ]; then
    echo "== $module"
    $PAIRED_TIMER -n "$runs" --vs "${peer[*]}" -- "${ours[@]}"
    continue
  fi
  ratio=$(paired "${ours[@]}" --vs "${peer[@]}")
  read -r ours_peak faults < <(footprint "${ours[@]}")
  read -r peer_peak _ < <(footprint "${peer[@]}")
  printf '%-22s %8dK %12.2f %10dKB %10dKB %12d\n' "$module" $(($(stat -c %s "$entry") / 1024)) "$ratio" \
    "$ours_peak" "$peer_peak" "$faults"
done
