#!/usr/bin/env bash
# Builds the libFuzzer targets with AddressSanitizer and
# UndefinedBehaviorSanitizer and fuzzes the compiler with them:
#
#   compile   fuzz/fuzz_compile.cpp: the input is the main module
#   imports   fuzz/fuzz_imports.cpp: the input is a main module and up to two
#             modules it imports, separated by "#--8<--" lines
#
#   fuzz/run.sh SECONDS    fuzz for SECONDS seconds in all, shared evenly by
#                          the targets, which run one after the other
#   fuzz/run.sh --build    only build the targets (exit status 2: cannot build)
#
# Environment:
#   TARGETS   the targets to run, in order (default "compile imports")
#   JOBS      fuzzing processes side by side for each target (default 1), each
#             with its own scratch folder, sharing the target's working corpus
#   MAX_LEN   the longest input libFuzzer tries, in bytes; by default 65536,
#             or the size of the target's largest seed file when that is
#             larger, so that every seed is read whole (libFuzzer cuts inputs
#             longer than this); MAX_LEN=65536 trades the whole large seeds
#             for a higher rate of executions
#   FUZZ_OUT  where the targets, seeds and logs go (default build-fuzz/)
#
# Everything built or written goes to FUZZ_OUT (the targets, the seed corpora,
# the logs) or to a scratch folder per process that holds the import files and
# is removed at the end (in /dev/shm when there is one); the working corpora
# are kept in fuzz/corpus-work/ (compile) and fuzz/corpus-work-imports/
# (imports) from one run to the next, and inputs that crash, leak or time out
# are written as fuzz/crash-*, fuzz/leak-*, fuzz/timeout-*, fuzz/oom-*.
#
# To run one saved input again, with the target named in the report, in a
# folder that holds the import files (the SMI modules of ../shared/mibs named
# below and examples/*.mib); the target works inside FOLDER, so the input is
# named by its full path:
#   TRAPSMITH_FUZZ_DIR=FOLDER build-fuzz/fuzz_compile "$PWD"/fuzz/crash-...
#
# Prints, for each target, its executions, the coverage it reached (the edges
# of libFuzzer's last "cov:" figure), how many of its executions had an input
# longer than 4096 bytes and how many inputs of its working corpus are that
# long; then the total number of executions.  Exits non-zero on any crash,
# leak, timeout or sanitizer report.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
out=${FUZZ_OUT:-$root/build-fuzz}
mibs=$root/../shared/mibs
large=4096

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
min_len=65536
max_len=${MAX_LEN:-}
[[ -z $max_len || $max_len =~ ^[1-9][0-9]*$ ]] || usage
read -r -a targets <<<"${TARGETS:-compile imports}"
[ ${#targets[@]} -gt 0 ] || usage
for t in "${targets[@]}"; do
  case $t in
    compile | imports) ;;
    *) echo "unknown target: $t (targets: compile imports)"; exit 2 ;;
  esac
done
mkdir -p "$out"
out=$(cd "$out" && pwd)

# The working corpus of a target.
corpus_of() {
  if [ "$1" = compile ]; then echo "$root/fuzz/corpus-work"; else echo "$root/fuzz/corpus-work-$1"; fi
}

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

# Builds the compiler sources once into an archive, then each target against
# it; each step is redone only when one of its inputs is newer than its result.
build() {
  local sources=() objects=() f obj
  for f in "$root"/trapsmith/*.cpp; do
    [ "$(basename "$f")" = trapsmith.cpp ] || sources+=("$f")
  done
  local flags=(-std=c++17 -O1 -g -fno-omit-frame-pointer -fsanitize=fuzzer-no-link,address,undefined
               -fno-sanitize-recover=all -I"$root/trapsmith")
  mkdir -p "$out/obj"
  local lib=$out/obj/libtrapsmith.a
  if [ ! -f "$lib" ] || [ -n "$(find "$root/trapsmith" -newer "$lib" -print -quit)" ]; then
    echo "building $lib"
    for f in "${sources[@]}"; do
      obj=$out/obj/$(basename "$f" .cpp).o
      objects+=("$obj")
      clang++ "${flags[@]}" -c "$f" -o "$obj" || return 1
    done
    rm -f "$lib"
    ar rcs "$lib" "${objects[@]}"
  fi
  for t in compile imports; do
    local target=$out/fuzz_$t
    if [ -x "$target" ] && [ -z "$(find "$lib" "$root/fuzz/fuzz_$t.cpp" "$root/fuzz/fuzz_common.h" \
                                      -newer "$target" -print -quit)" ]; then
      continue
    fi
    echo "building $target"
    clang++ "${flags[@]/fuzzer-no-link/fuzzer}" "$root/fuzz/fuzz_$t.cpp" "$lib" -o "$target" || return 1
  done
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
per_target=$((seconds / ${#targets[@]}))
[ $per_target -gt 0 ] || per_target=1

if ! command -v python3 >/dev/null 2>&1; then
  install_packages python3 || { echo "python3 is needed for the generated seeds"; exit 2; }
fi

# Import files, one copy per fuzzing process: the modules that define the SMI
# and the examples.  Larger real modules are left out on purpose: every input
# that imports one pays for a full parse of it, which would halve the rate of
# executions; an input may still import from itself (FUZZ-MIB), which puts
# the fuzzed definitions through the import resolution.
import_files=(RFC1155-SMI.mib RFC-1212.mib RFC-1215.mib SNMPv2-SMI.mib SNMPv2-TC.mib
              SNMPv2-CONF.mib)
# Every run of a target creates and removes its work files: the scratch
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

# Seed corpora.  compile: the real MIBs, the examples, the inputs of the
# end-to-end cases, and the generated modules at the compiler's limits.
# imports: the generated main-and-imports inputs, and the real MIBs of less
# than 62 KB, each as the module a generated main module imports from (the
# larger ones would slow every execution that keeps them down).
seeds=$out/seeds
rm -rf "$seeds"
mkdir -p "$seeds/compile" "$seeds/imports"
[ -d "$mibs" ] && find "$mibs" -maxdepth 1 -type f -name '*.mib' -exec cp {} "$seeds/compile/" \;
cp "$root"/examples/*.mib "$seeds/compile/"
n=0
for f in "$root"/tests/golden/*/input/*; do
  [ -f "$f" ] || continue
  n=$((n + 1))
  cp "$f" "$seeds/compile/golden-$n-$(basename "$f" | cut -c1-40)"
done
real=()
if [ -d "$mibs" ]; then
  while IFS= read -r f; do real+=("$f"); done < <(find "$mibs" -maxdepth 1 -type f -name '*.mib' \
    -size -$((min_len - 2048))c | sort)
fi
python3 "$root/fuzz/make_seeds.py" "$seeds/compile" "$seeds/imports" "${real[@]}"

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:symbolize=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

failed=0
summary=()
total=0
for t in "${targets[@]}"; do
  corpus_dir=$(corpus_of "$t")
  mkdir -p "$corpus_dir"
  len=$max_len
  if [ -z "$len" ]; then
    len=$(find "$seeds/$t" -type f -printf '%s\n' | sort -n | tail -1)
    [ "${len:-0}" -gt $min_len ] || len=$min_len
  fi
  pids=()
  for ((j = 1; j <= jobs; j++)); do
    scratch=$scratch_base/$t-$j
    mkdir -p "$scratch"
    for f in "${import_files[@]}"; do
      [ -f "$mibs/$f" ] && cp "$mibs/$f" "$scratch/"
    done
    cp "$root"/examples/*.mib "$scratch/"
    TRAPSMITH_FUZZ_DIR=$scratch "$out/fuzz_$t" \
      -max_total_time="$per_target" -timeout=10 -rss_limit_mb=2048 -max_len="$len" \
      -dict="$root/fuzz/mib.dict" -reload=60 -print_final_stats=1 \
      -artifact_prefix="$root/fuzz/" \
      "$corpus_dir" "$seeds/$t" >"$out/fuzz-$t-$j.log" 2>&1 &
    pids+=($!)
  done
  execs=0 large_execs=0 cov=0 rate=0
  for ((j = 1; j <= jobs; j++)); do
    status=0
    wait "${pids[$((j - 1))]}" || status=$?
    log=$out/fuzz-$t-$j.log
    # A report that did not stop the process still counts as a finding.
    if [ $status -ne 0 ] || grep -qE '^(==[0-9]+==ERROR|SUMMARY: |.*runtime error: )' "$log"; then
      echo "fuzz_$t process $j failed (exit status $status); from its log ($log):"
      # The first report and the name of the input that caused it.
      sed -n '/^==[0-9]*==ERROR\|runtime error: \|^ERROR: libFuzzer\|^fuzz_[a-z]*: /,$p' "$log" | head -40
      grep -E 'Test unit written to|^SUMMARY' "$log" | sort -u || true
      failed=1
    fi
    n=$(sed -n 's/^stat::number_of_executed_units: *\([0-9]*\).*/\1/p' "$log" | tail -1)
    execs=$((execs + ${n:-0}))
    n=$(sed -n 's/^stat::average_exec_per_sec: *\([0-9]*\).*/\1/p' "$log" | tail -1)
    rate=$((rate + ${n:-0}))
    # Written by the target itself when it exits.
    n=$(sed -n "s/^fuzz_$t: [0-9]* executions, \([0-9]*\) of inputs larger.*/\1/p" "$log" | tail -1)
    large_execs=$((large_execs + ${n:-0}))
    n=$(grep -o ' cov: [0-9]*' "$log" | tail -1 | tr -dc 0-9) || true
    [ "${n:-0}" -gt $cov ] && cov=$n
  done
  pids=()
  total=$((total + execs))
  large_corpus=$(find "$corpus_dir" -type f -size +${large}c | wc -l)
  summary+=("fuzz_$t: $execs executions in ${per_target}s ($rate exec/s, max_len $len), cov: $cov edges, $large_execs executions of inputs > $large bytes, corpus: $(find "$corpus_dir" -type f | wc -l) inputs ($large_corpus > $large bytes)")
done

printf '%s\n' "${summary[@]}"
echo "fuzzing: $total executions in ${seconds}s (${#targets[@]} target(s), $jobs process(es) each)"
if [ $failed -ne 0 ]; then
  ls "$root"/fuzz/crash-* "$root"/fuzz/leak-* "$root"/fuzz/timeout-* "$root"/fuzz/oom-* 2>/dev/null || true
  exit 1
fi
