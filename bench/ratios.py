#!/usr/bin/env python3
"""Pairs benchmarks named Ours_<case> and Peer_<case> and prints their time ratio."""
import json
import sys

with open(sys.argv[1]) as f:
    runs = json.load(f)["benchmarks"]
times = {}
for run in runs:
    if run.get("run_type") == "aggregate":
        continue
    name = run["name"]
    times[name] = run["cpu_time"]
for name, ours in sorted(times.items()):
    if not name.startswith("Ours_"):
        continue
    case = name[len("Ours_"):]
    peer = times.get("Peer_" + case)
    if peer:
        print(f"{case}: ratio: ours/peer = {ours / peer:.2f}  (ours {ours:.1f} ns, peer {peer:.1f} ns)")
