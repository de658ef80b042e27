#!/usr/bin/env bash
# Our text XML load against xmllint's, on the same generated package database
# (bench/make-package-db.py: 20,000 `packages` elements, about 4 MB).
#   ours: kestrix-tree dump FILE > /dev/null   (loads the file in any form, then
#         also writes the whole tree out again as pretty XML: more than a load)
#   peer: xmllint --noout FILE                 (parses and builds its tree)
# Each runs RUNS times, alternating; the best run of each counts. Time is the
# processor time of the process (user + system), which a busy machine disturbs
# far less than the wall clock; the wall clock is shown as context.
set -euo pipefail
build=${1:-build/release}
runs=${RUNS:-9}
here=$(cd "$(dirname "$0")" && pwd)
tool="$build/tools/kestrix-tree"
if [ ! -x "$tool" ]; then echo "peer-xmllint: $tool is missing" >&2; exit 1; fi
if ! command -v xmllint >/dev/null; then echo "peer-xmllint: xmllint is missing (libxml2-utils)" >&2; exit 1; fi

work=$(mktemp -d "${TMPDIR:-/tmp}/kestrix-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
file="$work/MINSTALLERDATABASE.xml"
python3 "$here/make-package-db.py" "$file"

python3 - "$runs" "$file" "$tool" <<'PY'
import os, resource, subprocess, sys, time

runs, path, tool = int(sys.argv[1]), sys.argv[2], sys.argv[3]
commands = {"ours": [tool, "dump", path], "peer": ["xmllint", "--noout", path]}
best = {name: (float("inf"), float("inf")) for name in commands}

def run(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    return cpu, wall

for _ in range(runs):
    for name, command in commands.items():
        cpu, wall = run(command)
        best[name] = (min(best[name][0], cpu), min(best[name][1], wall))

ours, peer = best["ours"], best["peer"]
print("xml load of %d bytes, best of %d (processor time, wall clock):" % (os.path.getsize(path), runs))
print("  ours  kestrix-tree dump     %6.1f ms  %6.1f ms" % (ours[0] * 1e3, ours[1] * 1e3))
print("  peer  xmllint --noout       %6.1f ms  %6.1f ms" % (peer[0] * 1e3, peer[1] * 1e3))
print("ratio: ours/peer = %.2f" % (ours[0] / peer[0]))
PY
