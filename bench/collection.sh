#!/usr/bin/env bash
# Speed of trapsmith-batch on a whole MIB tree (default ../shared/collection).
#
#   collection.sh [--runs N] [TREE]      (default: 3 runs)
#
# Runs the batch over the tree with -j 1 and with -j <processors>, N times
# each, and prints per setting the median wall time, files per second (files
# compiled, duplicates and skipped files left out), and with -j 1 the batch's
# overhead: its wall time beyond the sum of the compile times that its report
# gives (each from the start of the compiler's process to its end), as a share
# of that sum.  For scale it also times a shell loop of lone compiles of the
# same modules, one after another, in a flat folder where every module of the
# tree is linked as MODULE.mib.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
runs=3
tree=$root/../shared/collection
source "$here/args.sh"
parse_runs_and_target tree "$@"
[ -d "$tree" ] || { echo "no tree at $tree"; exit 2; }
batch=$root/build/trapsmith-batch
trapsmith=$root/build/trapsmith
[ -x "$batch" ] && [ -x "$trapsmith" ] || { echo "build first: cmake -S . -B build && cmake --build build"; exit 2; }
cpus=$(nproc)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
now() { date +%s.%N; }

for jobs in 1 "$cpus"; do
  : > "$work/walls"
  : > "$work/sums"
  for ((i = 0; i < runs; i++)); do
    # A new output folder each run, all removed at the end: removing files
    # just before a run would slow its file creation on some file systems.
    out=$work/out.$jobs.$i
    start=$(now)
    "$batch" -q -j "$jobs" -o "$out" "$tree" > /dev/null || true
    end=$(now)
    echo "$end - $start" | bc -l >> "$work/walls"
    awk -F'\t' 'NR > 1 && $6 != "" { s += $6 } END { print s }' "$out/report.tsv" >> "$work/sums"
  done
  compiled=$(awk -F'\t' 'NR > 1 && $6 != "" { n++ } END { print n }' "$out/report.tsv")
  wall=$(median < "$work/walls")
  sum=$(median < "$work/sums")
  rate=$(echo "$compiled / $wall" | bc -l)
  printf -- '-j %-3s %5d compiles  wall %6.2f s  %7.1f files/s  compile time %6.2f s' "$jobs" "$compiled" "$wall" "$rate" "$sum"
  if [ "$jobs" = 1 ]; then
    printf '  overhead %5.1f%%' "$(echo "($wall - $sum) * 100 / $sum" | bc -l)"
  fi
  echo
done

# The same compiles as a loop of lone compiles in a flat folder.
python3 "$root/scripts/flat-folder.py" "$tree" "$work/flat" > /dev/null
awk -F'\t' 'NR > 1 && $6 != "" { print $2 ".mib" }' "$out/report.tsv" > "$work/modules"
: > "$work/loops"
for ((i = 0; i < runs; i++)); do
  start=$(now)
  (cd "$work/flat" && while read -r m; do "$trapsmith" "$m" > /dev/null || true; rm -f "${m%.mib}".cfg*; done < "$work/modules")
  end=$(now)
  echo "$end - $start" | bc -l >> "$work/loops"
done
printf 'loop of lone compiles  wall %6.2f s\n' "$(median < "$work/loops")"
