#include "kestrix_image/image_usage.h"

namespace kx {
namespace {

const ToolVerb kImageVerbs[] = {
    {"convert", "IN OUT [--type 0|1|2] [--quality 1..100] [--big-endian]",
     "Converts an image. The form of each file follows its extension: IN may be any\n"
     "image the program loads (png, mimg, jpg/jpeg, gif, tif/tiff, anything else as\n"
     "TGA) or an alpha mask (.mask); OUT is png, tga, mimg or mask. A mask becomes a\n"
     "white image whose alpha is the coverage; an image becomes the mask of its\n"
     "alpha. --type and --quality choose the MIMG type (default 0) and its JPEG and\n"
     "zlib quality (default 90); --big-endian writes a mask in the other byte order.\n"
     "OUT is replaced only once its whole new content exists."},
    {"info", "FILE", "Prints the format, the size and the type of an image."},
};

}  // namespace

const ToolDefinition kImageTool = {
    "kestrix-image",
    "converts images between the program's forms and describes them",
    kImageVerbs,
    "Exit codes: 0 done, 1 failure (its message on standard error), 2 wrong usage\n"
    "(the usage on standard error).\n"};

}  // namespace kx
