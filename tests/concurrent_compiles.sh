#!/usr/bin/env bash
# Simultaneous compiles sharing a folder must each give what a lone compile
# gives: runs in one folder wait for each other (folder locks), so no run
# reads or removes another's work files and every backup left is a whole
# result.
#
#   concurrent_compiles.sh BINARY own
#       20 runs of three modules written here, all importing one shared
#       module: two compiled in their folder, the third from two sibling
#       folders, so that those runs share only the folder of their results.
#   concurrent_compiles.sh BINARY corpus CORPUS_DIR
#       20 runs of IF-MIB and CPQHLTH-MIB beside the corpus files they import.
#       Without the corpus: says "skipped: ..." and exits 77.
#
# Each run's exit status and standard output must equal a lone compile's, its
# standard error must be empty, every result and backup left must equal the
# lone compile's result byte for byte, the backups must be numbered without a
# gap, and no work file may be left.
set -u
bin=$(readlink -f "$1")
mode=$2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail=0

# Writes a module of `count` objects and traps under `parent`, importing the
# shared module's registrations and type.
write_module() {
  local name=$1 prefix=$2 parent=$3 count=$4 i
  {
    echo "$name DEFINITIONS ::= BEGIN"
    echo
    echo "IMPORTS"
    echo "    $parent, RaceLevel FROM RACE-SMI;"
    echo
    for ((i = 1; i <= count; i++)); do
      cat <<EOF
${prefix}Value$i OBJECT-TYPE
    SYNTAX      RaceLevel
    MAX-ACCESS  read-only
    STATUS      current
    DESCRIPTION "Value $i of $name."
    ::= { $parent $i }

${prefix}Alarm$i TRAP-TYPE
    ENTERPRISE  $parent
    VARIABLES   { ${prefix}Value$i }
    DESCRIPTION "Alarm $i of $name."
--#TYPE "$name alarm $i"
--#SUMMARY "Value is %d"
--#ARGUMENTS { 0 }
--#SEVERITY MINOR
    ::= $i

EOF
    done
    echo "END"
  } > "$name.mib"
}

write_shared() {
  local i
  {
    echo "RACE-SMI DEFINITIONS ::= BEGIN"
    echo
    echo "raceRoot OBJECT IDENTIFIER ::= { enterprises 31337 }"
    echo "raceA OBJECT IDENTIFIER ::= { raceRoot 1 }"
    echo "raceB OBJECT IDENTIFIER ::= { raceRoot 2 }"
    echo "raceC OBJECT IDENTIFIER ::= { raceRoot 3 }"
    for ((i = 1; i <= 200; i++)); do echo "raceSpare$i OBJECT IDENTIFIER ::= { raceRoot $((i + 10)) }"; done
    echo
    echo "RaceLevel ::= INTEGER { low(1), normal(2), high(3) }"
    echo
    echo "END"
  } > RACE-SMI.mib
}

# Runs the jobs (lines "FOLDER RESULT ARG...", FOLDER and RESULT relative to
# the tree) once each, alone, in a copy of the tree at $scratch/pristine, and
# then all at once in another copy; compares as described above.
race() {
  local jobs_file=$1
  local lone=$scratch/lone race=$scratch/race
  rm -rf "$lone" "$race"
  cp -a "$scratch/pristine" "$lone"
  cp -a "$scratch/pristine" "$race"

  local -a folders results argss
  local folder result args
  while read -r folder result args; do
    [ -n "$folder" ] || continue
    folders+=("$folder"); results+=("$result"); argss+=("$args")
  done < "$jobs_file"
  local n=${#folders[@]} i

  # A lone compile of each distinct job: its output and result.
  declare -A seen lone_status
  for ((i = 0; i < n; i++)); do
    local key="${folders[i]} ${argss[i]}"
    [ -n "${seen[$key]:-}" ] && continue
    seen[$key]=$i
    local -a argv
    read -r -a argv <<< "${argss[i]}"
    (cd "$lone/${folders[i]}" && "$bin" "${argv[@]}" > "$scratch/lone.$i.out" 2>&1)
    lone_status[$key]=$?
    cp "$lone/${results[i]}" "$scratch/lone.$i.cfg" 2>/dev/null || { echo "lone compile wrote no ${results[i]}"; fail=1; }
  done

  # All at once.
  local -a pids
  for ((i = 0; i < n; i++)); do
    local -a argv
    read -r -a argv <<< "${argss[i]}"
    (cd "$race/${folders[i]}" && exec "$bin" "${argv[@]}" > "$scratch/race.$i.out" 2> "$scratch/race.$i.err") &
    pids[i]=$!
  done
  for ((i = 0; i < n; i++)); do
    local key="${folders[i]} ${argss[i]}" first status
    first=${seen[$key]}
    wait "${pids[i]}"
    status=$?
    if [ "$status" != "${lone_status[$key]}" ]; then
      echo "run $i ($key): exit status $status, alone ${lone_status[$key]}"; fail=1
    fi
    if ! cmp -s "$scratch/race.$i.out" "$scratch/lone.$first.out"; then
      echo "run $i ($key): output differs from a lone compile:"
      diff "$scratch/lone.$first.out" "$scratch/race.$i.out" | head -20; fail=1
    fi
    if [ -s "$scratch/race.$i.err" ]; then
      echo "run $i ($key): standard error is not empty:"; head -5 "$scratch/race.$i.err"; fail=1
    fi
  done

  # Every result and backup left is a lone compile's result; with r runs
  # writing a result there are min(r - 1, 10) backups, _1 up without a gap.
  declare -A checked
  for ((i = 0; i < n; i++)); do
    local result=${results[i]} runs=0 j k
    [ -n "${checked[$result]:-}" ] && continue
    checked[$result]=1
    local lone_cfg=$scratch/lone.${seen["${folders[i]} ${argss[i]}"]}.cfg
    for ((j = 0; j < n; j++)); do
      [ "${results[j]}" = "$result" ] || continue
      runs=$((runs + 1))
      if ! cmp -s "$lone_cfg" "$scratch/lone.${seen["${folders[j]} ${argss[j]}"]}.cfg"; then
        echo "$result: lone compiles from ${folders[i]} and ${folders[j]} differ"; fail=1
      fi
    done
    local want=$((runs - 1 > 10 ? 10 : runs - 1)) cfg=$race/$result
    for name in "$cfg" $(for ((k = 1; k <= want; k++)); do echo "${cfg}_$k"; done); do
      if [ ! -e "$name" ]; then
        echo "${name#"$race/"} missing"; fail=1
      elif ! cmp -s "$name" "$lone_cfg"; then
        echo "${name#"$race/"} is not a lone compile's result:"
        diff "$lone_cfg" "$name" | head -10; fail=1
      fi
    done
    [ -e "${cfg}_$((want + 1))" ] && { echo "${result}_$((want + 1)) should not exist"; fail=1; }
  done

  local left
  left=$(cd "$race" && find . -name '*.int' -o -name '*.imports' -o -name '*.dbg')
  if [ -n "$left" ]; then
    echo "work files left behind:"; echo "$left" | head; fail=1
  fi
}

case $mode in
own)
  mkdir -p "$scratch/pristine/work" "$scratch/pristine/side1" "$scratch/pristine/side2"
  (
    cd "$scratch/pristine/work" || exit 1
    write_shared
    write_module ALPHA-MIB alpha raceA 120
    write_module BETA-MIB beta raceB 80
    write_module GAMMA-MIB gamma raceC 100
    # GAMMA-MIB is compiled from side1/ and side2/, where its imports are
    # looked for: those runs share only the folder of their results.
    cp RACE-SMI.mib ../side1/
    cp RACE-SMI.mib ../side2/
  ) || exit 1
  jobs=$scratch/jobs
  : > "$jobs"
  for ((i = 0; i < 20; i++)); do
    case $((i % 4)) in
      0) echo "work work/ALPHA-MIB.cfg ALPHA-MIB.mib" >> "$jobs" ;;
      1) echo "side1 work/GAMMA-MIB.cfg ../work/GAMMA-MIB.mib" >> "$jobs" ;;
      2) echo "work work/BETA-MIB.cfg BETA-MIB.mib" >> "$jobs" ;;
      3) echo "side2 work/GAMMA-MIB.cfg ../work/GAMMA-MIB.mib" >> "$jobs" ;;
    esac
  done
  race "$jobs"
  ;;
corpus)
  corpus=${3:-}
  if [ ! -d "$corpus" ]; then
    echo "skipped: the MIB corpus $corpus is not there"
    exit 77
  fi
  mkdir -p "$scratch/probe" "$scratch/pristine"
  cp "$corpus"/*.mib "$scratch/probe/"
  # The files the two modules read, found by compiling them beside the whole
  # corpus; only those go into the folder the runs share.
  for m in IF-MIB CPQHLTH-MIB; do
    cp "$corpus/$m.mib" "$scratch/pristine/"
    (cd "$scratch/probe" && "$bin" "$m.mib") | sed -n 's/^Processing import file: //p' | while read -r f; do
      cp "$scratch/probe/$f" "$scratch/pristine/"
    done
  done
  jobs=$scratch/jobs
  : > "$jobs"
  for ((i = 0; i < 20; i++)); do
    if ((i % 2)); then echo ". IF-MIB.cfg IF-MIB.mib" >> "$jobs"; else echo ". CPQHLTH-MIB.cfg CPQHLTH-MIB.mib" >> "$jobs"; fi
  done
  race "$jobs"
  ;;
*)
  echo "unknown mode $mode"; exit 2 ;;
esac
exit $fail
