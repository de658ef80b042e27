#!/usr/bin/env python3
"""Builds a server tree for the silent-run benchmarks with the project's own tools.

  make-silent-catalogue.py ROOT TOOLS --plugins N --package-kib K [--files F]

ROOT/www/download/ receives what the program fetches: the definition (MBX), the
package database, the add-on list, the connection test, and per plug-in i one
content package Content/P<i> of F files with K KiB of random bytes in all, plus
the effects binary (one small file per plug-in, listed last). ROOT/contents/
receives the same contents as plain files, for the peers.
"""
import argparse
import os
import subprocess


def run(*command):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("root")
    ap.add_argument("tools")
    ap.add_argument("--plugins", type=int, required=True)
    ap.add_argument("--package-kib", type=int, required=True)
    ap.add_argument("--files", type=int, default=4)
    args = ap.parse_args()
    pack = os.path.join(args.tools, "kestrix-pack")
    tree = os.path.join(args.tools, "kestrix-tree")
    download = os.path.join(args.root, "www", "download")
    contents = os.path.join(args.root, "contents")
    staging = os.path.join(args.root, "staging")
    for folder in (download, contents, staging):
        os.makedirs(folder, exist_ok=True)

    names = [f"P{i:03d}" for i in range(args.plugins)]
    definition = ['<InstallerDefinition>',
                  ' <directory id="contentfolder" default="{userdata}/BenchContent" defaultprefix="{userdata}"/>']
    database = ['<PackageDatabase>']

    def publish(key, folder, source, attributes, name="Content"):
        target = os.path.join(download, folder, f"{key}_1.00.pkgm")
        os.makedirs(os.path.dirname(target), exist_ok=True)
        command = [pack, "build", source, target, "--quiet", "--name", name]
        for attribute in attributes:
            command += ["--attr", attribute]
        run(*command)
        run(pack, "md5", target)
        database.append(f' <packages name="{key}"><release version="1.00" size="{os.path.getsize(target)}" '
                        'time="2026-01-01 10:00:00"/></packages>')

    piece = args.package_kib * 1024 // args.files
    for name in names:
        source = os.path.join(contents, name)
        os.makedirs(source, exist_ok=True)
        for f in range(args.files):
            with open(os.path.join(source, f"sample{f}.bin"), "wb") as out:
                out.write(os.urandom(piece))
        definition.append(f' <files path="Content/{name}" name="{name} content" flags="{name}"/>')
        publish(f"Content_{name}", f"Content/{name}", source, [f"destination={{contentfolder}}/{name}"])

    binaries = os.path.join(staging, "binaries")
    os.makedirs(binaries, exist_ok=True)
    for name in names:
        with open(os.path.join(binaries, f"{name}.so"), "wb") as out:
            out.write(name.encode() * 64)
    definition.append(' <files path="BINEffects/binx64" name="Effects" flags="global"/>')
    # The root name "Plugins" sends the binaries to the VST folder.
    publish("BINEffects_binx64", "PKG/BINEffects/binx64", binaries, ["detectitems=1"], "Plugins")

    definition.append(' <category name="Effects" columns="4">')
    definition += [f'  <item name="{name}" flags="{name}"/>' for name in names]
    definition += [' </category>', '</InstallerDefinition>']
    with open(os.path.join(staging, "definition.xml"), "w") as out:
        out.write("\n".join(definition) + "\n")
    run(tree, "convert", os.path.join(staging, "definition.xml"),
        os.path.join(download, "MInstallerDefinition.mbx"), "--to", "mbx")
    with open(os.path.join(download, "MINSTALLERDATABASE.xml"), "w") as out:
        out.write("\n".join(database + ["</PackageDatabase>"]) + "\n")
    with open(os.path.join(download, "PRODUCTSX.xml"), "w") as out:
        out.write('<Products server="127.0.0.1"/>\n')
    with open(os.path.join(download, "ConnectionTest.pkgm"), "w") as out:
        out.write("ok")


if __name__ == "__main__":
    main()
