#!/usr/bin/env python3
"""Writes a package database like the server's: a root PackageDatabase with COUNT
`packages` elements (default 20,000), each with a stable and a beta version.

usage: make-package-db.py OUT [COUNT]
"""
import random
import sys


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    out = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 20000
    rng = random.Random(4)  # the same file on every run
    folders = ["BINEffects", "BINInstruments", "Presets", "Content", "Manuals", "Skins"]
    lines = ['<?xml version="1.0" encoding="utf-8"?>', "<PackageDatabase>"]
    for i in range(count):
        key = "%s_%s%05d" % (rng.choice(folders), rng.choice(["binx64", "data", "vst3", "aax"]), i)
        lines.append('\t<packages name="%s">' % key)
        for beta in (0, 1):
            version = "%d.%02d" % (15 + beta, rng.randrange(100))
            size = rng.randrange(10000, 400000000)
            time = "20%02d-%02d-%02d %02d:%02d" % (
                rng.randrange(18, 25), rng.randrange(1, 13), rng.randrange(1, 29),
                rng.randrange(24), rng.randrange(60))
            lines.append('\t\t<item version="%s" size="%d" beta="%d" time="%s"/>' % (version, size, beta, time))
        lines.append("\t</packages>")
    lines.append("</PackageDatabase>")
    with open(out, "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
