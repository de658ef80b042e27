#!/usr/bin/env bash
# Add-on extraction against tar, on the same generated files, in the same run:
#   kestrix-pack addon-install of a product (zlib items)  vs  tar -xzf of the files
# each into an empty folder, and the extraction's peak memory.
# The line "ratio: ours/peer = X" divides wall times (below 1: ours is faster).
#
#   bench/peer-addon.sh [build-folder]
#   ADDON_BENCH_MIB (512), ADDON_BENCH_FILES (2000), BENCH_RUNS (5: medians)
# The data is generated once under <build-folder>/addon-bench.
set -euo pipefail
build=${1:-build/release}
pack=$build/tools/kestrix-pack
driver=$build/bench/resource_build
if [ ! -x "$pack" ] || [ ! -x "$driver" ]; then
  echo "peer-addon: $pack or $driver is not built, skipped"
  exit 0
fi
mib=${ADDON_BENCH_MIB:-512}
count=${ADDON_BENCH_FILES:-2000}
scratch=$(cd "$build" && pwd)/addon-bench
data=$scratch/data-$mib-$count
mkdir -p "$scratch"
if [ ! -e "$data.done" ]; then
  rm -rf "$data" "$data".*
  "$driver" generate "$data" "$mib" "$count"
  # The product's tree: every folder a dir item, every file a file item, below Samples.
  {
    echo '<product PluginID="Bench"><Samples>'
    (cd "$data" && find . -mindepth 1 -type d | sort | sed 's|^\./||') | while read -r dir; do
      echo "<dir path=\"$dir\"/>"
    done
    (cd "$data" && find . -type f | sort | sed 's|^\./||') | while read -r file; do
      echo "<file path=\"$file\" srcpath=\"data/$file\"/>"
    done
    echo '</Samples></product>'
  } >"$data.tree.xml"
  ln -sfn "$data" "$scratch/data"
  cp "$data.tree.xml" "$scratch/tree.xml"
  "$pack" build "$scratch/tree.xml" "$data.mproduct" --flags 3 >/dev/null
  tar -czf "$data.tgz" -C "$data" .
  touch "$data.done"
fi
dest=$scratch/dest
cat "$data.mproduct" "$data.tgz" >/dev/null
# The tool reads the user's folders for its defaults: a home of its own.
export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/home/.config XDG_DATA_HOME=$scratch/home/.local/share
# Records land in the destination too, so that every run starts without them.
ours=(env "$pack" addon-install "$data.mproduct" --samples "$dest" --factory "$scratch/factory"
      --records "$dest/.records" --quiet)

. "$(dirname "$0")/measure-lib.sh"

echo "data: $count files, $mib MiB; $(nproc) processors"
measure ours-addon "${ours[@]}"
measure tar-xzf tar -xzf "$data.tgz" -C "$dest"
ratio "add-on extraction vs tar -xzf" ours-addon tar-xzf "<= 0.6"
if [ -x /usr/bin/time ]; then
  rm -rf "$dest"
  peak=$(/usr/bin/time -f '%M' "${ours[@]}" 2>&1 >/dev/null | tail -1)
  echo "add-on extraction peak memory: $peak KiB (goal under 24 MiB)"
fi
