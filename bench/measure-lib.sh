# Shared by the peer scripts that time whole commands into an empty folder:
#   measure NAME COMMAND...   runs COMMAND BENCH_RUNS times (default 5), each into an
#                             empty $dest, and keeps the median wall time in wall[NAME]
#   ratio LABEL OURS PEER GOAL  prints "LABEL ratio: ours/peer = X (goal GOAL)"
# The caller sets `dest`.
declare -A wall
measure() {
  local name=$1 runs=${BENCH_RUNS:-5} times=() real
  shift
  local TIMEFORMAT='%R'
  for ((run = 0; run < runs; run++)); do
    rm -rf "$dest"
    mkdir -p "$dest"
    sync
    real=$({ time "$@" >/dev/null 2>&1; } 2>&1)
    times+=("$real")
  done
  wall[$name]=$(printf '%s\n' "${times[@]}" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')
  printf '%-26s %8.2f s wall (median of %d; %s)\n' "$name" "${wall[$name]}" "$runs" "${times[*]}"
}
ratio() {
  awk -v o="${wall[$2]}" -v p="${wall[$3]}" -v l="$1" -v g="$4" \
    'BEGIN { printf "%-40s ratio: ours/peer = %.2f  (goal %s)\n", l, o / p, g }'
}
