# Sourced by the benchmark scripts: parse_runs_and_target NAME ARGS... reads
# "--runs N" into $runs and one positional argument into the variable NAME;
# any other option ends the script with status 2.
parse_runs_and_target() {
  local name=$1
  shift
  while [ $# -gt 0 ]; do
    case $1 in
      --runs) runs=$2; shift ;;
      -*) echo "unknown option $1"; exit 2 ;;
      *) printf -v "$name" '%s' "$1" ;;
    esac
    shift
  done
}
