#!/usr/bin/env bash
# End-to-end checks of trapsmith-batch, one scenario per run:
#
#   batch_check.sh BATCH TRAPSMITH SCENARIO
#
# tree        the test tree of tests/batch/tree (several folders, files without
#             extension, two modules in one file, a module defined twice, an
#             import reached only through another, one only in a --with
#             folder, a binary file, a link cycle): the report as expected,
#             every .cfg equal to a lone compile in a flat folder, the same
#             with one and with three compiles at once
# keep        a failed compile leaves the earlier .cfg untouched
# unreadable  files that cannot be read are skipped, and named alone they stop the batch
# faults      compilers that crash, hang, print garbage or exit 3
# interrupt   Ctrl-C in the middle: compiles killed, scratch folders removed
# usage       help, version, bad usage and unusable folders: exit status 2
# terminal    the progress line as a person sees it, in tmux
# install     cmake --install puts both programs and both manual pages in
#             place, and the installed batch runs the trapsmith beside it
# collection  the real tree in ../shared/collection (skipped without it)
set -u
batch=$(readlink -f "$1")
trapsmith=$(readlink -f "$2")
scenario=$3
here=$(dirname "$(readlink -f "$0")")
tree=$here/batch/tree

work=$(mktemp -d)
export TMPDIR=$work/tmp  # the batch's scratch folders, checked for leftovers
mkdir -p "$TMPDIR"
cleanup() { chmod -R u+rwx "$work" 2>/dev/null; rm -rf "$work"; }
trap cleanup EXIT
cd "$work" || exit 1

failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
finish() {
  [ -z "$(ls -A "$TMPDIR")" ] || fail "scratch folders left: $(ls -A "$TMPDIR")"
  [ "$failures" -eq 0 ] && echo "ok" && exit 0
  exit 1
}
# The report without its timings.
report() { awk -F'\t' 'BEGIN { OFS = "\t" } NR > 1 && $6 != "" { $6 = "S" } { print }' "$1"; }
status_of() { awk -F'\t' -v f="$2" '$1 == f { print $3 }' "$1"; }

# Copies the test tree and adds what a repository cannot hold.
make_tree() {
  cp -a "$tree/." "$1/"
  head -c 3000000 /dev/urandom > "$1/vendor/blob.bin"
  ln -s .. "$1/vendor/tc/loop"
}

# A flat folder with every module linked as MODULE.mib, each compiled alone.
make_flat() {
  mkdir -p "$1"
  while read -r module file; do ln -s "$2/$file" "$1/$module.mib"; done < "$here/batch/flat.txt"
  (cd "$1" && for f in *.mib; do "$trapsmith" "$f" > /dev/null; done)
}

case $scenario in
tree)
  mkdir src && make_tree src
  make_flat flat "$work/src"
  for jobs in 1 3; do
    out=out$jobs
    (cd src && "$batch" -j $jobs -o "../$out" vendor more --with std > "../$out.stdout" 2> "../$out.stderr")
    status=$?
    [ $status -eq 1 ] || fail "-j $jobs: exit status $status, expected 1 (one file fails)"
    [ -s $out.stderr ] && fail "-j $jobs: standard error not empty: $(head -3 $out.stderr)"
    diff <(report $out/report.tsv) "$here/batch/expected_report.tsv" > /dev/null ||
      fail "-j $jobs: report differs: $(diff <(report $out/report.tsv) "$here/batch/expected_report.tsv")"
    grep -q '^files *11$' $out.stdout && grep -q '^compiled *6$' $out.stdout && grep -q '^failed *1$' $out.stdout &&
      grep -q '^duplicates *2$' $out.stdout && grep -q '^skipped *2$' $out.stdout &&
      grep -q '^traps written *2$' $out.stdout && grep -q '^  imports incomplete *1$' $out.stdout ||
      fail "-j $jobs: summary: $(cat $out.stdout)"
    for cfg in $out/*.cfg; do
      cmp -s "$cfg" "flat/$(basename "$cfg")" || fail "-j $jobs: $(basename "$cfg") differs from a lone compile"
    done
    [ "$(ls $out | wc -l)" -eq 7 ] || fail "-j $jobs: output folder holds $(ls -A $out)"
  done
  ;;
keep)
  mkdir src && make_tree src
  "$batch" -q -o out src/vendor --with src/std > /dev/null
  cp out/ACME-TC.cfg before.cfg
  printf '#!/bin/sh\necho "Line: 1: broken"\nexit 1\n' > failing && chmod +x failing
  "$batch" -q -o out --compiler ./failing src/vendor --with src/std > /dev/null
  [ $? -eq 1 ] || fail "a failing compiler must give exit status 1"
  cmp -s out/ACME-TC.cfg before.cfg || fail "a failed compile changed the earlier ACME-TC.cfg"
  [ "$(status_of out/report.tsv src/vendor/tc/ACME-TC)" = failed ] || fail "status of the failed compile"
  ls -A out | grep -q '^\.' && fail "temporary files left in the output folder: $(ls -A out)"
  ;;
unreadable)
  mkdir src && printf 'GOOD-MIB DEFINITIONS ::= BEGIN\nEND\n' > src/GOOD
  # A file that opens but cannot be read, also for root.
  ln -s /proc/self/mem src/mem
  if [ "$(id -u)" != 0 ]; then
    printf 'SECRET-MIB DEFINITIONS ::= BEGIN\nEND\n' > src/SECRET && chmod 000 src/SECRET
  fi
  "$batch" -q -o out src > stdout
  [ $? -eq 0 ] || fail "unreadable files must not fail the batch: $(cat stdout)"
  grep -q $'^src/mem\t\tskipped\t\t\t\tunreadable: ' out/report.tsv || fail "unreadable file: $(cat out/report.tsv)"
  if [ "$(id -u)" != 0 ]; then
    grep -q $'^src/SECRET\t\tskipped\t.*unreadable: Permission denied' out/report.tsv || fail "file without permission: $(cat out/report.tsv)"
  fi
  [ "$(status_of out/report.tsv src/GOOD)" = ok ] || fail "the readable file: $(cat out/report.tsv)"
  "$batch" -q -o out2 src/mem > stdout
  [ $? -eq 2 ] || fail "an unreadable PATH must give exit status 2"
  grep -q 'cannot read src/mem' stdout || fail "message for an unreadable PATH: $(cat stdout)"
  [ -e out2/report.tsv ] && fail "a report for an unreadable PATH"
  ;;
faults)
  mkdir -p src/a src/b src/c src/d
  for m in CRASH HANG GARBAGE ODD; do printf '%s DEFINITIONS ::= BEGIN\nEND\n' "$m-MIB" > "src/$m"; done
  # One compiler that behaves by the module it is given.
  cat > compiler <<'SCRIPT'
#!/bin/sh
case $3 in
CRASH-MIB.mib) kill -SEGV $$ ;;
HANG-MIB.mib) sleep 300 ;;
GARBAGE-MIB.mib) head -c 20000 /dev/urandom; exit 0 ;;
ODD-MIB.mib) echo "Compiling $3"; exit 3 ;;
esac
SCRIPT
  chmod +x compiler
  start=$(date +%s)
  "$batch" -j 4 -o out --timeout 1 --compiler ./compiler src > stdout 2> stderr
  status=$?
  [ $status -eq 1 ] || fail "exit status $status, expected 1"
  [ $(( $(date +%s) - start )) -lt 20 ] || fail "the hanging compile was not stopped at its time limit"
  [ "$(status_of out/report.tsv src/CRASH)" = crashed ] || fail "crash: $(grep CRASH out/report.tsv)"
  grep -q $'\tcrashed\t139\t.*signal 11' out/report.tsv || fail "crash report: $(grep CRASH out/report.tsv)"
  [ "$(status_of out/report.tsv src/HANG)" = timeout ] || fail "hang: $(grep HANG out/report.tsv)"
  [ "$(status_of out/report.tsv src/GARBAGE)" = crashed ] || fail "garbage: $(grep GARBAGE out/report.tsv)"
  [ "$(status_of out/report.tsv src/ODD)" = crashed ] || fail "exit 3: $(grep ODD out/report.tsv)"
  [ "$(awk -F'\t' 'END { print NF }' out/report.tsv)" = 8 ] || fail "garbage broke the report's columns"
  [ "$(wc -l < out/report.tsv)" = 5 ] || fail "report rows: $(cat out/report.tsv)"
  pgrep -f 'sleep 300' > /dev/null && fail "the hanging compile's child is still running"
  grep -q '^crashed or timed out *4$' stdout || fail "summary: $(cat stdout)"
  [ -s stderr ] && fail "standard error not empty without a terminal"
  # A compiler that cannot be started at all.
  printf 'not a program\n' > noexec && chmod +x noexec
  "$batch" -o out2 --compiler ./noexec src/a src/CRASH > stdout 2> stderr
  [ $? -eq 1 ] || fail "a compiler that cannot start must give exit status 1"
  grep -q $'\tcrashed\t\t\t\tcannot run .*noexec' out2/report.tsv || fail "compiler not started: $(cat out2/report.tsv)"
  ;;
interrupt)
  mkdir src
  for i in 1 2 3 4 5 6; do printf 'SLOW%d-MIB DEFINITIONS ::= BEGIN\nEND\n' $i > src/SLOW$i; done
  printf '#!/bin/sh\nsleep 30\n' > slow && chmod +x slow
  mkdir out && echo earlier > out/SLOW1-MIB.cfg
  "$batch" -j 2 -o out --compiler ./slow src > stdout 2>&1 &
  pid=$!
  sleep 1
  kill -INT $pid
  wait $pid
  status=$?
  [ $status -eq 130 ] || fail "exit status $status after Ctrl-C, expected 130"
  grep -q 'interrupted' stdout || fail "no word of the interruption: $(cat stdout)"
  [ -e out/report.tsv ] && fail "a report was written after Ctrl-C"
  [ "$(cat out/SLOW1-MIB.cfg)" = earlier ] || fail "an earlier result was touched"
  [ "$(ls -A out)" = SLOW1-MIB.cfg ] || fail "output folder: $(ls -A out)"
  pgrep -f 'sleep 30$' > /dev/null && fail "compiles still running after Ctrl-C"
  ;;
usage)
  mkdir src && printf 'U-MIB DEFINITIONS ::= BEGIN\nEND\n' > src/U
  expect() {  # expect STATUS PATTERN ARGS...
    local want=$1 pattern=$2
    shift 2
    "$batch" "$@" > stdout 2> stderr
    local got=$?
    [ $got -eq "$want" ] || fail "'$*': exit status $got, expected $want"
    grep -q -- "$pattern" stdout || fail "'$*': '$pattern' not in: $(cat stdout)"
    [ -s stderr ] && fail "'$*': standard error not empty"
  }
  expect 0 '^Usage: trapsmith-batch' --help
  expect 0 '^Usage: trapsmith-batch' -h
  expect 0 '^trapsmith-batch [0-9]' --version
  expect 2 'no PATH given'
  expect 2 "unknown option '--frobnicate'" --frobnicate src
  expect 2 'invalid number of jobs' -j 0 src
  expect 2 'cannot read missing' -o out missing
  expect 2 'cannot find the compiler' --compiler ./none src
  touch afile
  expect 2 'cannot write to afile/out' -o afile/out src
  [ -e afile/out ] && fail "an output folder under a file"
  expect 2 'cannot write the report' -o out --report afile/r.tsv src
  expect 2 'cannot write to xxxx' -o "$(printf 'x%.0s' $(seq 5000))" src  # a name the system refuses
  if [ "$(id -u)" != 0 ]; then
    mkdir locked && chmod 555 locked
    expect 2 'cannot write to locked' -o locked src
  fi
  [ -e out/U-MIB.cfg ] && fail "a compile ran after bad usage"
  ;;
terminal)
  if ! command -v tmux > /dev/null; then echo "skipped: tmux is not installed"; exit 77; fi
  mkdir src
  for i in $(seq 1 12); do printf 'T%d-MIB DEFINITIONS ::= BEGIN\nEND\n' $i > src/T$i; done
  printf '#!/bin/sh\nsleep 0.4\nexec "%s" "$@"\n' "$trapsmith" > slow && chmod +x slow
  sock=$work/tmux.sock
  tmux -S "$sock" new-session -d -x 120 -y 20 \
    "cd '$work' && '$batch' -j 2 -o out --compiler ./slow src; echo DONE \$?; sleep 30"
  seen=""
  for _ in $(seq 1 40); do
    sleep 0.2
    screen=$(tmux -S "$sock" capture-pane -p)
    if grep -q 'files/s' <<< "$screen"; then seen=$screen; break; fi
  done
  [ -n "$seen" ] || fail "no progress line on the terminal"
  [ "$(grep -c 'files/s' <<< "$seen")" -eq 1 ] || fail "progress not on one line: $seen"
  grep -Eq '^[0-9]+/12 files, 0 failed, [0-9.]+ files/s, .* left' <<< "$seen" || fail "progress line: $seen"
  for _ in $(seq 1 60); do
    sleep 0.2
    screen=$(tmux -S "$sock" capture-pane -p)
    grep -q '^DONE' <<< "$screen" && break
  done
  tmux -S "$sock" kill-server 2> /dev/null
  grep -q '^DONE 0' <<< "$screen" || fail "the batch did not end well: $screen"
  grep -q 'files/s' <<< "$screen" && fail "the progress line stayed after the end: $screen"
  [ "$(grep -c '^files *12$' <<< "$screen")" -eq 1 ] || fail "no summary on the screen: $screen"
  ;;
install)
  build=$(dirname "$batch")
  [ -f "$build/CMakeCache.txt" ] || { echo "skipped: $build is not a build folder"; exit 77; }
  cmake --install "$build" --prefix "$work/prefix" > /dev/null || fail "cmake --install failed"
  for f in bin/trapsmith bin/trapsmith-batch share/man/man1/trapsmith.1 share/man/man1/trapsmith-batch.1; do
    [ -e "$work/prefix/$f" ] || [ -e "$work/prefix/$f.gz" ] || fail "not installed: $f"
  done
  mkdir src && make_tree src
  (cd src && PATH=/nonexistent "$work/prefix/bin/trapsmith-batch" -q -o ../out vendor more --with std > /dev/null)
  diff <(report out/report.tsv) "$here/batch/expected_report.tsv" > /dev/null ||
    fail "the installed batch gives another report: $(cat out/report.tsv)"
  ;;
collection)
  shared=$here/../../shared/collection
  if [ ! -d "$shared" ]; then echo "skipped: $shared is not there"; exit 77; fi
  "$batch" -q -j 2 -o out "$shared" > stdout
  status=$?
  [ $status -le 1 ] || fail "exit status $status"
  files=$(find -L "$shared" -type f | wc -l)
  [ "$(($(wc -l < out/report.tsv) - 1))" -eq "$files" ] || fail "report rows for $files files: $(wc -l < out/report.tsv)"
  awk -F'\t' '$3 == "crashed" || $3 == "timeout"' out/report.tsv | grep -q . && fail "crashes: $(awk -F'\t' '$3 == "crashed" || $3 == "timeout"' out/report.tsv)"
  # A flat folder where every module of the tree is linked as MODULE.mib, the
  # winners by the batch's own rule, each compiled alone.
  python3 "$here/../scripts/flat-folder.py" "$shared" flat > /dev/null
  awk -F'\t' '$3 == "ok" || $3 == "warnings" { print $2 }' out/report.tsv > compiled
  while read -r m; do
    (cd flat && "$trapsmith" "$m.mib" > /dev/null)
    cmp -s "out/$m.cfg" "flat/$m.cfg" || fail "$m.cfg differs from a lone compile in a flat folder"
  done < compiled
  echo "$(wc -l < compiled) results compared"
  ;;
*)
  echo "unknown scenario $scenario"; exit 2 ;;
esac
finish
