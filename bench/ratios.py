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
    times[name] = (run["cpu_time"], run.get("time_unit", "ns"))
for name, ours in sorted(times.items()):
    if not name.startswith("Ours_"):
        continue
    case = name[len("Ours_"):]
    peer = times.get("Peer_" + case)
    if peer and peer[1] == ours[1]:
        print(f"{case}: ratio: ours/peer = {ours[0] / peer[0]:.2f}"
              f"  (ours {ours[0]:.1f} {ours[1]}, peer {peer[0]:.1f} {peer[1]})")
