// MIMG and the other forms of kestrix-image: every type round trips through the
// tool, and the header rules hold at their limits.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "foundation/stream_test_support.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"
#include "media/formats/mimg.h"
#include "media/media_test_support.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

class MIMGTest : public FileTestBase {
 protected:
  // kestrix-image with the arguments; its standard output lands in `output`.
  int RunTool(const std::string& arguments, std::string* output = nullptr) {
    std::string tool = std::string(KESTRIX_BINARY_DIR) + "/tools/kestrix-image";
    std::string captured = Native("tool-output.txt").string();
    MArray<MString> parameters = {MString("-c"), FromSystem(tool + " " + arguments + " > " + captured + " 2>/dev/null")};
    int code = MFile::Execute(MString("/bin/sh"), &parameters, MString(), true);
    if (output) *output = ReadFileBytes(captured);
    return code;
  }

  std::string File(const char* name) { return Native(name).string(); }
};

struct RoundTrip {
  const char* output;
  const char* options;
  const char* info;   // the type line of `info`
  int colourTolerance;
  bool alphaKept, white;  // else the result is opaque; a mask keeps only the alpha, on white
};

TEST_F(MIMGTest, EveryFormOfTheToolRoundTrips) {
  MBitmap picture = TestPicture(77, 51);
  MMemoryStream png;
  picture.SavePNG(png);
  MFile::WriteAll(Path("in.png"), png.View());
  const RoundTrip trips[] = {
      {"raw.mimg", "--type 0", "type: 0 (zlib)", 0, true, false},
      {"jpeg.mimg", "--type 1 --quality 95", "type: 1 (JPEG)", 8, false, false},
      {"alpha.mimg", "--type 2 --quality 95", "type: 2 (JPEG colours, zlib alpha)", 8, true, false},
      {"style.tga", "", "type: TGA image type 2, 32 bits", 0, true, false},
      {"alpha.mask", "", "type: alpha mask at 0, 0", 0, true, true},
      {"swapped.mask", "--big-endian", "type: alpha mask at 0, 0", 0, true, true},
  };
  for (const RoundTrip& trip : trips) {
    SCOPED_TRACE(trip.output);
    ASSERT_EQ(RunTool("convert " + File("in.png") + " " + File(trip.output) + " " + trip.options), 0);
    std::string info;
    ASSERT_EQ(RunTool("info " + File(trip.output), &info), 0);
    EXPECT_NE(info.find("size: 77 x 51\n"), std::string::npos) << info;
    EXPECT_NE(info.find(trip.info), std::string::npos) << info;
    ASSERT_EQ(RunTool("convert " + File(trip.output) + " " + File("back.png")), 0);

    MBitmap back;
    back.Load(Path("back.png"));
    ASSERT_EQ(back.Width(), 77);
    ASSERT_EQ(back.Height(), 51);
    int worstColour = 0, worstAlpha = 0;
    for (int64_t i = 0; i < 77 * 51 * 4; i += 4) {
      for (int c = 0; c < 3; ++c)
        worstColour = std::max(worstColour, std::abs(back.Bytes()[i + c] -
                                                     (trip.white ? 255 : picture.Bytes()[i + c])));
      int alpha = trip.alphaKept ? picture.Bytes()[i + 3] : 255;
      worstAlpha = std::max(worstAlpha, std::abs(back.Bytes()[i + 3] - alpha));
    }
    EXPECT_LE(worstColour, trip.colourTolerance);
    EXPECT_EQ(worstAlpha, 0);
  }
  EXPECT_EQ(RunTool("convert " + File("in.png")), 2);
  EXPECT_EQ(RunTool("convert " + File("in.png") + " " + File("x.mimg") + " --type 3"), 2);
  EXPECT_EQ(RunTool("convert " + File("in.png") + " " + File("x.bmp")), 1);
}

TEST_F(MIMGTest, HeaderRulesAtTheirLimits) {
  struct Case {
    const char* name;
    std::string bytes;
    const char* message;  // empty: loads
  };
  const Case cases[] = {
      {"type 7", MIMGFile(2, 2, 7), "Unknown MIMG file type. Please update the software."},
      {"width 262145", MIMGFile(262145, 1, 0), "MIMG file is corrupt."},
      {"width 262144", MIMGFile(262144, 1, 0, ZlibDeflate(std::string(262144 * 4, '\x7f'), 9)), ""},
      {"negative height", MIMGFile(1, -1, 0), "MIMG file is corrupt."},
      {"short header", MIMGFile(1, 1, 0).substr(0, 35), "MIMG file is corrupt."},
      {"wrong magic", "MIMX" + MIMGFile(1, 1, 0).substr(4), "MIMG file is corrupt."},
      {"short body", MIMGFile(4, 4, 0, ZlibDeflate(std::string(63, 'a'), 9)),
       "Could not read the required data from stream."},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    MConstMemoryStream stream(test.bytes.data(), static_cast<int64_t>(test.bytes.size()));
    MBitmap bitmap;
    if (*test.message) {
      EXPECT_EQ(MessageOf([&] { LoadMIMG(bitmap, stream); }), test.message);
    } else {
      LoadMIMG(bitmap, stream);
      EXPECT_EQ(bitmap.Width(), 262144);
      EXPECT_EQ(bitmap.Row(0)[262143 * 4 + 3], 0x7f);
    }
  }

  // Any extension the table does not name is tried as TGA.
  MFile::WriteAll(Path("notes.style"), "Plain words, no image in them at all.\n");
  MBitmap bitmap;
  EXPECT_EQ(MessageOf([&] { bitmap.Load(Path("notes.style")); }),
            "Could not load image \"" + ToStd(Path("notes.style")) + "\". Invalid TGA header.");
}

TEST_F(MIMGTest, PaletteBitmapsAndSwappedMasksComeBackAsWritten) {
  // Palette bodies are told from true colour by their length: both sides of
  // the 344 pixels where the palette body is the longer one.
  for (int32_t side : {5, 40}) {
    MBitmap palette;
    palette.CreatePalette(side, side);
    for (int64_t i = 0; i < palette.ByteSize(); ++i) palette.Bytes()[i] = static_cast<uint8_t>(i * 7);
    MMemoryStream file;
    palette.SaveMIMG(file, MMIMGType::kRaw, 50);
    file.Seek(0, kSeekBegin);
    MBitmap back;
    LoadMIMG(back, file);
    ASSERT_TRUE(back.IsPaletteMode()) << side;
    EXPECT_EQ(std::memcmp(back.Bytes(), palette.Bytes(), static_cast<size_t>(palette.ByteSize())), 0);
  }

  MAlphaMask mask;
  mask.Create(9, 4);
  mask.x = -3;
  mask.y = 70000;
  for (int i = 0; i < 36; ++i) mask.Coverage()[i] = static_cast<uint8_t>(i * 7);
  MMemoryStream little, big;
  mask.Save(little);
  mask.Save(big, MMaskByteOrder::kBigEndian);
  EXPECT_EQ(big.View().substr(0, 8), std::string("KSAM\0\0\0\x09", 8));
  for (MMemoryStream* stream : {&little, &big}) {
    stream->Seek(0, kSeekBegin);
    MAlphaMask back;
    back.Load(*stream);
    EXPECT_EQ(std::tuple(back.Width(), back.Height(), back.x, back.y), std::tuple(9, 4, -3, 70000));
    EXPECT_EQ(std::memcmp(back.Coverage(), mask.Coverage(), 36), 0);
  }
}

}  // namespace
}  // namespace kx
