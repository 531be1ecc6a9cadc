#!/usr/bin/env bash
# A compile under a limit on its address space (ulimit -v) must either
# succeed as it does without the limit or end as out of memory: a line saying
# memory ran out ("Error: out of memory", from a compiler object as "Line: N:
# Error: out of memory") after what a run without the limit prints up to
# there, then "Mib compilation failed.", exit status 1, nothing on standard
# error, no work file left and the previous result and its backup unchanged.
#
#   memory_limits.sh BINARY own
#       a module of some 700 definitions written here, importing two modules
#       written here (one of them named by two FROM clauses)
#   memory_limits.sh BINARY corpus SHARED_DIR
#       RAPID-CITY (SHARED_DIR/bench-mibs) beside the corpus modules
#       (SHARED_DIR/mibs); without them: says "skipped: ..." and exits 77.
#   memory_limits.sh BINARY sanitized ...
#       says "skipped: ..." and exits 77: a sanitizer cannot start under such
#       a limit.
#
# The limits run from 1 MB up, in steps of 16 KB (own) or 128 KB (corpus),
# until a run succeeds.  Below some limit the program cannot even be loaded
# (the shell cannot run it, or it is killed before it prints anything); from
# the first limit at which it starts, every run must end in one of the two
# ways.  BINARY should be the
# statically linked build/trapsmith: a dynamically linked program fails in
# the loader first.
set -u
bin=$(readlink -f "$1")
mode=$2

if [ "$mode" = sanitized ]; then
  echo "skipped: a sanitized build cannot run under a limit on its address space"
  exit 77
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
inputs=$scratch/inputs
mkdir -p "$inputs"

if [ "$mode" = own ]; then
  module=SIZED-MIB
  step=16
  cat >"$inputs/SIZED-BASE-MIB.mib" <<'EOF'
SIZED-BASE-MIB DEFINITIONS ::= BEGIN
IMPORTS enterprises FROM RFC1155-SMI;
SizedLevel ::= TEXTUAL-CONVENTION
    STATUS current
    DESCRIPTION "A level."
    SYNTAX INTEGER { low(1), normal(2), high(3) }
sized OBJECT IDENTIFIER ::= { enterprises 7777 }
sizedRoot OBJECT IDENTIFIER ::= { sized 1 }
sizedTraps OBJECT IDENTIFIER ::= { sized 2 }
END
EOF
  cat >"$inputs/SIZED-NAMES-MIB.mib" <<'EOF'
SIZED-NAMES-MIB DEFINITIONS ::= BEGIN
SizedName ::= OCTET STRING (SIZE (0..32))
END
EOF
  {
    echo "SIZED-MIB DEFINITIONS ::= BEGIN"
    echo "IMPORTS sizedRoot, SizedLevel FROM SIZED-BASE-MIB"
    echo "        SizedName FROM SIZED-NAMES-MIB"
    echo "        sizedTraps FROM SIZED-BASE-MIB;"
    for ((t = 1; t <= 20; t++)); do
      cat <<EOF
sizedTable$t OBJECT-TYPE
    SYNTAX SEQUENCE OF SizedEntry$t
    ACCESS not-accessible
    STATUS mandatory
    DESCRIPTION "Table $t."
    ::= { sizedRoot $t }
sizedEntry$t OBJECT-TYPE
    SYNTAX SizedEntry$t
    ACCESS not-accessible
    STATUS mandatory
    DESCRIPTION "A row of table $t."
    INDEX { sizedIndex$t }
    ::= { sizedTable$t 1 }
SizedEntry$t ::= SEQUENCE { sizedIndex$t INTEGER, sizedState$t State$t }
sizedIndex$t OBJECT-TYPE
    SYNTAX INTEGER (1..1000)
    ACCESS read-only
    STATUS mandatory
    DESCRIPTION "The index of table $t."
    ::= { sizedEntry$t 1 }
EOF
      for ((c = 2; c <= 25; c++)); do
        cat <<EOF
sizedColumn$t-$c OBJECT-TYPE
    SYNTAX State$t
    ACCESS read-write
    STATUS mandatory
    DESCRIPTION "Column $c of table $t,
        a text over two lines."
    ::= { sizedEntry$t $c }
EOF
      done
      echo "State$t ::= INTEGER { up(1), down(2), testing($((t + 2))) }"
      cat <<EOF
sizedTrap$t TRAP-TYPE
    ENTERPRISE sizedTraps
    VARIABLES { sizedIndex$t, sizedColumn$t-2 }
    DESCRIPTION "Table $t changed."
    --#TYPE "Table $t changed"
    --#SUMMARY "Row %d of table $t is %s"
    --#ARGUMENTS { 0, 1 }
    --#SEVERITY MAJOR
    ::= $t
EOF
    done
    echo "END"
  } | sed 's/sizedColumn\([0-9]*\)-/sizedColumn\1x/g' >"$inputs/SIZED-MIB.mib"
elif [ "$mode" = corpus ]; then
  shared=${3:-}
  module=RAPID-CITY
  step=128
  if [ -z "$shared" ] || [ ! -f "$shared/bench-mibs/RAPID-CITY.mib" ] || [ ! -d "$shared/mibs" ]; then
    echo "skipped: RAPID-CITY and the MIB corpus are not there (${shared:-no folder given})"
    exit 77
  fi
  cp "$shared"/mibs/*.mib "$inputs/"
  cp "$shared/bench-mibs/RAPID-CITY.mib" "$inputs/"
else
  echo "usage: memory_limits.sh BINARY own | corpus SHARED_DIR | sanitized"
  exit 2
fi

previous=$'previous result\n'
older=$'older result\n'

# Runs the compile in a fresh folder $scratch/run, under a limit of $1 KB
# (none for 0), leaving status, stdout and stderr in $scratch.
run() {
  rm -rf "$scratch/run"
  cp -r "$inputs" "$scratch/run"
  printf '%s' "$previous" >"$scratch/run/$module.cfg"
  printf '%s' "$older" >"$scratch/run/$module.cfg_1"
  # The outer subshell keeps the shell's word on a program killed before it
  # started off this script's output.
  if [ "$1" = 0 ]; then
    (cd "$scratch/run" && exec "$bin" "$module.mib") >"$scratch/stdout" 2>"$scratch/stderr"
  else
    { (cd "$scratch/run" && ulimit -v "$1" && exec "$bin" "$module.mib") >"$scratch/stdout" 2>"$scratch/stderr"; } 2>/dev/null
  fi
  echo $? >"$scratch/status"
}

work_files() { (cd "$scratch/run" && ls -- *.int *.imports *.dbg 2>/dev/null); }

run 0
if [ "$(cat "$scratch/status")" != 0 ] || [ -s "$scratch/stderr" ]; then
  echo "FAIL: the run without a limit failed:"
  cat "$scratch/stdout" "$scratch/stderr"
  exit 1
fi
cp "$scratch/stdout" "$scratch/reference.stdout"
cp "$scratch/run/$module.cfg" "$scratch/reference.cfg"

problems=0
started=
failures=0
succeeded=
for ((limit = 1024; limit <= 262144; limit += step)); do
  run $limit
  status=$(cat "$scratch/status")
  out=$scratch/stdout
  if [ -z "$started" ] && [ ! -s "$out" ] && [ "$status" -ge 126 ]; then
    continue  # too little to load the program: the shell could not run it, or it was killed loading
  fi
  started=${started:-$limit}
  what=()
  [ -s "$scratch/stderr" ] && what+=("standard error: $(head -c 300 "$scratch/stderr")")
  left=$(work_files)
  [ -n "$left" ] && what+=("work files left: $(echo $left)")
  if [ "$status" = 0 ]; then
    cmp -s "$out" "$scratch/reference.stdout" || what+=("success, but standard output differs: $(tail -c 300 "$out")")
    cmp -s "$scratch/run/$module.cfg" "$scratch/reference.cfg" || what+=("success, but the result differs")
    [ "$(cat "$scratch/run/$module.cfg_1")" = "${previous%$'\n'}" ] || what+=("the previous result is not $module.cfg_1")
    succeeded=$limit
  else
    failures=$((failures + 1))
    [ "$status" = 1 ] || what+=("exit status $status")
    # The last two lines: the out-of-memory line and the failure.
    last=$(tail -n 2 "$out")
    if ! [[ "$last" =~ ^(Line:\ [0-9]+:\ )?Error:\ out\ of\ memory$'\n'Mib\ compilation\ failed\.$ ]]; then
      what+=("not the out-of-memory ending: $(tail -c 300 "$out" | tr '\n' '|')")
    else
      # Up to the line feed that opens the out-of-memory line, what a run
      # with memory enough prints.
      printed=$(head -c -$(($(tail -n 2 "$out" | wc -c) + 1)) "$out")
      [ "$(head -c ${#printed} "$scratch/reference.stdout")" = "$printed" ] ||
        what+=("what was printed before is not what a run without the limit prints")
    fi
    [ "$(cat "$scratch/run/$module.cfg")" = "${previous%$'\n'}" ] || what+=("the previous result changed")
    [ "$(cat "$scratch/run/$module.cfg_1")" = "${older%$'\n'}" ] || what+=("the backup changed")
    [ -e "$scratch/run/$module.cfg_2" ] && what+=("a backup was added")
  fi
  if [ ${#what[@]} -gt 0 ]; then
    problems=$((problems + 1))
    echo "FAIL at $limit KB:"
    printf '  %s\n' "${what[@]}"
  fi
  [ -n "$succeeded" ] && break
done

if [ -z "$succeeded" ]; then
  echo "FAIL: no run succeeded up to $((limit - step)) KB"
  problems=$((problems + 1))
fi
if [ "$failures" = 0 ]; then
  echo "FAIL: no run ran out of memory (the program started at ${started:-no} KB)"
  problems=$((problems + 1))
fi
echo "$module: loaded from ${started:-?} KB, out of memory $failures times, compiled at ${succeeded:-no limit tried} KB"
if [ $problems = 0 ]; then
  echo "1 passed, 0 failed"
  exit 0
fi
echo "0 passed, 1 failed"
exit 1
