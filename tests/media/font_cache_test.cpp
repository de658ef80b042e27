// The font cache with Debian's DejaVu fonts in a sandboxed home: a warm start
// opens nothing, the folders' changes reach the cache at the next scan, and
// faces load from files and from a resource library alike.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "foundation/files/data_paths.h"
#include "foundation/resources/resource_library.h"
#include "foundation/resources/resource_small_writer.h"
#include "foundation/xml/xml_item.h"
#include "media/bitmap/alpha_mask.h"
#include "media/fonts/font.h"
#include "media/fonts/font_cache.h"
#include "media/fonts/font_face.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

const std::filesystem::path kDejaVu = "/usr/share/fonts/truetype/dejavu";

class FontCacheTest : public FileTestBase {
 protected:
  void SetUp() override {
    ForgetFolderTable();
    MFont::Clear();
  }
  void TearDown() override {
    MFont::Clear();
    ForgetFolderTable();
  }

  // Faces opened and scans run since the last call.
  std::pair<int64_t, int64_t> Counted() {
    std::pair<int64_t, int64_t> since = {MFontFace::OpenCount() - opened_, FontScanCount() - scans_};
    opened_ = MFontFace::OpenCount();
    scans_ = FontScanCount();
    return since;
  }

  bool Known(const std::filesystem::path& path) {
    MArray<MFontFile> files = GetSystemFontFiles();
    for (int32_t i = 0; i < files.Count(); ++i)
      if (files[i].path == FromSystem(path.string())) return true;
    return false;
  }

  // Whether the scan's cache file holds an item for the path.
  bool Cached(const std::filesystem::path& path) {
    MXMLItem tree;
    tree.LoadFile(JoinPath(GetDataPath_User(MString("Fonts"), false), MString(kFontCacheAllFile)));
    for (MXMLItem* item = tree.firstSubItem; item; item = item->next)
      if (item->GetAttribute("Path").AsString() == FromSystem(path.string())) return true;
    return false;
  }

  int64_t opened_ = MFontFace::OpenCount();
  int64_t scans_ = FontScanCount();
};

TEST_F(FontCacheTest, AWarmCacheFindsFamiliesWithoutScanningOrOpening) {
  EXPECT_EQ(FindSystemFont(MString("DejaVu Sans"), MFontStyle::kRegular),
            FromSystem((kDejaVu / "DejaVuSans.ttf").string()));  // not the extra-light face
  EXPECT_EQ(FindSystemFont(MString("dejavu serif"), MFontStyle::kBoldItalic),
            FromSystem((kDejaVu / "DejaVuSerif-BoldItalic.ttf").string()));
  auto [opened, scans] = Counted();
  EXPECT_EQ(scans, 1);
  EXPECT_GE(opened, 22);  // every file once, and no more

  MFont::Clear();  // as a new start would find it
  EXPECT_EQ(FindSystemFont(MString("DejaVu Sans"), MFontStyle::kRegular),
            FromSystem((kDejaVu / "DejaVuSans.ttf").string()));
  EXPECT_EQ(FindSystemFont(MString("dejavu serif"), MFontStyle::kBoldItalic),
            FromSystem((kDejaVu / "DejaVuSerif-BoldItalic.ttf").string()));
  EXPECT_EQ(Counted(), std::make_pair(int64_t{0}, int64_t{0}));

  // A family not asked for before: a scan, but every file's facts are cached.
  MFont mono;
  mono.SetFamily(MString("DejaVu Sans Mono bold"), 13);
  EXPECT_EQ(Counted(), std::make_pair(int64_t{1}, int64_t{1}));  // the one face used
  EXPECT_EQ(mono.PixelSize(), 13);
}

TEST_F(FontCacheTest, FilesThatGoAndComeReachTheCacheAtTheNextScan) {
  std::filesystem::path own = sandbox.Home() / ".fonts" / "own" / "Mono.ttf";
  std::filesystem::path added = sandbox.DataHome() / "fonts" / "Added.ttf";
  std::filesystem::path broken = sandbox.DataHome() / "fonts" / "Broken.otf";
  std::filesystem::create_directories(own.parent_path());
  std::filesystem::copy_file(kDejaVu / "DejaVuSansMono.ttf", own);
  MFont::ReScanSystemFonts();
  EXPECT_TRUE(Known(own));
  EXPECT_TRUE(Cached(own));

  std::filesystem::remove(own);
  std::filesystem::create_directories(added.parent_path());
  std::filesystem::copy_file(kDejaVu / "DejaVuSerif-Italic.ttf", added);
  WriteFile((std::filesystem::relative(broken, sandbox.Root())).string(), "not a font");
  Counted();
  MFont::ReScanSystemFonts();
  EXPECT_FALSE(Known(own));
  EXPECT_FALSE(Cached(own));
  EXPECT_TRUE(Known(added));
  EXPECT_TRUE(Cached(broken));  // remembered, so that it is not tried again
  EXPECT_FALSE(Known(broken));
  EXPECT_EQ(Counted().first, 2);
  MFont::ReScanSystemFonts();
  EXPECT_EQ(Counted().first, 0);

  // A damaged cache counts as absent and is written again.
  WriteFile(std::filesystem::relative(sandbox.ConfigHome(), sandbox.Root()).string() +
                "/Vorlund/Fonts/" + kFontCacheAllFile,
            "garbage");
  MFont::ReScanSystemFonts();
  EXPECT_TRUE(Cached(added));
}

TEST_F(FontCacheTest, FacesLoadFromFilesAndResourcesAndRefuseClearly) {
  std::string bytes = ReadFileBytes(kDejaVu / "DejaVuSans.ttf");
  MSmallLibraryWriter writer(MString("mstyle"));
  writer.Add(MString("fontPlain"), bytes.data(), static_cast<int64_t>(bytes.size()), false);
  writer.Add(MString("fontPacked"), bytes.data(), static_cast<int64_t>(bytes.size()), true);
  writer.Add(MString("fontBad"), "not a font", 10, false);
  MMemoryStream block;
  writer.Write(block, true);
  MConstMemoryStream constant(block.Data(), block.Size());
  MResourceLibrary library;
  library.AttachSmall(constant);

  MFont file, plain, packed;
  file.Load(FromSystem((kDejaVu / "DejaVuSans.ttf").string()), 20);
  plain.LoadFromResource(library, MString("fontplain"), 20);
  packed.LoadFromResource(library, MString("FONTPACKED"), 20);
  MAlphaMask expected;
  int32_t expectedAdvance = 0;
  file.RenderGlyph(U'g', expected, expectedAdvance);
  EXPECT_GT(expected.Width(), 5);
  EXPECT_GT(expected.y + expected.Height(), 0);  // the descender reaches below the baseline
  for (MFont* font : {&plain, &packed}) {
    MAlphaMask glyph;
    int32_t advance = 0;
    font->RenderGlyph(U'g', glyph, advance);
    EXPECT_EQ(advance, expectedAdvance);
    ASSERT_EQ(glyph.Width() * glyph.Height(), expected.Width() * expected.Height());
    EXPECT_EQ(std::memcmp(glyph.Coverage(), expected.Coverage(), static_cast<size_t>(glyph.Width() * glyph.Height())), 0);
  }

  MFont font;
  const std::pair<std::function<void()>, std::string> failures[] = {
      {[&] { font.SetFamily(MString("Nowhere Sans"), 12); }, "Font Nowhere Sans was not found in the system."},
      {[&] { font.SetFamily(MString("DejaVu Math TeX Gyre bold"), 12); },
       "Font DejaVu Math TeX Gyre was not found in the system with correct styles."},
      {[&] { font.SetFamily(MString(" bold italic "), 12); }, "Invalid font family name."},
      {[&] { font.LoadFromResource(library, MString("fontBad"), 12); },
       "Invalid file contents. Unknown font file format."},
      {[&] { font.Load(bytes.data(), 4000, 12); }, "Invalid file contents. Invalid font file format."},
      {[&] { font.Load(bytes.data(), static_cast<int64_t>(bytes.size()), 0); }, "Unable to accept required font size."},
  };
  for (const auto& [body, message] : failures) EXPECT_EQ(MessageOf(body), message);
  EXPECT_FALSE(font.IsLoaded());
}

}  // namespace
}  // namespace kx
