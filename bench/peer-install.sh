#!/usr/bin/env bash
# The install walk against tar, on the same generated files, in the same run:
#   kestrix-pack install of a zlib package   vs  tar -xzf of the same files
#   kestrix-pack install of a bzip2 package  vs  tar -xjf of the same files
# each into an empty folder; then a second install over the finished tree
# (everything skipped by the time and size test), reported per file; and the
# install's peak memory at two package sizes, which should be the same.
# Each line "ratio: ours/peer = X" divides wall times (below 1: ours is faster).
#
#   bench/peer-install.sh [build-folder]
#   INSTALL_BENCH_MIB (512), INSTALL_BENCH_FILES (2000), BENCH_RUNS (5: medians)
# The data is generated once, deterministically, under <build-folder>/install-bench.
set -euo pipefail
build=${1:-build/release}
pack=$build/tools/kestrix-pack
driver=$build/bench/resource_build
if [ ! -x "$pack" ] || [ ! -x "$driver" ]; then
  echo "peer-install: $pack or $driver is not built, skipped"
  exit 0
fi
mib=${INSTALL_BENCH_MIB:-512}
count=${INSTALL_BENCH_FILES:-2000}
scratch=$build/install-bench
data=$scratch/data-$mib-$count
small=$scratch/data-$((mib / 8))-$((count / 8))
mkdir -p "$scratch"
for folder in "$data" "$small"; do
  if [ ! -e "$folder.done" ]; then
    rm -rf "$folder" "$folder".*
    size=${folder##*/data-}
    "$driver" generate "$folder" "${size%-*}" "${size#*-}"
    "$pack" build "$folder" "$folder.zlib.pkgm" --flags 3 >/dev/null
    "$pack" build "$folder" "$folder.bzip2.pkgm" --flags 7 >/dev/null
    tar -czf "$folder.tgz" -C "$folder" .
    tar -cjf "$folder.tbz" -C "$folder" .
    touch "$folder.done"
  fi
done
dest=$scratch/dest
# Every contender reads its archive from the page cache.
cat "$data".* >/dev/null

. "$(dirname "$0")/measure-lib.sh"

echo "data: $count files, $mib MiB; $(nproc) processors"
measure ours-install-zlib "$pack" install "$data.zlib.pkgm" --dest "$dest"
measure tar-xzf tar -xzf "$data.tgz" -C "$dest"
measure ours-install-bzip2 "$pack" install "$data.bzip2.pkgm" --dest "$dest"
measure tar-xjf tar -xjf "$data.tbz" -C "$dest"
ratio "install, zlib contents vs tar -xzf" ours-install-zlib tar-xzf "<= 0.6"
ratio "install, bzip2 contents vs tar -xjf" ours-install-bzip2 tar-xjf "<= 1.0, aim 0.55"

# The second install finds every file in place.
"$pack" install "$data.zlib.pkgm" --dest "$dest" >/dev/null
TIMEFORMAT='%R'
again=$({ time "$pack" install "$data.zlib.pkgm" --dest "$dest" >/dev/null 2>&1; } 2>&1)
awk -v t="$again" -v n="$count" 'BEGIN { printf "second install over the finished tree: %.2f s, %.1f us per file\n", t, t * 1e6 / n }'

if [ -x /usr/bin/time ]; then
  for folder in "$small" "$data"; do
    rm -rf "$dest"
    peak=$(/usr/bin/time -f '%M' "$pack" install "$folder.zlib.pkgm" --dest "$dest" 2>&1 >/dev/null | tail -1)
    echo "peak memory, ${folder##*/data-} (MiB-files) zlib package: $peak KiB"
  done
fi
rm -rf "$dest"
