#!/usr/bin/env bash
# Checks how a compile ends when its files cannot be written.
#
#   fault_check.sh [BINARY]       (default: build/trapsmith of this repository)
#
# Every run starts from a folder holding a small module, the module it
# imports, and a previous result FAULT-MIB.cfg.  Whatever goes wrong, a run
# that did not write its ".cfg" completely must exit 1, must not print the
# success message, must end with a message of its own beginning with a line
# feed, must write nothing to standard error and must leave no work file; the
# previous result must survive, as FAULT-MIB.cfg (the run stopped before the
# backups were rotated) or as FAULT-MIB.cfg_1.
#
# Cases:
#   file-size-limit  writes beyond 1 KB fail (ulimit -f, SIGXFSZ ignored): the
#                    work files fit, the ".cfg" does not
#   disk-full        a tmpfs mounted for each run with 0, 1, 2, ... free pages
#                    until the compile succeeds; at least one size must fail
#                    while the ".cfg" is written (needs mount; skipped without)
#   immutable-cfg    the previous FAULT-MIB.cfg is immutable (chattr +i), so
#                    root can neither move nor replace it (skipped without
#                    chattr support)
#   folder-readonly  run as nobody in a folder nobody may not write
#   sticky-folder    run as nobody in a sticky, world-writable folder where
#                    the previous result belongs to root: the work files can
#                    be made but the result can be neither moved nor replaced
# The last two need setpriv and the user nobody (skipped without).
#
# Ends with a line "N passed, N failed"; exits 1 if a case failed.
set -u
here=$(cd "$(dirname "$0")" && pwd)
bin=$(readlink -f "${1:-$here/../build/trapsmith}")
if [ ! -x "$bin" ]; then
  echo "no binary at $bin"
  exit 2
fi

scratch=$(mktemp -d)
mnt=$scratch/mnt
cleanup_scratch() {
  mountpoint -q "$mnt" 2>/dev/null && umount "$mnt"
  chattr -i "$scratch"/*/FAULT-MIB.cfg 2>/dev/null
  rm -rf "$scratch"
}
trap cleanup_scratch EXIT

passed=0
failed=0
skipped=0
pass() { echo "ok   $1"; passed=$((passed + 1)); }
fail() { echo "FAIL $1: $2"; failed=$((failed + 1)); }
skip() { echo "skip $1: $2"; skipped=$((skipped + 1)); }

previous=$'previous result\n'

# Writes the two modules and the previous result into folder $1.
make_inputs() {
  mkdir -p "$1"
  cat >"$1/FAULT-MIB.mib" <<'EOF'
FAULT-MIB DEFINITIONS ::= BEGIN
IMPORTS faultRoot FROM FAULT-BASE-MIB;

faultObjects OBJECT IDENTIFIER ::= { faultRoot 1 }

faultLevel OBJECT-TYPE
    SYNTAX INTEGER { low(1), high(2) }
    ACCESS read-only
    STATUS mandatory
    DESCRIPTION "The level the sensor reports."
    ::= { faultObjects 1 }

faultRaised TRAP-TYPE
    ENTERPRISE faultRoot
    VARIABLES { faultLevel }
    DESCRIPTION "The level went high."
    --#TYPE "Level high"
    --#SUMMARY "The level is %d"
    --#ARGUMENTS { 0 }
    --#SEVERITY MAJOR
    ::= 1

faultCleared TRAP-TYPE
    ENTERPRISE faultRoot
    VARIABLES { faultLevel }
    DESCRIPTION "The level went back to low."
    --#TYPE "Level low"
    --#SUMMARY "The level is %d again"
    --#ARGUMENTS { 0 }
    --#SEVERITY INFORMATIONAL
    ::= 2

END
EOF
  {
    echo "FAULT-BASE-MIB DEFINITIONS ::= BEGIN"
    echo "faultVendor OBJECT IDENTIFIER ::= { enterprises 77777 }"
    echo "faultProducts OBJECT IDENTIFIER ::= { faultVendor 1 }"
    echo "faultFamily OBJECT IDENTIFIER ::= { faultProducts 1 }"
    echo "faultRoot OBJECT IDENTIFIER ::= { faultFamily 1 }"
    # Types written into the ".imports" file ahead of the registrations, so
    # that the result is well over 1 KB while each work file stays under it.
    for i in 1 2 3 4 5 6; do
      echo "FaultLevel$i ::= INTEGER { lowest(1), low(2), normal(3), high(4), highest(5) }"
    done
    echo "END"
  } >"$1/FAULT-BASE-MIB.mib"
  printf '%s' "$previous" >"$1/FAULT-MIB.cfg"
}

# Runs the binary in folder $1 with the command prefix "${@:2}" (if any) and
# leaves its exit status, standard output and standard error in $log/status,
# $log/stdout and $log/stderr, outside the folder so that they take none of
# its space.  Standard output goes through a pipe, which no file-size limit
# applies to.
log=$scratch/log
mkdir -p "$log"
run_in() {
  local dir=$1
  shift
  (cd "$dir" && { "$@" "$bin" FAULT-MIB.mib 2>"$log/stderr"; echo $? >"$log/status"; } | cat >"$log/stdout")
}

# Checks the common promises of a failed run in folder $1; prints the
# problems, one a line.
check_failed_run() {
  local dir=$1
  [ "$(cat "$log/status")" = 1 ] || echo "exit status $(cat "$log/status"), expected 1"
  grep -q "completed successfully" "$log/stdout" && echo "the success message was printed"
  [ -s "$log/stderr" ] && echo "standard error: $(head -c 200 "$log/stderr")"
  # What follows the "Compiling" line is the run's own message, which begins
  # with a line feed: an empty line, then its text.
  local after
  after=$(sed '1,/^Compiling FAULT-MIB.mib$/d' "$log/stdout")
  if [ -z "$(echo "$after" | sed '/^$/d')" ] || [ -n "$(echo "$after" | head -1)" ]; then
    echo "no message beginning with a line feed after the Compiling line"
  fi
  local left
  left=$(cd "$dir" && ls -- *.int *.imports *.dbg 2>/dev/null)
  [ -n "$left" ] && echo "work files left: $left"
  local kept=
  [ "$(cat "$dir/FAULT-MIB.cfg" 2>/dev/null)" = "${previous%$'\n'}" ] && kept=cfg
  [ "$(cat "$dir/FAULT-MIB.cfg_1" 2>/dev/null)" = "${previous%$'\n'}" ] && kept=cfg_1
  [ -n "$kept" ] || echo "the previous result is neither FAULT-MIB.cfg nor FAULT-MIB.cfg_1"
  return 0
}

# The result of a run with nothing in the way, to compare successes with.
make_inputs "$scratch/reference"
run_in "$scratch/reference"
if [ "$(cat "$log/status")" != 0 ] ||
   ! grep -q "Mib Compilation completed successfully" "$log/stdout"; then
  echo "FAIL reference run:"
  cat "$log/stdout"
  echo "0 passed, 1 failed"
  exit 1
fi
reference=$scratch/reference/FAULT-MIB.cfg
ref_size=$(stat -c %s "$reference")

# --- file-size-limit ------------------------------------------------------
case_name=file-size-limit
if [ "$ref_size" -le 1024 ]; then
  fail $case_name "the result is only $ref_size bytes: the test module must grow"
else
  dir=$scratch/$case_name
  make_inputs "$dir"
  run_in "$dir" bash -c 'ulimit -f 1; trap "" XFSZ; exec "$@"' limit
  problems=$(check_failed_run "$dir")
  grep -q $'^could not write FAULT-MIB.cfg$' "$log/stdout" ||
    problems+=$'\n'"expected \"could not write FAULT-MIB.cfg\", got: $(tail -c 200 "$log/stdout")"
  [ "$(cat "$dir/FAULT-MIB.cfg_1" 2>/dev/null)" = "${previous%$'\n'}" ] ||
    problems+=$'\n'"the previous result is not FAULT-MIB.cfg_1"
  problems=$(echo "$problems" | sed '/^$/d')
  if [ -z "$problems" ]; then pass $case_name; else fail $case_name "$problems"; fi
fi

# --- disk-full ------------------------------------------------------------
case_name=disk-full
mkdir -p "$mnt"
if ! mount -t tmpfs -o size=1m tmpfs "$mnt" 2>/dev/null; then
  skip $case_name "cannot mount a tmpfs here"
else
  umount "$mnt"
  page=$(getconf PAGESIZE)
  # Pages the inputs take, as tmpfs counts them.
  make_inputs "$scratch/sizes"
  input_pages=0
  for f in "$scratch/sizes"/*; do
    input_pages=$((input_pages + ($(stat -c %s "$f") + page - 1) / page))
  done
  problems=
  cfg_write_failures=0
  succeeded=
  for ((free = 0; free <= 64; free++)); do
    mount -t tmpfs -o size=$(((input_pages + free) * page)) tmpfs "$mnt"
    make_inputs "$mnt"
    run_in "$mnt"
    status=$(cat "$log/status")
    if [ "$status" = 0 ]; then
      cmp -s "$mnt/FAULT-MIB.cfg" "$reference" ||
        problems+="with $free free pages: success, but the result differs from the reference"$'\n'
      [ "$(cat "$mnt/FAULT-MIB.cfg_1")" = "${previous%$'\n'}" ] ||
        problems+="with $free free pages: the previous result is not FAULT-MIB.cfg_1"$'\n'
      succeeded=$free
    else
      more=$(check_failed_run "$mnt")
      [ -n "$more" ] && problems+=$(echo "$more" | sed "s/^/with $free free pages: /")$'\n'
      grep -q $'^could not write FAULT-MIB.cfg$' "$log/stdout" && cfg_write_failures=$((cfg_write_failures + 1))
    fi
    umount "$mnt"
    [ -n "$succeeded" ] && break
  done
  [ -n "$succeeded" ] || problems+="no run succeeded with up to 64 free pages"$'\n'
  [ "$cfg_write_failures" -gt 0 ] || problems+="no run failed while writing the result"$'\n'
  if [ -z "$problems" ]; then
    pass "$case_name (failed with 0 to $((succeeded - 1)) free pages, $cfg_write_failures of them writing the result)"
  else
    fail $case_name "$problems"
  fi
fi

# --- immutable-cfg --------------------------------------------------------
case_name=immutable-cfg
dir=$scratch/$case_name
make_inputs "$dir"
if ! chattr +i "$dir/FAULT-MIB.cfg" 2>/dev/null; then
  skip $case_name "chattr +i is not supported here"
else
  run_in "$dir"
  chattr -i "$dir/FAULT-MIB.cfg"
  problems=$(check_failed_run "$dir")
  grep -q $'^could not open intermediate file FAULT-MIB.cfg for output$' "$log/stdout" ||
    problems+=$'\n'"unexpected message: $(tail -c 200 "$log/stdout")"
  problems=$(echo "$problems" | sed '/^$/d')
  if [ -z "$problems" ]; then pass $case_name; else fail $case_name "$problems"; fi
fi

# --- folder-readonly and sticky-folder ------------------------------------
as_nobody=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
if ! command -v setpriv >/dev/null || ! id nobody >/dev/null 2>&1 ||
   ! "${as_nobody[@]}" test -x "$bin" 2>/dev/null; then
  skip folder-readonly "cannot run the binary as nobody"
  skip sticky-folder "cannot run the binary as nobody"
else
  chmod 755 "$scratch"

  case_name=folder-readonly
  dir=$scratch/$case_name
  make_inputs "$dir"
  chmod 755 "$dir"
  run_in "$dir" "${as_nobody[@]}"
  problems=$(check_failed_run "$dir")
  grep -q $'^Line: 0: Failure to open temporary file FAULT-MIB.dbg$' "$log/stdout" ||
    problems+=$'\n'"unexpected message: $(tail -c 200 "$log/stdout")"
  [ "$(ls "$dir" | grep -c .)" = 3 ] || problems+=$'\n'"files were created: $(ls "$dir")"
  problems=$(echo "$problems" | sed '/^$/d')
  if [ -z "$problems" ]; then pass $case_name; else fail $case_name "$problems"; fi

  case_name=sticky-folder
  dir=$scratch/$case_name
  make_inputs "$dir"
  chmod 1777 "$dir"
  run_in "$dir" "${as_nobody[@]}"
  problems=$(check_failed_run "$dir")
  grep -q $'^could not open intermediate file FAULT-MIB.cfg for output$' "$log/stdout" ||
    problems+=$'\n'"unexpected message: $(tail -c 200 "$log/stdout")"
  problems=$(echo "$problems" | sed '/^$/d')
  if [ -z "$problems" ]; then pass $case_name; else fail $case_name "$problems"; fi
fi

echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" = 0 ]
