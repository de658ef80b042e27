// Every loader against files that ImageMagick writes, compared pixel by pixel
// with ImageMagick's own decoding of the same file. The decoded images go on a
// contact sheet (artefacts/media/loaders-sheet.png in the build folder) for a
// person to look at.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "media/bitmap/bitmap.h"
#include "media/media_test_support.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

// Both sides decode JPEG with Debian's libjpeg-turbo and its default DCT and
// upsampling, and agree exactly today; 2 leaves room for another build of the
// library whose SIMD paths round the inverse transform differently.
constexpr int kJPEGTolerance = 2;
// ImageMagick's 8-bit output of 16-bit samples truncates (126.72 gives 126);
// the loader rounds.
constexpr int k16BitTolerance = 1;

struct Fixture {
  const char* file;
  std::vector<std::string> options;  // between the source picture and the output
  const char* output;                // ImageMagick's output name, with a format prefix
  bool alpha;                        // the source picture gets an alpha ramp
  int tolerance;
};

std::vector<Fixture> Fixtures() {
  return {
      {"rgb8.png", {}, "PNG24:", false, 0},
      {"rgba8.png", {}, "PNG32:", true, 0},
      {"rgb16.png", {"-depth", "16"}, "PNG48:", false, k16BitTolerance},
      {"rgba16.png", {"-depth", "16"}, "PNG64:", true, k16BitTolerance},
      {"palette.png", {"-colors", "40"}, "PNG8:", true, 0},
      {"grey8.png", {"-colorspace", "Gray", "-depth", "8", "-define", "png:color-type=0"}, "", false, 0},
      {"grey16.png", {"-colorspace", "Gray", "-depth", "16", "-define", "png:color-type=0"}, "", false,
       k16BitTolerance},
      {"greyalpha.png", {"-colorspace", "Gray", "-depth", "8", "-define", "png:color-type=4"}, "", true, 0},
      {"interlaced.png", {"-interlace", "PNG"}, "PNG32:", true, 0},
      {"baseline.jpg", {"-quality", "90"}, "", false, kJPEGTolerance},
      {"progressive.jpg", {"-quality", "90", "-interlace", "JPEG"}, "", false, kJPEGTolerance},
      {"grey.jpg", {"-colorspace", "Gray"}, "", false, kJPEGTolerance},
      {"transparent.gif", {}, "", true, 0},
      {"interlaced.gif", {"-interlace", "GIF"}, "", false, 0},
      {"strips.tif", {"-depth", "8", "-compress", "LZW", "-define", "tiff:rows-per-strip=5"}, "", true, 0},
      {"tiles.tif", {"-depth", "8", "-define", "tiff:tile-geometry=16x16"}, "", false, 0},
      {"grey.tif", {"-depth", "8", "-colorspace", "Gray", "-compress", "Zip"}, "", false, 0},
      {"palette.tif", {"-type", "Palette"}, "", false, k16BitTolerance},  // 16-bit colour map
      // ImageMagick writes a TGA's rows top first; the first file says so, the
      // others claim bottom-up rows (so they show upside down on the sheet).
      {"true.tga", {"-orient", "TopLeft"}, "", false, 0},
      {"alpha.tga", {}, "", true, 0},
      {"rle.tga", {"-compress", "RLE"}, "", true, 0},
      {"palette.tga", {"-type", "Palette"}, "", false, 0},
  };
}

class ImageLoadersTest : public FileTestBase {};

TEST_F(ImageLoadersTest, EveryFormatMatchesImageMagickPixelByPixel) {
  MContactSheet sheet(760, 368);
  for (const Fixture& fixture : Fixtures()) {
    SCOPED_TRACE(fixture.file);
    std::filesystem::path path = Native(fixture.file);
    // Colour clouds of an odd size (edge tiles and strips are partial).
    std::vector<std::string> arguments = {"-size", "61x43", "-seed", "7", "plasma:fractal"};
    if (fixture.alpha)
      arguments.insert(arguments.end(), {"-alpha", "set", "-channel", "A", "-fx", "(i+j)/(w+h)", "+channel"});
    arguments.insert(arguments.end(), fixture.options.begin(), fixture.options.end());
    arguments.push_back(fixture.output + path.string());
    ASSERT_TRUE(RunImageMagick(arguments));

    MBitmap bitmap;
    try {
      bitmap.Load(FromSystem(path.string()));
    } catch (const MException& failure) {
      ADD_FAILURE() << ToStd(failure.message);
      continue;
    }
    EXPECT_EQ(std::pair(bitmap.Width(), bitmap.Height()), std::pair(61, 43));
    int difference = MaxDifference(bitmap, RawRGBA(path));
    EXPECT_GE(difference, 0);
    EXPECT_LE(difference, fixture.tolerance);
    EXPECT_EQ(bitmap.HasTransparency(), fixture.alpha);
    sheet.AddTile(bitmap, 2);
  }

  sheet.Save(std::filesystem::path(KESTRIX_BINARY_DIR) / "artefacts" / "media" / "loaders-sheet.png");
}

}  // namespace
}  // namespace kx
