#include "kestrix_tree/tree_usage.h"

namespace kx {
namespace {

const ToolVerb kTreeVerbs[] = {
    {"convert", "IN OUT --to xml|mbx [--compress]",
     "Loads the tree IN in any of its forms (text XML, MBX, compressed MBX, a base64\n"
     "\"$\" line) and writes it to OUT as text XML or MBX; --compress writes compressed\n"
     "MBX. OUT is replaced only once its whole new content exists."},
    {"dump", "IN", "Prints the tree IN, in any of its forms, as XML."},
};

}  // namespace

const ToolDefinition kTreeTool = {
    "kestrix-tree",
    "converts and prints the program's data trees",
    kTreeVerbs,
    "Exit codes: 0 done, 1 failure (its message on standard error), 2 wrong usage\n"
    "(the usage on standard error).\n"};

}  // namespace kx
