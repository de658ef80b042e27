// kestrix-image: converts images between the program's forms and describes them.
//
//   kestrix-image convert IN OUT [--type 0|1|2] [--quality 1..100] [--big-endian]
//   kestrix-image info FILE
//
// The form of each file follows its extension: IN may be any image the program
// loads (png, mimg, jpg/jpeg, gif, tif/tiff, anything else as TGA) or an alpha
// mask (".mask"); OUT is png, tga, mimg or mask. A mask becomes a white image
// whose alpha is the coverage; an image becomes the mask of its alpha. --type
// and --quality choose the MIMG type (default 0) and its JPEG and zlib quality
// (default 90); --big-endian writes a mask in the other byte order ("KSAM").
// OUT is replaced only once its whole new content exists. info prints the
// format, the size and the type. Exit codes: 0 done, 1 failure (its message on
// standard error), 2 wrong usage (the usage on standard error). The usage and
// its words are in image_usage.cpp.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/tool_run.h"
#include "kestrix_image/image_usage.h"
#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/mbx_files.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_load.h"
#include "media/formats/mimg.h"

namespace kx {
namespace {


struct Request {
  std::string command;
  std::vector<std::string> files;
  int type = 0;
  int quality = 90;
  bool bigEndian = false;
  bool typeGiven = false;
  bool qualityGiven = false;
};

bool ParseNumber(const char* text, int low, int high, int& value) {
  char* end = nullptr;
  long number = std::strtol(text, &end, 10);
  if (!*text || *end || number < low || number > high) return false;
  value = static_cast<int>(number);
  return true;
}

bool ParseArguments(int argc, char** argv, Request& request) {
  if (argc < 2) return false;
  request.command = argv[1];
  for (int i = 2; i < argc; ++i) {
    std::string argument = argv[i];
    if (argument == "--type" && i + 1 < argc && !request.typeGiven) {
      if (!ParseNumber(argv[++i], 0, 2, request.type)) return false;
      request.typeGiven = true;
    } else if (argument == "--quality" && i + 1 < argc && !request.qualityGiven) {
      if (!ParseNumber(argv[++i], 1, 100, request.quality)) return false;
      request.qualityGiven = true;
    } else if (argument == "--big-endian" && !request.bigEndian) {
      request.bigEndian = true;
    } else if (argument.rfind("--", 0) == 0 || argument.empty()) {
      return false;
    } else {
      request.files.push_back(argument);
    }
  }
  bool options = request.typeGiven || request.qualityGiven || request.bigEndian;
  if (request.command == "info") return request.files.size() == 1 && !options;
  return request.command == "convert" && request.files.size() == 2;
}

bool HasExtension(const MString& path, const char* extension) {
  return GetExtension(path).EqualsNoCase(MString(extension));
}

void ReadFile(const MString& path, MMemoryStream& bytes) {
  MFile::ReadAll(path, bytes);
  bytes.Seek(0, kSeekBegin);
}

void LoadMask(const MString& path, MAlphaMask& mask) {
  MMemoryStream bytes;
  ReadFile(path, bytes);
  try {
    mask.Load(bytes);
  } catch (const MException& failure) {
    throw MException(MFormat(MString("Could not load mask \"{0}\". ")).Add(path).Result() + failure.message);
  }
}

// Any input as a bitmap: a mask as white with its coverage as alpha.
void LoadInput(const MString& path, MBitmap& bitmap) {
  if (!HasExtension(path, "mask")) {
    bitmap.Load(path);
    return;
  }
  MAlphaMask mask;
  LoadMask(path, mask);
  bitmap.Create(mask.Width(), mask.Height());
  int64_t count = static_cast<int64_t>(mask.Width()) * mask.Height();
  uint8_t* pixels = bitmap.Bytes();
  for (int64_t i = 0; i < count; ++i) {
    pixels[i * 4] = pixels[i * 4 + 1] = pixels[i * 4 + 2] = 255;
    pixels[i * 4 + 3] = mask.Coverage()[i];
  }
}

void Convert(const Request& request) {
  MString input = FromSystem(request.files[0]);
  MString output = FromSystem(request.files[1]);
  MBitmap bitmap;
  LoadInput(input, bitmap);
  MMemoryStream bytes;
  if (HasExtension(output, "png")) {
    bitmap.SavePNG(bytes);
  } else if (HasExtension(output, "tga")) {
    bitmap.SaveTGA(bytes);
  } else if (HasExtension(output, "mimg")) {
    bitmap.SaveMIMG(bytes, static_cast<MMIMGType>(request.type), request.quality);
  } else if (HasExtension(output, "mask")) {
    MBitmap scratch;
    const MBitmap& colours = TrueColour(bitmap, scratch);
    MAlphaMask mask;
    mask.Create(colours.Width(), colours.Height());
    int64_t count = static_cast<int64_t>(colours.Width()) * colours.Height();
    for (int64_t i = 0; i < count; ++i) mask.Coverage()[i] = colours.Bytes()[i * 4 + 3];
    mask.Save(bytes, request.bigEndian ? MMaskByteOrder::kBigEndian : MMaskByteOrder::kLittleEndian);
  } else {
    throw MException(MFormat(MString("Cannot write images of the extension \"{0}\"; use png, tga, mimg or mask."))
                         .Add(GetExtension(output)));
  }
  ReplaceFileContent(output, bytes.Data(), bytes.Size());
}

std::string TypeText(const MString& path, MImageFormat format, const MBitmap& bitmap) {
  MMemoryStream bytes;
  ReadFile(path, bytes);
  if (format == MImageFormat::kMIMG) {
    static const char* kTypes[] = {"0 (zlib)", "1 (JPEG)", "2 (JPEG colours, zlib alpha)"};
    return kTypes[ReadMIMGHeader(bytes).type];
  }
  if (format == MImageFormat::kTGA) {
    const uint8_t* header = reinterpret_cast<const uint8_t*>(bytes.Data());
    return "TGA image type " + std::to_string(header[2]) + ", " + std::to_string(header[16]) + " bits";
  }
  return bitmap.HasTransparency() ? "true colour with alpha" : "true colour";
}

void Info(const Request& request) {
  MString path = FromSystem(request.files[0]);
  std::string format, size, type;
  if (HasExtension(path, "mask")) {
    MAlphaMask mask;
    LoadMask(path, mask);
    MMemoryStream bytes;
    ReadFile(path, bytes);
    format = std::memcmp(bytes.Data(), "KSAM", 4) == 0 ? "MASK (other byte order)" : "MASK";
    size = std::to_string(mask.Width()) + " x " + std::to_string(mask.Height());
    type = "alpha mask at " + std::to_string(mask.x) + ", " + std::to_string(mask.y);
  } else {
    MBitmap bitmap;
    bitmap.Load(path);
    MImageFormat kind = ImageFormatForName(path);
    format = ImageFormatName(kind);
    size = std::to_string(bitmap.Width()) + " x " + std::to_string(bitmap.Height());
    type = TypeText(path, kind, bitmap);
  }
  std::printf("format: %s\nsize: %s\ntype: %s\n", format.c_str(), size.c_str(), type.c_str());
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw MException(MString("Could not write to standard output."));
}

}  // namespace
}  // namespace kx

int main(int argc, char** argv) {
  if (int answered = kx::AnswerHelpAndVersion(kx::kImageTool, argc, argv); answered >= 0)
    return answered;
  kx::Request request;
  if (!kx::ParseArguments(argc, argv, request)) {
    std::fputs(kx::ToolSynopsis(kx::kImageTool).c_str(), stderr);
    return kx::kExitWrongUsage;
  }
  return kx::RunToolCommand([&] {
    if (request.command == "convert")
      kx::Convert(request);
    else
      kx::Info(request);
  });
}
