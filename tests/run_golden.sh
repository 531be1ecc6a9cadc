#!/usr/bin/env bash
# Runs one end-to-end case against the built binary.
#
#   run_golden.sh BINARY CASE_DIR
#
# A case directory holds:
#   args              the command-line arguments, one line (word-split by the shell;
#                     an empty line runs the binary without arguments)
#   input/            files copied into a scratch working directory (optional)
#   examples          names of files of the repository's examples/ folder to copy
#                     in as well (optional)
#   setup.sh          run in the scratch directory before the binary (optional)
#   runs              how many times to run the binary (optional, default 1)
#   expected_stdout   the standard output of the last run
#   expected_status   its exit status (optional, default 0)
#   expected/         files that must exist afterwards with exactly this content
#   absent            names of files that must not exist afterwards (optional)
# Every case also checks that nothing was written to standard error and that
# no work file (".int", ".imports", ".dbg") is left anywhere.
#
# With UPDATE_GOLDEN=1 the actual results are written back into the case
# (expected_stdout, expected_status and the files already listed in expected/)
# for review.
set -u
bin=$(readlink -f "$1")
case_dir=$(readlink -f "$2")
examples=$(dirname "$(readlink -f "$0")")/../examples

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
[ -d "$case_dir/input" ] && cp -a "$case_dir/input/." "$scratch/"
if [ -f "$case_dir/examples" ]; then
  while read -r f; do
    [ -n "$f" ] && cp "$examples/$f" "$scratch/"
  done < "$case_dir/examples"
fi
if [ -f "$case_dir/setup.sh" ]; then
  (cd "$scratch" && bash "$case_dir/setup.sh") || { echo "setup.sh failed"; exit 1; }
fi

runs=1
[ -f "$case_dir/runs" ] && runs=$(cat "$case_dir/runs")
args=()
read -r -a args < "$case_dir/args" || true
for ((i = 0; i < runs; i++)); do
  (cd "$scratch" && "$bin" "${args[@]}" > "$scratch/.stdout" 2> "$scratch/.stderr")
  status=$?
done

fail=0
if [ "${UPDATE_GOLDEN:-0}" = 1 ]; then
  cp "$scratch/.stdout" "$case_dir/expected_stdout"
  echo "$status" > "$case_dir/expected_status"
  if [ -d "$case_dir/expected" ]; then
    for f in "$case_dir/expected"/*; do
      [ -e "$f" ] || continue
      n=$(basename "$f")
      if [ -e "$scratch/$n" ]; then cp "$scratch/$n" "$f"; else echo "missing result file: $n"; fi
    done
  fi
fi

expected_status=0
[ -f "$case_dir/expected_status" ] && expected_status=$(cat "$case_dir/expected_status")
if [ "$status" != "$expected_status" ]; then
  echo "exit status $status, expected $expected_status"; fail=1
fi
if ! cmp -s "$scratch/.stdout" "$case_dir/expected_stdout"; then
  echo "standard output differs:"; diff "$case_dir/expected_stdout" "$scratch/.stdout" | head -40; fail=1
fi
if [ -s "$scratch/.stderr" ]; then
  echo "standard error is not empty:"; head -20 "$scratch/.stderr"; fail=1
fi
if [ -d "$case_dir/expected" ]; then
  for f in "$case_dir/expected"/*; do
    [ -e "$f" ] || continue
    n=$(basename "$f")
    if [ ! -e "$scratch/$n" ]; then
      echo "result file missing: $n"; fail=1
    elif ! cmp -s "$f" "$scratch/$n"; then
      echo "result file differs: $n"; diff "$f" "$scratch/$n" | head -40; fail=1
    fi
  done
fi
if [ -f "$case_dir/absent" ]; then
  while read -r n; do
    if [ -n "$n" ] && [ -e "$scratch/$n" ]; then echo "file should not exist: $n"; fail=1; fi
  done < "$case_dir/absent"
fi
left=$(cd "$scratch" && find . -name '*.int' -o -name '*.imports' -o -name '*.dbg' | head)
if [ -n "$left" ]; then
  echo "work files left behind:"; echo "$left"; fail=1
fi
exit $fail
