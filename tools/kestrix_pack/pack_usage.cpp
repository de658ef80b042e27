#include "kestrix_pack/pack_usage.h"

namespace kx {
namespace {

const ToolVerb kPackVerbs[] = {
    {"build", "SRC OUT.pkgm [--flags N] [--name NAME] [--attr KEY=VALUE]... [--quiet]",
     "Packs SRC into the package file OUT.pkgm. SRC is a folder (its folders become dir\n"
     "items with op \"create\", its files file items with op \"update\" and their\n"
     "last-write time) or a tree file whose file items name their sources in srcpath\n"
     "or path, relative to the tree file. --flags sets the package flags (0 to 31,\n"
     "default 3), --name the root's name, --attr any root attribute."},
    {"md5", "FILE", "Writes FILE.md5, the security info: the size, every mebibyte's digest and\nthe whole file's MD5."},
    {"list", "PKG", "Prints the package's item tree as XML."},
    {"verify", "PKG",
     "Checks the definition digest and, with PKG.md5 beside it, the size, every block\n"
     "digest (naming the first bad block) and the whole file's MD5."},
    {"extract", "PKG DIR [--quiet]", "Writes every content of the package under DIR by its item path."},
    {"fetch", "--server HOST[:PORT] REMOTE_PATH --dest FOLDER [--tries N] [--fresh]\n[--quiet]",
     "Downloads REMOTE_PATH and REMOTE_PATH.md5 from the server into FOLDER, as the\n"
     "program downloads a package: resuming what is there, proving every block. Each\n"
     "try is one step of the download thread (at most N, default 20). --fresh fetches\n"
     "both files anew. The status lines are printed as they change."},
    {"install",
     "PKG --dest DIR [--copy NAME=DIR]... [--enable NAME]... [--state FILE]\n"
     "[--log FILE] [--on-error ignore|cancel] [--quiet]",
     "Installs the package into DIR through the install walk. A copy whose name is a\n"
     "--copy NAME goes to that DIR, every other copy is off. --enable names an enabled\n"
     "item for trees that select files by name. --state saves the tree to FILE first,\n"
     "for a later uninstall. --log writes the walk's log. Without --on-error a file\n"
     "that cannot be rewritten asks on the console (cancel when nobody can answer)."},
    {"uninstall", "STATE [--enable NAME]... [--log FILE] [--quiet]",
     "Removes what the state file STATE installed. --enable as for install."},
    {"addon-install", "FILE... [--samples DIR] [--factory DIR] [--records DIR] [--log FILE]\n[--quiet]",
     "Installs add-on files (.mproduct, .kitvaultpack) as the program installs a\n"
     "hand-picked one: a pack is checked against FILE.md5 when it is there, presets\n"
     "are merged into the plug-in's preset file, devices go to its device folder,\n"
     "samples below the sample path, the pack below the factory path, and an\n"
     "installation record is written. The folders default to the program's own."},
    {"addon-uninstall", "NAME... [--samples DIR] [--factory DIR] [--records DIR] [--log FILE]\n[--quiet]",
     "Removes the add-ons NAME by their installation records: the files they list and\n"
     "the folders left empty. Paths that leave their folder are refused."},
    {"addon-list", "[--records DIR]", "Prints the name and record file of every add-on that can be removed."},
};

}  // namespace

const ToolDefinition kPackTool = {
    "kestrix-pack",
    "makes, checks, unpacks, installs and fetches package files and add-ons",
    kPackVerbs,
    "On a terminal, build, extract, fetch, install, uninstall and the add-on verbs\n"
    "show a progress line on standard error; --quiet leaves it out.\n"
    "\n"
    "Exit codes: 0 done, 1 failure (its message on standard error), 2 wrong usage\n"
    "(the usage on standard error).\n"};

}  // namespace kx
