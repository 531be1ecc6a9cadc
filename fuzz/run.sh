#!/usr/bin/env bash
# Builds the libFuzzer target fuzz/fuzz_compile.cpp with AddressSanitizer and
# UndefinedBehaviorSanitizer and fuzzes the compiler with it.
#
#   fuzz/run.sh SECONDS    fuzz for SECONDS seconds
#   fuzz/run.sh --build    only build the target (exit status 2: cannot build)
#
# Environment: JOBS (default 1) runs that many fuzzing processes side by side,
# each with its own scratch folder, sharing the working corpus.
#
# Everything built or written goes to build-fuzz/ (the target, the seed
# corpus, the logs) or to a scratch folder per process that holds the import
# files and is removed at the end (in /dev/shm when there is one); the working
# corpus is kept in fuzz/corpus-work/ from one run to the next, and inputs that
# crash, leak or time out are written as fuzz/crash-*, fuzz/leak-*,
# fuzz/timeout-*.  Prints the total number of executions at the end; exits
# non-zero on any crash, leak, timeout or sanitizer report.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
out=$root/build-fuzz
target=$out/fuzz_compile
corpus_dir=$root/fuzz/corpus-work
mibs=$root/../shared/mibs

usage() {
  echo "usage: fuzz/run.sh SECONDS | --build"
  exit 2
}
[ $# -eq 1 ] || usage
build_only=0
if [ "$1" = --build ]; then
  build_only=1
else
  [[ $1 =~ ^[0-9]+$ ]] && [ "$1" -gt 0 ] || usage
fi
jobs=${JOBS:-1}
[[ $jobs =~ ^[1-9][0-9]*$ ]] || usage

# Installs the packages that are not installed yet (apt-get update first).
install_packages() {
  local sudo=
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  echo "installing: $*"
  $sudo apt-get update -qq >/dev/null || return 1
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "$@" >/dev/null
}

# True when clang++ links a program with libFuzzer and both sanitizers.
fuzzer_links() {
  command -v clang++ >/dev/null 2>&1 || return 1
  local probe
  probe=$(mktemp -d)
  printf '%s\n' '#include <cstddef>' '#include <cstdint>' \
    'extern "C" int LLVMFuzzerTestOneInput(const uint8_t*, size_t) { return 0; }' >"$probe/p.cpp"
  clang++ -fsanitize=fuzzer,address,undefined "$probe/p.cpp" -o "$probe/p" >/dev/null 2>&1
  local status=$?
  rm -rf "$probe"
  return $status
}

# Makes sure the toolchain is there: clang, then the runtime package that
# holds libFuzzer for the installed clang version.
ensure_toolchain() {
  fuzzer_links && return 0
  command -v clang++ >/dev/null 2>&1 || install_packages clang || return 1
  fuzzer_links && return 0
  local major
  major=$(clang++ --version | sed -n 's/.*clang version \([0-9]*\).*/\1/p' | head -1)
  [ -n "$major" ] && install_packages "libclang-rt-$major-dev" || return 1
  fuzzer_links
}

build() {
  local sources=()
  local f
  for f in "$root"/trapsmith/*.cpp; do
    [ "$(basename "$f")" = trapsmith.cpp ] || sources+=("$f")
  done
  mkdir -p "$out"
  # Rebuilt only when a source or header is newer than the target.
  if [ -x "$target" ] && [ -z "$(find "$root/trapsmith" "$root/fuzz/fuzz_compile.cpp" -newer "$target" -print -quit)" ]; then
    return 0
  fi
  echo "building $target"
  clang++ -std=c++17 -O1 -g -fno-omit-frame-pointer \
    -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all \
    -I"$root/trapsmith" "${sources[@]}" "$root/fuzz/fuzz_compile.cpp" -o "$target"
}

if ! ensure_toolchain; then
  echo "fuzzer cannot be built: clang with libFuzzer is not available"
  exit 2
fi
if ! build; then
  echo "fuzzer cannot be built: compile failed"
  exit 2
fi
[ $build_only -eq 1 ] && exit 0
seconds=$1

# Import files, one copy per fuzzing process: the modules that define the SMI
# and the examples.  Larger real modules are left out on purpose: every input
# that imports one pays for a full parse of it, which would halve the rate of
# executions; an input may still import from itself (FUZZ-MIB), which puts
# the fuzzed definitions through the import resolution.
import_files=(RFC1155-SMI.mib RFC-1212.mib RFC-1215.mib SNMPv2-SMI.mib SNMPv2-TC.mib
              SNMPv2-CONF.mib)
# Every run of the target creates and removes its work files: the scratch
# folders go to memory when the machine offers a writable /dev/shm.
scratch_root=$out
[ -d /dev/shm ] && [ -w /dev/shm ] && scratch_root=/dev/shm
scratch_base=$(mktemp -d "$scratch_root/trapsmith-fuzz.XXXXXX")
pids=()
finish() {
  local pid
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$scratch_base"
}
trap finish EXIT
for ((j = 1; j <= jobs; j++)); do
  scratch=$scratch_base/$j
  mkdir -p "$scratch"
  for f in "${import_files[@]}"; do
    [ -f "$mibs/$f" ] && cp "$mibs/$f" "$scratch/"
  done
  cp "$root"/examples/*.mib "$scratch/"
done

# Seed corpus: the real MIBs, the examples and the inputs of the end-to-end
# cases.
seeds=$out/seeds
rm -rf "$seeds"
mkdir -p "$seeds" "$corpus_dir"
[ -d "$mibs" ] && find "$mibs" -maxdepth 1 -type f -name '*.mib' -exec cp {} "$seeds/" \;
cp "$root"/examples/*.mib "$seeds/"
n=0
for f in "$root"/tests/golden/*/input/*; do
  [ -f "$f" ] || continue
  n=$((n + 1))
  cp "$f" "$seeds/golden-$n-$(basename "$f" | cut -c1-40)"
done

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:symbolize=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

for ((j = 1; j <= jobs; j++)); do
  TRAPSMITH_FUZZ_DIR=$scratch_base/$j "$target" \
    -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
    -dict="$root/fuzz/mib.dict" -reload=60 -print_final_stats=1 \
    -artifact_prefix="$root/fuzz/" \
    "$corpus_dir" "$seeds" >"$out/fuzz-$j.log" 2>&1 &
  pids+=($!)
done
failed=0
for ((j = 1; j <= jobs; j++)); do
  status=0
  wait "${pids[$((j - 1))]}" || status=$?
  log=$out/fuzz-$j.log
  # A report that did not stop the process still counts as a finding.
  if [ $status -ne 0 ] || grep -qE '^(==[0-9]+==ERROR|SUMMARY: |.*runtime error: )' "$log"; then
    echo "fuzzing process $j failed (exit status $status); from its log ($log):"
    # The first report and the name of the input that caused it.
    sed -n '/^==[0-9]*==ERROR\|runtime error: \|^ERROR: libFuzzer/,$p' "$log" | head -40
    grep -E 'Test unit written to|^SUMMARY' "$log" | sort -u || true
    failed=1
  fi
done

total=0
rate=0
for ((j = 1; j <= jobs; j++)); do
  execs=$(sed -n 's/^stat::number_of_executed_units: *\([0-9]*\).*/\1/p' "$out/fuzz-$j.log" | tail -1)
  per_sec=$(sed -n 's/^stat::average_exec_per_sec: *\([0-9]*\).*/\1/p' "$out/fuzz-$j.log" | tail -1)
  total=$((total + ${execs:-0}))
  rate=$((rate + ${per_sec:-0}))
done
echo "fuzzing: $total executions in ${seconds}s ($rate exec/s, $jobs process(es)), corpus: $(ls "$corpus_dir" | wc -l) inputs"
if [ $failed -ne 0 ]; then
  ls "$root"/fuzz/crash-* "$root"/fuzz/leak-* "$root"/fuzz/timeout-* "$root"/fuzz/oom-* 2>/dev/null || true
  exit 1
fi
