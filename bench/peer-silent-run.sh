#!/usr/bin/env bash
# The program's silent run against nginx on 127.0.0.1, on catalogues made by
# bench/make-silent-catalogue.py with the project's own tools:
#   1. Nothing to do: 100 plug-ins with small packages, installed once; then
#      `kestrix /silent` again RUNS times (11 unless told). The median wall time
#      from exec to exit is printed (goal: under 50 ms).
#   2. A first run: 20 plug-ins whose content packages hold SIZE_MIB (512) MiB of
#      random bytes in all: `kestrix /silent` into an empty HOME, against the sum
#      of curl fetching every served package file and `tar -xzf` of the same
#      contents. Best of RUNS_BIG (2) runs each, after a sync; "ratio: ours/peer"
#      divides wall times (goal: at most 1.3).
# Everything lives in a temporary folder that is removed at the end.
#
#   bench/peer-silent-run.sh [build-folder]
set -euo pipefail
build=${1:-build/release}
runs=${RUNS:-11}
runs_big=${RUNS_BIG:-2}
size_mib=${SIZE_MIB:-512}
here=$(cd "$(dirname "$0")" && pwd)
serve=$here/../scripts/serve-folder
program=$build/src/app/kestrix
for needed in "$program" "$build/tools/kestrix-pack" "$build/tools/kestrix-tree"; do
  if [ ! -x "$needed" ]; then echo "peer-silent-run: $needed is not built, skipped"; exit 0; fi
done
for needed in /usr/sbin/nginx curl tar gzip; do
  command -v "$needed" >/dev/null || { echo "peer-silent-run: $needed is missing" >&2; exit 1; }
done

work=$(mktemp -d "${TMPDIR:-/tmp}/kestrix-silent-bench.XXXXXX")
cleanup() {
  "$serve" stop "$work/small/nginx" 2>/dev/null || true
  "$serve" stop "$work/big/nginx" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

nanoseconds() { date +%s%N; }

# kestrix /silent with HOME and the XDG folders in $1, against the server $2.
silent_run() {
  local home=$1 server=$2
  mkdir -p "$home"
  env HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
    XDG_CACHE_HOME="$home/.cache" KESTRIX_SERVER="$server" timeout 600 "$program" /silent >/dev/null 2>&1
}

# 1. Nothing to do.
python3 "$here/make-silent-catalogue.py" "$work/small" "$build/tools" --plugins 100 --package-kib 4 --files 1
port=$("$serve" start "$work/small/www" "$work/small/nginx")
silent_run "$work/small/home" "127.0.0.1:$port" || { echo "peer-silent-run: the first run failed" >&2; exit 1; }
times=()
for ((i = 0; i < runs; i++)); do
  start=$(nanoseconds)
  silent_run "$work/small/home" "127.0.0.1:$port"
  times+=($(( ($(nanoseconds) - start) / 1000 )))
done
"$serve" stop "$work/small/nginx"
median=$(printf '%s\n' "${times[@]}" | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')
echo "silent run with nothing to do, 100 plug-ins: median $((median / 1000)).$(( (median % 1000) / 100 )) ms of $runs runs (goal: under 50 ms)"

# 2. A first run of 20 packages.
python3 "$here/make-silent-catalogue.py" "$work/big" "$build/tools" --plugins 20 \
  --package-kib $((size_mib * 1024 / 20)) --files 8
tar -C "$work/big/contents" -czf "$work/big/contents.tar.gz" .
port=$("$serve" start "$work/big/www" "$work/big/nginx")
mapfile -t served < <(cd "$work/big/www" && find download -name '*.pkgm' | sort)
best_ours="" best_peer=""
for ((i = 0; i < runs_big; i++)); do
  rm -rf "$work/big/home" "$work/big/peer"
  sync
  start=$(nanoseconds)
  silent_run "$work/big/home" "127.0.0.1:$port" || { echo "peer-silent-run: a first run failed" >&2; exit 1; }
  ours=$(( ($(nanoseconds) - start) / 1000000 ))
  sync
  mkdir -p "$work/big/peer/fetched" "$work/big/peer/unpacked"
  start=$(nanoseconds)
  for file in "${served[@]}"; do
    curl -sf -o "$work/big/peer/fetched/$(basename "$file")" "http://127.0.0.1:$port/$file"
  done
  tar -C "$work/big/peer/unpacked" -xzf "$work/big/contents.tar.gz"
  peer=$(( ($(nanoseconds) - start) / 1000000 ))
  if [ -z "$best_ours" ] || [ "$ours" -lt "$best_ours" ]; then best_ours=$ours; fi
  if [ -z "$best_peer" ] || [ "$peer" -lt "$best_peer" ]; then best_peer=$peer; fi
done
installed=$(find "$work/big/home" -name 'sample*.bin' | wc -l)
[ "$installed" -eq $((20 * 8)) ] || { echo "peer-silent-run: $installed of $((20 * 8)) files installed" >&2; exit 1; }
echo "first silent run, 20 packages, $size_mib MiB: ours $best_ours ms, curl + tar -xzf $best_peer ms"
python3 -c "print(f'ratio: ours/peer = {$best_ours / $best_peer:.2f} (silent first run vs curl + tar -xzf; goal: at most 1.3)')"
