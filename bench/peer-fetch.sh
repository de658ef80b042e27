#!/usr/bin/env bash
# The item download against its peers, on one file (SIZE_MIB mebibytes of random
# bytes, 1024 unless told) and its security info served by nginx on 127.0.0.1:
#   kestrix-pack fetch into an empty folder: every block of 1 MiB proved by its MD5
#     before it is written;
#   curl -s URL | md5sum: the file received and hashed once, nothing written;
#   aria2c with a Metalink of the same 1 MiB MD5 pieces: every piece proved, the
#     file written.
# Each runs RUNS times (3 unless told), alternating, after a sync, into a fresh
# folder; the best run of each counts. "ratio: ours/peer = X" divides wall times
# (below 1: ours is faster); the peak resident memory of ours is printed too.
# Everything lives in a temporary folder that is removed at the end.
#
#   bench/peer-fetch.sh [build-folder]
set -euo pipefail
build=${1:-build/release}
runs=${RUNS:-3}
size_mib=${SIZE_MIB:-1024}
tool=$build/tools/kestrix-pack
serve=$(dirname "$0")/../scripts/serve-folder
if [ ! -x "$tool" ]; then echo "peer-fetch: $tool is not built, skipped"; exit 0; fi
for needed in /usr/sbin/nginx curl aria2c md5sum /usr/bin/time; do
  if ! command -v "$needed" >/dev/null; then
    echo "peer-fetch: $needed is missing (scripts/install-deps --bench)" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/kestrix-fetch-bench.XXXXXX")
cleanup() {
  "$serve" stop "$work/nginx" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

mkdir -p "$work/www/download"
item=$work/www/download/item.bin
head -c "$((size_mib * 1024 * 1024))" /dev/urandom > "$item"
"$tool" md5 "$item" >/dev/null
size=$(stat -c %s "$item")

port=$("$serve" start "$work/www" "$work/nginx")
url="http://127.0.0.1:$port/download/item.bin"
# Lines 4 and on of the security info are the piece digests of the Metalink.
{
  echo '<?xml version="1.0" encoding="UTF-8"?>'
  echo '<metalink xmlns="urn:ietf:params:xml:ns:metalink">'
  echo "  <file name=\"item.bin\"><size>$size</size>"
  echo '    <pieces length="1048576" type="md5">'
  awk 'NR >= 4 && NF { print "      <hash>" $1 "</hash>" }' "$item.md5"
  echo '    </pieces>'
  echo "    <url>$url</url>"
  echo '  </file>'
  echo '</metalink>'
} > "$work/item.meta4"

# Every contender reads the served file from the page cache.
cat "$item" >/dev/null

nanoseconds() { date +%s%N; }
best() {  # best CURRENT NEW
  if [ -z "$1" ] || [ "$2" -lt "$1" ]; then echo "$2"; else echo "$1"; fi
}
fresh() {  # an empty folder, and no dirty pages of the run before
  rm -rf "$work/dest"
  mkdir -p "$work/dest"
  sync
}
best_ours="" best_curl="" best_aria="" peak_rss=0
for run in $(seq "$runs"); do
  fresh
  start=$(nanoseconds)
  /usr/bin/time -f '%M' -o "$work/rss" \
    "$tool" fetch --server "127.0.0.1:$port" /download/item.bin --dest "$work/dest" >/dev/null
  ours=$(( $(nanoseconds) - start ))
  rss=$(tail -n 1 "$work/rss")
  if [ "$rss" -gt "$peak_rss" ]; then peak_rss=$rss; fi
  if [ "$run" = 1 ] && ! cmp -s "$work/dest/item.bin" "$item"; then
    echo "peer-fetch: the fetched file differs from the served one" >&2; exit 1
  fi

  fresh
  start=$(nanoseconds)
  curl -s "$url" | md5sum >/dev/null
  peer_curl=$(( $(nanoseconds) - start ))

  fresh
  start=$(nanoseconds)
  aria2c -q -d "$work/dest" --allow-overwrite=true --auto-file-renaming=false \
    -M "$work/item.meta4"
  peer_aria=$(( $(nanoseconds) - start ))
  if [ "$run" = 1 ] && ! cmp -s "$work/dest/item.bin" "$item"; then
    echo "peer-fetch: aria2c fetched a different file" >&2; exit 1
  fi

  echo "run $run: ours $((ours / 1000000)) ms, curl | md5sum $((peer_curl / 1000000)) ms, aria2c $((peer_aria / 1000000)) ms"
  best_ours=$(best "$best_ours" "$ours")
  best_curl=$(best "$best_curl" "$peer_curl")
  best_aria=$(best "$best_aria" "$peer_aria")
done
awk -v o="$best_ours" -v c="$best_curl" -v a="$best_aria" -v s="$size" -v r="$runs" -v m="$peak_rss" 'BEGIN {
  printf "item download of %d bytes from nginx on loopback, best of %d: kestrix-pack fetch %.0f ms (%.0f MiB/s), curl | md5sum %.0f ms, aria2c %.0f ms; %d processors\n", s, r, o / 1e6, s / 1048576 / (o / 1e9), c / 1e6, a / 1e6, '"$(nproc)"'
  printf "peak RSS of kestrix-pack fetch: %.1f MiB (goal < 24)\n", m / 1024
  printf "%-36s ratio: ours/peer = %.2f  (goal <= 1.0)\n", "fetch vs curl | md5sum", o / c
  printf "%-36s ratio: ours/peer = %.2f  (goal <= 0.5)\n", "fetch vs aria2c, 1 MiB MD5 pieces", o / a
}'
