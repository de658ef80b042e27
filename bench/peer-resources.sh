#!/usr/bin/env bash
# Build of a large resource library against tar and its parallel peers, on the
# same generated folder, in the same run:
#   zlib files (flags 1)  vs  tar -czf, tar -I 'gzip -9', tar -I pigz, tar -I 'pigz -9'
#   bzip2 files (flags 5) vs  tar -cjf, tar -I pbzip2
# Each line "ratio: ours/peer = X" divides wall times (below 1: ours is faster).
# Our compression runs at level 9 by design; gzip and pigz default to 6, so the
# "-9" peers are the like-for-like ones. The serial path (flags + 8) is timed too.
#
#   bench/peer-resources.sh [build-folder]
#   RESOURCE_BENCH_MIB (256), RESOURCE_BENCH_FILES (2000), RESOURCE_BENCH_VERIFY=1
# The data is generated once, deterministically, under <build-folder>/resource-bench.
set -euo pipefail
build=${1:-build/release}
driver=$build/bench/resource_build
if [ ! -x "$driver" ]; then
  echo "peer-resources: $driver is not built, skipped"
  exit 0
fi
mib=${RESOURCE_BENCH_MIB:-256}
count=${RESOURCE_BENCH_FILES:-2000}
scratch=$build/resource-bench
data=$scratch/data-$mib-$count
out=$scratch/out
mkdir -p "$scratch" "$out"
if [ ! -e "$data.done" ]; then
  rm -rf "$data"
  "$driver" generate "$data" "$mib" "$count"
  touch "$data.done"
fi
# Every contender reads from the page cache.
tar -cf - -C "$data" . >/dev/null

declare -A wall cpu size
# measure NAME OUTPUT COMMAND...: wall and CPU seconds (user + system of the
# children) of one run, and the size of what it wrote.
measure() {
  local name=$1 output=$2
  shift 2
  rm -f "$output"
  local TIMEFORMAT='%R %U %S' times
  times=$({ time "$@" >/dev/null 2>&1; } 2>&1)
  read -r real user system <<<"$times"
  wall[$name]=$real
  cpu[$name]=$(awk -v u="$user" -v s="$system" 'BEGIN { printf "%.2f", u + s }')
  size[$name]=$(stat -c %s "$output")
  printf '%-22s %8.2f s wall %8.2f s cpu %12d bytes\n' "$name" "$real" "${cpu[$name]}" "${size[$name]}"
}
ratio() {  # ratio LABEL OURS PEER
  [ -n "${wall[$3]:-}" ] || return 0
  awk -v o="${wall[$2]}" -v p="${wall[$3]}" -v l="$1" \
    'BEGIN { printf "%-40s ratio: ours/peer = %.2f  (peer/ours %.2fx)\n", l, o / p, p / o }'
}
has() { command -v "$1" >/dev/null; }

echo "data: $count files, $mib MiB of text, mark-up, audio, code and noise; $(nproc) processors"
measure ours-zlib-parallel "$out/ours-1.lib" "$driver" build "$data" "$out/ours-1.lib" 1
measure ours-zlib-serial "$out/ours-9.lib" "$driver" build "$data" "$out/ours-9.lib" 9
measure tar-czf "$out/tar.tgz" tar -czf "$out/tar.tgz" -C "$data" .
measure tar-gzip-9 "$out/tar9.tgz" tar -I 'gzip -9' -cf "$out/tar9.tgz" -C "$data" .
if has pigz; then
  measure tar-pigz "$out/pigz.tgz" tar -I pigz -cf "$out/pigz.tgz" -C "$data" .
  measure tar-pigz-9 "$out/pigz9.tgz" tar -I 'pigz -9' -cf "$out/pigz9.tgz" -C "$data" .
fi
measure ours-bzip2-parallel "$out/ours-5.lib" "$driver" build "$data" "$out/ours-5.lib" 5
measure ours-bzip2-serial "$out/ours-13.lib" "$driver" build "$data" "$out/ours-13.lib" 13
measure tar-cjf "$out/tar.tbz" tar -cjf "$out/tar.tbz" -C "$data" .
if has pbzip2; then
  measure tar-pbzip2 "$out/pbzip2.tbz" tar -I pbzip2 -cf "$out/pbzip2.tbz" -C "$data" .
fi

if cmp -s <(head -c -4 "$out/ours-1.lib") <(head -c -4 "$out/ours-9.lib") &&
  cmp -s <(head -c -4 "$out/ours-5.lib") <(head -c -4 "$out/ours-13.lib"); then
  echo "parallel and serial libraries: identical"
else
  echo "parallel and serial libraries: DIFFERENT"
fi
if [ "${RESOURCE_BENCH_VERIFY:-0}" = 1 ]; then
  "$driver" verify "$data" "$out/ours-1.lib"
  "$driver" verify "$data" "$out/ours-5.lib"
fi

ratio "zlib parallel vs tar -czf" ours-zlib-parallel tar-czf
ratio "zlib parallel vs tar gzip -9" ours-zlib-parallel tar-gzip-9
ratio "zlib parallel vs tar pigz" ours-zlib-parallel tar-pigz
ratio "zlib parallel vs tar pigz -9" ours-zlib-parallel tar-pigz-9
ratio "zlib serial vs tar gzip -9" ours-zlib-serial tar-gzip-9
ratio "bzip2 parallel vs tar -cjf" ours-bzip2-parallel tar-cjf
ratio "bzip2 parallel vs tar pbzip2" ours-bzip2-parallel tar-pbzip2
ratio "bzip2 serial vs tar -cjf" ours-bzip2-serial tar-cjf
