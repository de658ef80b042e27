// Every decoder against bad input: truncated files, lying headers (sizes beyond
// the limit, zero sizes, indices outside the palette), and files of another
// format than their extension. Each must end in a clear MException, and a
// header that promises a huge image must cost no more memory than it reads.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"
#include "media/formats/mimg.h"
#include "support/file_test_support.h"
#include "media/media_test_support.h"

namespace kx {
namespace {

template <typename T>
void Put(std::string& bytes, size_t at, T value, bool bigEndian = false) {
  for (size_t i = 0; i < sizeof(T); ++i) {
    size_t shift = 8 * (bigEndian ? sizeof(T) - 1 - i : i);
    bytes[at + i] = static_cast<char>((static_cast<uint64_t>(value) >> shift) & 0xff);
  }
}

std::string Saved(void (*save)(const MBitmap&, MStream&)) {
  MMemoryStream bytes;
  save(TestPicture(40, 30), bytes);
  return std::string(bytes.View());
}

// A PNG with another size in its header (and the header's checksum redone).
std::string PNGOfSize(uint32_t width, uint32_t height) {
  std::string png = Saved(SavePNG);
  Put(png, 16, width, true);
  Put(png, 20, height, true);
  Put(png, 29, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(png.data() + 12), 17)), true);
  return png;
}

std::string JPEGOfSize(uint16_t width, uint16_t height) {
  std::string jpeg = Saved([](const MBitmap& b, MStream& s) { SaveJPEG(b, s, 80); });
  size_t frame = jpeg.find("\xff\xc0");
  Put(jpeg, frame + 5, height, true);
  Put(jpeg, frame + 7, width, true);
  return jpeg;
}

// A GIF of one image with a colour table of two entries, every pixel index 3
// when `outside` (beyond the table), else index 1.
std::string GIFOfSize(uint16_t width, uint16_t height, bool outside) {
  std::string gif = "GIF89a";
  gif.append(7, '\0');
  Put(gif, 6, width);
  Put(gif, 8, height);
  gif[10] = '\x80';  // a global table of 2 entries
  gif += std::string("\0\0\0\xff\xff\xff", 6);
  gif += ',';
  gif.append(9, '\0');
  Put(gif, gif.size() - 5, width);
  Put(gif, gif.size() - 3, height);
  // Minimum code size 2: clear (4), the index, end (5), three bits each.
  int index = outside ? 3 : 1;
  int bits = 4 | index << 3 | 5 << 6;
  gif += std::string("\x02\x02", 2) + static_cast<char>(bits & 0xff) + static_cast<char>(bits >> 8) + '\0' + ';';
  return gif;
}

// A TIFF of one strip of grey samples with these tags; the strip's byte count
// is what the size promises, of which only 64 bytes follow.
std::string TIFFOf(uint32_t width, uint32_t height, uint16_t bits, uint16_t planar, uint16_t orientation) {
  struct Tag {
    uint16_t id, type;  // type 3: 16 bits, 4: 32 bits
    uint32_t value;
  };
  const uint32_t strip = 8 + 2 + 11 * 12 + 4;
  const Tag tags[] = {{256, 4, width},  {257, 4, height}, {258, 3, bits},        {259, 3, 1},
                      {262, 3, 1},      {273, 4, strip},  {274, 3, orientation}, {277, 3, 1},
                      {278, 4, height}, {279, 4, static_cast<uint32_t>(uint64_t{width} * height * bits / 8)},
                      {284, 3, planar}};
  std::string tiff(strip, '\0');
  tiff.replace(0, 4, std::string("II*\0", 4));
  Put(tiff, 4, uint32_t{8});
  Put(tiff, 8, uint16_t{11});
  for (size_t i = 0; i < 11; ++i) {
    size_t at = 10 + i * 12;
    Put(tiff, at, tags[i].id);
    Put(tiff, at + 2, tags[i].type);
    Put(tiff, at + 4, uint32_t{1});
    if (tags[i].type == 3)
      Put(tiff, at + 8, static_cast<uint16_t>(tags[i].value));
    else
      Put(tiff, at + 8, tags[i].value);
  }
  return tiff + std::string(64, '\x55');
}

// A TGA header and `body`.
std::string TGAOf(uint8_t type, uint16_t width, uint16_t height, uint8_t bits, const std::string& body,
                  uint16_t mapLength = 0) {
  std::string tga(18, '\0');
  tga[1] = mapLength ? 1 : 0;
  tga[2] = static_cast<char>(type);
  Put(tga, 5, mapLength);
  tga[7] = mapLength ? 24 : 0;
  Put(tga, 12, width);
  Put(tga, 14, height);
  tga[16] = static_cast<char>(bits);
  tga[17] = 0x28;
  return tga + body;
}

std::string MaskOf(const char* magic, int32_t width, int32_t height, const std::string& body) {
  std::string mask = std::string(magic, 4) + std::string(16, '\0');
  Put(mask, 4, static_cast<uint32_t>(width));
  Put(mask, 8, static_cast<uint32_t>(height));
  return mask + body;
}

int64_t PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

class BadInputTest : public FileTestBase {};

TEST_F(BadInputTest, EveryDecoderRefusesClearlyWithinItsLimits) {
  struct Case {
    std::string name;  // the extension chooses the decoder
    std::string bytes;
    std::string message;  // the decoder's message, or empty for "any"
  };
  // Real files of every format as the starting point for truncations.
  MFile::WriteAll(Path("picture.png"), Saved(SavePNG));
  ASSERT_TRUE(RunImageMagick({Native("picture.png").string(), Native("picture.gif").string()}));
  ASSERT_TRUE(RunImageMagick({Native("picture.png").string(), "-compress", "LZW", Native("picture.tif").string()}));
  const std::string jpeg = Saved([](const MBitmap& b, MStream& s) { SaveJPEG(b, s, 80); });
  const std::string mimg =
      Saved([](const MBitmap& b, MStream& s) { SaveMIMG(b, s, MMIMGType::kJPEGWithAlpha, 80); });
  std::vector<Case> whole = {{"a.png", Saved(SavePNG), ""},
                             {"a.jpg", jpeg, "Error loading JPEG file - read error"},
                             {"a.gif", ReadFileBytes(Native("picture.gif")), ""},
                             {"a.tif", ReadFileBytes(Native("picture.tif")), ""},
                             {"a.tga", Saved(SaveTGA), "TGA image file is corrupt."},
                             {"a.mimg", mimg, ""}};
  std::vector<Case> cases;
  for (const Case& file : whole)
    for (size_t length : {size_t{0}, size_t{20}, file.bytes.size() / 2, file.bytes.size() * 3 / 4})
      cases.push_back({file.name, file.bytes.substr(0, length), length > 40 ? file.message : ""});

  const std::string huge = "Image of 65535 x 65535 pixels is too large.";
  const std::string picturePNG = Saved(SavePNG);
  std::vector<Case> lying = {
      {"huge.png", PNGOfSize(65535, 65535), huge},
      {"limit.png", PNGOfSize(16384, 16384), "Error loading a PNG file."},
      {"zero.png", PNGOfSize(0, 30), "Error loading a PNG file."},
      {"huge.jpg", JPEGOfSize(60000, 60000), "Image of 60000 x 60000 pixels is too large."},
      {"limit.jpg", JPEGOfSize(16384, 16384), "Corrupt JPEG data: premature end of data segment"},
      {"zero.jpg", JPEGOfSize(40, 0), ""},
      {"huge.gif", GIFOfSize(65535, 65535, false), huge},
      {"zero.gif", GIFOfSize(0, 0, false), "Error loading GIF image."},
      {"index.gif", GIFOfSize(1, 1, true), "Error loading GIF image data."},
      {"huge.tif", TIFFOf(65535, 65535, 8, 1, 1), huge},
      {"limit.tif", TIFFOf(16384, 16384, 8, 1, 1), "Error loading TIFF image."},
      {"deep.tif", TIFFOf(8, 8, 16, 1, 1), "The image does not have 8 bit-per-sample resolution."},
      {"planes.tif", TIFFOf(8, 8, 8, 2, 1), "Only planar TIFF files are supported."},
      {"turned.tif", TIFFOf(8, 8, 8, 1, 6), "Invalid image orientation."},
      {"huge.tga", TGAOf(2, 65535, 65535, 32, ""), huge},
      {"limit.tga", TGAOf(10, 16384, 16384, 32, std::string(300, '\x01')),
       "TGA image file is corrupt."},
      {"zero.tga", TGAOf(2, 0, 5, 32, ""), "Invalid TGA header."},
      {"index.tga", TGAOf(1, 2, 1, 8, std::string(6, '\0') + std::string("\x00\x07", 2), 2),
       "TGA image file is corrupt."},
      {"huge.mimg", MIMGFile(262144, 262144, 0), "Image of 262144 x 262144 pixels is too large."},
      {"limit.mimg", MIMGFile(16384, 16384, 0, std::string("\x78\x9c\x63\x00", 4), 0), ""},
      {"negative.mimg", MIMGFile(4, 4, 2, "", -1), "MIMG file is corrupt."},
      {"huge.mask", MaskOf("MASK", 65535, 65535, ""), huge},
      {"limit.mask", MaskOf("MASK", 16384, 16384, "xyz"),
       "Could not read the required data from stream."},
      {"negative.mask", MaskOf("MASK", -1, 4, ""), "Alphamask stream content is invalid."},
      {"magic.mask", MaskOf("MASQ", 1, 1, "x"), "Alphamask stream content is invalid."},
      {"short.mask", std::string("KSAM\0\0", 6), "Alphamask stream content is invalid."},
      // Another format than the extension says.
      {"png.jpg", picturePNG, "Error loading JPEG file - Not a JPEG file: starts with 0x89 0x50"},
      {"jpeg.png", jpeg, "Error loading a PNG file."},
      {"png.gif", picturePNG, "Error initiating GIF input."},
      {"png.tif", picturePNG, "Error opening TIFF file."},
      {"png.mimg", picturePNG, "MIMG file is corrupt."},
      {"jpeg.tga", jpeg, "Invalid TGA header."},
      {"png.mask", picturePNG, "Alphamask stream content is invalid."},
  };
  cases.insert(cases.end(), lying.begin(), lying.end());

  int64_t before = PeakMegabytes();
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name + " of " + std::to_string(test.bytes.size()) + " bytes");
    std::string message = MessageOf([&] {
      if (GetExtension(FromSystem(test.name)) == MString("mask")) {
        MConstMemoryStream stream(test.bytes.data(), static_cast<int64_t>(test.bytes.size()));
        MAlphaMask().Load(stream);
      } else {
        MBitmap bitmap;
        bitmap.LoadFromCopy(test.bytes.data(), static_cast<int64_t>(test.bytes.size()), FromSystem(test.name));
      }
    });
    if (!test.message.empty()) {
      EXPECT_NE(message.find(test.message), std::string::npos) << message;
    }
  }
  // Headers of up to 16384 x 16384 pixels (1 GiB) over a few bytes of data
  // are allowed, but their blocks are never touched (the sanitizer's own
  // bookkeeping of such a block stays near an eighth of it).
  EXPECT_LT(PeakMegabytes() - before, 512);
}

}  // namespace
}  // namespace kx
