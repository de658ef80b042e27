#!/usr/bin/env bash
# kestrix-pack build of a whole folder against tar and its parallel peers, on the
# same data in the same run:
#   flags 1 (zlib contents, by the task pool)   vs  tar -czf, tar -I pigz
#   flags 5 (bzip2 contents, by the task pool)  vs  tar -cjf, tar -I pbzip2
# Each "ratio: ours/peer = X" divides the best wall times (below 1: ours is
# faster). Our tool also lists the folder, stamps every item's time and writes the
# definition: the whole job of making a package is timed, as the peers' is.
# Our compression runs at level 9 by design; gzip and pigz default to 6, so the
# "-9" peers are timed too, as the like-for-like ones.
#
#   bench/peer-pack.sh [build-folder]
#   PACK_BENCH_MIB (256), PACK_BENCH_FILES (2000), PACK_BENCH_RUNS (1)
# The data comes from the generator of the resource library benchmark
# (resource_build generate), under <build-folder>/resource-bench, shared with it.
set -euo pipefail
build=${1:-build/release}
pack=$build/tools/kestrix-pack
generator=$build/bench/resource_build
for tool in "$pack" "$generator"; do
  if [ ! -x "$tool" ]; then
    echo "peer-pack: $tool is not built, skipped"
    exit 0
  fi
done
mib=${PACK_BENCH_MIB:-256}
count=${PACK_BENCH_FILES:-2000}
runs=${PACK_BENCH_RUNS:-1}
scratch=$build/resource-bench
data=$scratch/data-$mib-$count
out=$scratch/pack-out
mkdir -p "$scratch" "$out"
if [ ! -e "$data.done" ]; then
  rm -rf "$data"
  "$generator" generate "$data" "$mib" "$count"
  touch "$data.done"
fi
trap 'rm -rf "$out"' EXIT
# Every contender reads from the page cache.
tar -cf - -C "$data" . >/dev/null

declare -A wall size
# measure NAME OUTPUT COMMAND...: the best wall time of `runs` runs and the size
# of what the command wrote.
measure() {
  local name=$1 output=$2 best="" real
  shift 2
  for _ in $(seq "$runs"); do
    rm -f "$output"
    local TIMEFORMAT='%R'
    real=$({ time "$@" >/dev/null 2>&1; } 2>&1)
    best=$(awk -v a="$real" -v b="${best:-$real}" 'BEGIN { print (a < b ? a : b) }')
  done
  wall[$name]=$best
  size[$name]=$(stat -c %s "$output")
  printf '%-16s %8.2f s wall %12d bytes\n' "$name" "$best" "${size[$name]}"
}
ratio() {  # ratio LABEL OURS PEER
  [ -n "${wall[$3]:-}" ] || return 0
  awk -v o="${wall[$2]}" -v p="${wall[$3]}" -v l="$1" \
    'BEGIN { printf "%-32s ratio: ours/peer = %.2f\n", l, o / p }'
}
has() { command -v "$1" >/dev/null; }

echo "data: $count files, $mib MiB; $(nproc) processors; best of $runs"
measure pack-flags-1 "$out/p1.pkgm" "$pack" build "$data" "$out/p1.pkgm" --flags 1
measure tar-czf "$out/t.tgz" tar -czf "$out/t.tgz" -C "$data" .
measure tar-gzip-9 "$out/t9.tgz" tar -I 'gzip -9' -cf "$out/t9.tgz" -C "$data" .
if has pigz; then
  measure tar-pigz "$out/p.tgz" tar -I pigz -cf "$out/p.tgz" -C "$data" .
  measure tar-pigz-9 "$out/p9.tgz" tar -I 'pigz -9' -cf "$out/p9.tgz" -C "$data" .
fi
measure pack-flags-5 "$out/p5.pkgm" "$pack" build "$data" "$out/p5.pkgm" --flags 5
measure tar-cjf "$out/t.tbz" tar -cjf "$out/t.tbz" -C "$data" .
if has pbzip2; then measure tar-pbzip2 "$out/p.tbz" tar -I pbzip2 -cf "$out/p.tbz" -C "$data" .; fi

ratio "pack flags 1 vs tar -czf" pack-flags-1 tar-czf
ratio "pack flags 1 vs tar pigz" pack-flags-1 tar-pigz
ratio "pack flags 1 vs tar gzip -9" pack-flags-1 tar-gzip-9
ratio "pack flags 1 vs tar pigz -9" pack-flags-1 tar-pigz-9
ratio "pack flags 5 vs tar -cjf" pack-flags-5 tar-cjf
ratio "pack flags 5 vs tar pbzip2" pack-flags-5 tar-pbzip2
