#!/usr/bin/env bash
# Compiles the same inputs with the release binary and with the binary built
# with AddressSanitizer and UndefinedBehaviorSanitizer, and checks that both
# give the same results: standard output, exit status and every ".cfg" file
# (backups included) byte for byte, and nothing on standard error (where a
# sanitizer report would go).
#
#   scripts/compare-builds.sh                      builds both binaries first
#   scripts/compare-builds.sh RELEASE_BIN ASAN_BIN compares the given binaries
#
# The inputs: every MIB file of ../shared/mibs/, each compiled in a scratch
# copy of that folder so that its imports resolve, and every end-to-end case
# of tests/golden/ with its arguments, set up as tests/run_golden.sh sets it
# up.  Without ../shared/mibs only the cases are compared (and those that
# need the corpus are skipped), which the summary says.
#
# Environment: COMPARE_BUILD_DIR is where the binaries are built (default
# build-compare/, with release/ and asan/ below it); TRAPSMITH_CORPUS names
# the corpus folder instead of ../shared/mibs.
#
# Prints each difference and a summary line; exits 1 when some compile
# differs, 2 when a binary cannot be built or found.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2
root=$(pwd)
corpus=${TRAPSMITH_CORPUS:-$root/../shared/mibs}
examples=$root/examples

if [ $# -eq 2 ]; then
  release=$(readlink -f "$1")
  asan=$(readlink -f "$2")
elif [ $# -eq 0 ]; then
  build_dir=${COMPARE_BUILD_DIR:-$root/build-compare}
  build() {
    local dir=$1 log
    shift
    log=$(mktemp)
    if ! { cmake -S "$root" -B "$dir" -DTRAPSMITH_TESTS=OFF -DTRAPSMITH_BENCH=OFF "$@" &&
           cmake --build "$dir" -j "$(nproc)" --target trapsmith; } >"$log" 2>&1; then
      cat "$log"
      rm -f "$log"
      echo "compare-builds: cannot build $dir"
      exit 2
    fi
    rm -f "$log"
  }
  build "$build_dir/release"
  build "$build_dir/asan" -DTRAPSMITH_SANITIZE=ON
  release=$build_dir/release/trapsmith
  asan=$build_dir/asan/trapsmith
else
  echo "usage: scripts/compare-builds.sh [RELEASE_BINARY ASAN_BINARY]"
  exit 2
fi
for bin in "$release" "$asan"; do
  if [ ! -x "$bin" ]; then
    echo "compare-builds: no binary at $bin"
    exit 2
  fi
done

# Leaks count as sanitizer reports as well.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compared=0
differing=0
skipped=()

# Runs binary $1 in folder $2 ($3 times) with the remaining arguments; the
# streams and the exit status of the last run go to $2.out/.
run_in() {
  local bin=$1 dir=$2 runs=$3 status=0 i
  shift 3
  mkdir -p "$dir.out"
  for ((i = 0; i < runs; i++)); do
    status=0
    (cd "$dir" && "$bin" "$@") >"$dir.out/stdout" 2>"$dir.out/stderr" || status=$?
  done
  echo "$status" >"$dir.out/status"
  # The ".cfg" files and their backups, wherever the run wrote them.
  (cd "$dir" && find . -type f \( -name '*.cfg' -o -name '*.cfg_*' \) | LC_ALL=C sort) >"$dir.out/cfgs"
}

# Compares the results of the two runs of one compile, named $1.
compare() {
  local name=$1 a=$work/release b=$work/asan problems=() f
  cmp -s "$a.out/status" "$b.out/status" ||
    problems+=("exit status $(cat "$a.out/status") (release) and $(cat "$b.out/status") (sanitizers)")
  cmp -s "$a.out/stdout" "$b.out/stdout" || problems+=("standard output differs")
  [ -s "$a.out/stderr" ] && problems+=("standard error of the release binary is not empty")
  [ -s "$b.out/stderr" ] && problems+=("standard error of the sanitizer binary is not empty")
  if ! cmp -s "$a.out/cfgs" "$b.out/cfgs"; then
    problems+=("not the same .cfg files: release: $(tr '\n' ' ' <"$a.out/cfgs")sanitizers: $(tr '\n' ' ' <"$b.out/cfgs")")
  else
    while IFS= read -r f; do
      cmp -s "$a/$f" "$b/$f" || problems+=("${f#./} differs")
    done <"$a.out/cfgs"
  fi
  compared=$((compared + 1))
  [ ${#problems[@]} -eq 0 ] && return 0
  differing=$((differing + 1))
  echo "DIFFERS: $name"
  printf '  %s\n' "${problems[@]}"
  if ! cmp -s "$a.out/stdout" "$b.out/stdout"; then
    diff "$a.out/stdout" "$b.out/stdout" | head -20 | sed 's/^/    /'
  fi
  for f in "$a.out/stderr" "$b.out/stderr"; do
    [ -s "$f" ] && head -20 "$f" | sed 's/^/    /'
  done
  while IFS= read -r f; do
    [ -f "$b/$f" ] && ! cmp -s "$a/$f" "$b/$f" && diff "$a/$f" "$b/$f" | head -20 | sed 's/^/    /'
  done <"$a.out/cfgs"
  return 0
}

# Copies the prepared folder $work/case to one folder per binary, runs both
# and compares; $1 names the compile, $2 is the number of runs, the rest are
# the arguments.
run_both() {
  local name=$1 runs=$2
  shift 2
  rm -rf "$work/release" "$work/release.out" "$work/asan" "$work/asan.out"
  cp -a "$work/case" "$work/release"
  cp -a "$work/case" "$work/asan"
  run_in "$release" "$work/release" "$runs" "$@"
  run_in "$asan" "$work/asan" "$runs" "$@"
  compare "$name"
}

# The corpus: each MIB file in a copy of the whole folder.
corpus_files=0
if [ -d "$corpus" ]; then
  rm -rf "$work/case"
  mkdir "$work/case"
  cp "$corpus"/* "$work/case/"
  for f in "$corpus"/*.mib; do
    [ -f "$f" ] || continue
    run_both "corpus $(basename "$f")" 1 "$(basename "$f")"
    corpus_files=$((corpus_files + 1))
  done
else
  skipped+=("the corpus (no folder $corpus)")
fi

# The end-to-end cases, set up as tests/run_golden.sh does.
cases=0
for case_dir in "$root"/tests/golden/*/; do
  case_dir=${case_dir%/}
  name=$(basename "$case_dir")
  [ -f "$case_dir/args" ] || continue
  rm -rf "$work/case"
  mkdir "$work/case"
  [ -d "$case_dir/input" ] && cp -a "$case_dir/input/." "$work/case/"
  missing=
  if [ -f "$case_dir/corpus" ]; then
    while read -r f; do
      [ -z "$f" ] && continue
      if [ -f "$corpus/$f" ]; then cp "$corpus/$f" "$work/case/"; else missing=$f; fi
    done <"$case_dir/corpus"
  fi
  if [ -n "$missing" ]; then
    skipped+=("case $name (needs $missing of the corpus)")
    continue
  fi
  if [ -f "$case_dir/examples" ]; then
    while read -r f; do
      [ -n "$f" ] && cp "$examples/$f" "$work/case/"
    done <"$case_dir/examples"
  fi
  if [ -f "$case_dir/setup.sh" ] && ! (cd "$work/case" && bash "$case_dir/setup.sh" >/dev/null 2>&1); then
    echo "DIFFERS: case $name: its setup.sh failed"
    differing=$((differing + 1))
    continue
  fi
  runs=1
  [ -f "$case_dir/runs" ] && runs=$(cat "$case_dir/runs")
  args=()
  read -r -a args <"$case_dir/args" || true
  run_both "case $name" "$runs" "${args[@]}"
  cases=$((cases + 1))
done

for s in "${skipped[@]}"; do echo "skipped $s"; done
echo "compare-builds: $compared compiles compared ($corpus_files corpus files, $cases end-to-end cases), $differing differ, ${#skipped[@]} skipped"
[ $differing -eq 0 ]
