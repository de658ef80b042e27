#!/usr/bin/env bash
# One large file over HTTP from nginx on 127.0.0.1 into a file: ours is
# kestrix_http_fetch (MHTTPStream, blocks of 64 KiB into MFileStream), the peer is
# `curl -s -o`. The file (SIZE_MIB mebibytes of random bytes, 1024 unless told)
# is generated in a scratch folder under the build folder; nginx runs there with a
# generated configuration on a free port and is stopped by its PID. Each tool runs
# RUNS times (5 unless told), alternating, writing to a fresh file after a sync;
# the best run of each counts.
set -euo pipefail
build=${1:-build/release}
runs=${RUNS:-5}
size_mib=${SIZE_MIB:-1024}
fetch="$build/bench/kestrix_http_fetch"
serve=$(dirname "$0")/../scripts/serve-folder
if [ ! -x "$fetch" ]; then echo "peer-http: $fetch is missing" >&2; exit 1; fi
if [ ! -x /usr/sbin/nginx ]; then echo "peer-http: nginx is missing (scripts/install-deps)" >&2; exit 1; fi
if ! command -v curl >/dev/null; then echo "peer-http: curl is missing (scripts/install-deps)" >&2; exit 1; fi

work=$(mktemp -d "$(cd "$build" && pwd)/http-bench.XXXXXX")
cleanup() {
  "$serve" stop "$work/nginx" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

mkdir -p "$work/www"
head -c "$((size_mib * 1024 * 1024))" /dev/urandom > "$work/www/large.bin"
size=$(stat -c %s "$work/www/large.bin")
sync

port=$("$serve" start "$work/www" "$work/nginx")
url="http://127.0.0.1:$port/large.bin"

nanoseconds() { date +%s%N; }
best_ours=""
best_peer=""
for run in $(seq "$runs"); do
  # Each run starts with no dirty pages of the one before: the write-back of a
  # gigabyte would otherwise be charged to whichever tool comes next.
  rm -f "$work/ours.bin" "$work/peer.bin"; sync
  start=$(nanoseconds); "$fetch" "$url" "$work/ours.bin"; ours=$(( $(nanoseconds) - start ))
  sync
  start=$(nanoseconds); curl -s -o "$work/peer.bin" "$url"; peer=$(( $(nanoseconds) - start ))
  if [ "$run" = 1 ] && ! cmp -s "$work/ours.bin" "$work/www/large.bin"; then
    echo "peer-http: the fetched file differs from the served one" >&2; exit 1
  fi
  echo "run $run: ours $((ours / 1000000)) ms, curl $((peer / 1000000)) ms"
  if [ -z "$best_ours" ] || [ "$ours" -lt "$best_ours" ]; then best_ours=$ours; fi
  if [ -z "$best_peer" ] || [ "$peer" -lt "$best_peer" ]; then best_peer=$peer; fi
done
awk -v o="$best_ours" -v p="$best_peer" -v s="$size" -v r="$runs" 'BEGIN {
  printf "http fetch of %d bytes from nginx on loopback, best of %d: kestrix_http_fetch %.0f ms (%.0f MiB/s), curl -s -o %.0f ms (%.0f MiB/s)\n", s, r, o / 1e6, s / 1048576 / (o / 1e9), p / 1e6, s / 1048576 / (p / 1e9)
  printf "ratio: ours/peer = %.2f\n", o / p
}'
