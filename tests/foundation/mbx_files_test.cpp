#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/compression/zlib_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/base64.h"
#include "foundation/xml/mbx.h"
#include "support/failure_capture.h"
#include "support/file_test_support.h"
#include "tree_test_support.h"

namespace kx {
namespace {

using namespace std::string_literals;

void FillSample(MXMLItem& root) {
  root.SetName("Settings");
  root.AppendAttribute("version", "15");
  MXMLItem& plugin = root.AddSubItem("plugin");
  plugin.AppendAttribute("name", MShortString(u"Vorlund \u00e9"));
  plugin.AppendAttribute("Installed", "1");
  root.AddSubItem("path").value = MVariant("/home/user/.vst3");
}

std::string Serialised(const MXMLItem& tree, bool binary, bool compress) {
  MMemoryStream stream;
  if (binary) {
    tree.SaveMBX(stream, compress);
  } else {
    tree.SaveXML(stream, compress);
  }
  return std::string(stream.View());
}

std::string Base64Line(const std::string& bytes) {
  return "$" + ToStd(EncodeBase64(bytes.data(), static_cast<int64_t>(bytes.size())));
}

struct DisableMBXScope {
  explicit DisableMBXScope(bool value) : saved(DisableMBX) { DisableMBX = value; }
  ~DisableMBXScope() { DisableMBX = saved; }
  bool saved;
};

TEST(LoadAnyTest, EveryFormFromTheStreamsPosition) {
  MXMLItem sample;
  FillSample(sample);
  const std::string mbx = Serialised(sample, true, false);
  const std::string packed = Serialised(sample, true, true);
  const std::string xml = Serialised(sample, false, false);
  const std::pair<const char*, std::string> forms[] = {
      {"MBX", mbx},
      {"compressed MBX", packed},
      {"XML", xml},
      {"base64 of MBX, with more lines after it", Base64Line(mbx) + "\nnot read\n"},
      {"base64 of compressed MBX, CR LF", Base64Line(packed) + "\r\n"},
  };
  for (const auto& [label, bytes] : forms) {
    // Data that do not start the stream are looked for where the stream stands.
    MMemoryStream stream;
    FillStream(stream, "JUNK!" + bytes);
    stream.Seek(5, kSeekBegin);
    MXMLItem tree("left over");
    tree.AddSubItem("old");
    MString failure;
    EXPECT_TRUE(TryLoadAny(tree, stream, &failure)) << label << ": " << ToStd(failure);
    EXPECT_EQ(TreeDifference(sample, tree, true), "") << label;
  }
}

TEST(LoadAnyTest, DataOfNoFormAreRefusedQuietly) {
  const std::pair<std::string, const char*> cases[] = {
      {"\0MBXXr\0Q"s, "Incorrect MBX command identifier."},  // the binary reader's word
      {"plain words"s, nullptr},                             // the text parser's word
      {"\x78\xDA garbage"s, nullptr},
      {"$"s + ToStd(EncodeBase64("no tree", 7)), nullptr},
  };
  for (const auto& [bytes, message] : cases) {
    MMemoryStream stream;
    FillStream(stream, bytes);
    MXMLItem tree;
    MString failure;
    EXPECT_FALSE(TryLoadAny(tree, stream, &failure)) << bytes;
    if (message) {
      EXPECT_EQ(ToStd(failure), message) << bytes;
    }
    stream.Seek(0, kSeekBegin);
    EXPECT_NO_THROW(tree.LoadAny(stream)) << bytes;
  }
  // A "$" line that is no base64 is a failure of its own.
  MMemoryStream stream;
  FillStream(stream, "$not*base64\n");
  MXMLItem tree;
  EXPECT_EQ(MessageOf([&] { tree.LoadAny(stream); }), "Invalid character in base64 text.");
}

// A few hundred kilobytes of zlib that inflate to more than an MBX stream may hold are
// refused at the limit, read in place or inflated, and LoadAny stays quiet.
TEST(LoadAnyTest, MBXBeyondTheSizeLimitIsRefused) {
  int32_t payload = static_cast<int32_t>(kMaxMBXSize);
  std::string plain = "\0MBXXr\0Vb"s + std::string(reinterpret_cast<const char*>(&payload), 4);
  plain.resize(plain.size() + kMaxMBXSize);
  plain += "~";
  MMemoryStream packed;
  MZLIBStream deflater;
  deflater.Init(&packed, true, 11);
  deflater.Write(plain.data(), static_cast<int64_t>(plain.size()));
  deflater.Terminate();
  ASSERT_LT(packed.Size(), kMaxMBXSize / 100);

  MConstMemoryStream inPlace(plain.data(), static_cast<int64_t>(plain.size()));
  packed.Seek(0, kSeekBegin);
  MZLIBStream inflater;
  inflater.Init(&packed, false);
  for (MStream* source : {static_cast<MStream*>(&inPlace), static_cast<MStream*>(&inflater)}) {
    MXMLItem tree;
    EXPECT_EQ(MessageOf([&] { tree.ReadMBX(*source); }), kMBXTooLarge);
  }
  packed.Seek(0, kSeekBegin);
  MXMLItem tree;
  EXPECT_FALSE(TryLoadAny(tree, packed));
}

TEST(LoadAnyTest, MemoryRunningOutIsTheLoadersFailure) {
  MExhaustingStream binary("\0MBX"s);
  MExhaustingStream text("<r>"s);
  MXMLItem tree;
  EXPECT_EQ(MessageOf([&] { tree.ReadMBX(binary); }), kMBXTooLarge);
  EXPECT_EQ(MessageOf([&] { tree.LoadXML(text); }), "Error parsing a XML file.");
  binary.Seek(0, kSeekBegin);
  EXPECT_FALSE(TryLoadAny(tree, binary));
}

// Inputs that once broke a loader (kept in fuzz/corpus/regressions/) load again:
// a failure may be reported, nothing may crash.
TEST(LoadAnyTest, FuzzRegressionsLoadWithoutCrashing) {
  for (const auto& entry : std::filesystem::directory_iterator(
           std::filesystem::path(KESTRIX_SOURCE_DIR) / "fuzz/corpus/regressions")) {
    if (!entry.is_regular_file() || entry.path().filename().string().front() == '.') continue;
    MMemoryStream stream;
    FillStream(stream, ReadFileBytes(entry.path()));
    MXMLItem tree;
    Failure([&] { tree.LoadAny(stream); });  // a clear refusal is a good outcome
  }
}

class TreeFileTest : public FileTestBase {};

TEST_F(TreeFileTest, SaveAndLoadEachForm) {
  MXMLItem sample;
  FillSample(sample);
  struct Case {
    const char* label;
    bool disableMBX, compress;
    std::string head;
  };
  const Case cases[] = {
      {"MBX", false, false, "\0MBX"s},
      {"compressed MBX", false, true, "\x78\xDA"s},
      {"XML instead of MBX", true, false, "<?xml"},
      {"compressed XML instead of MBX", true, true, "\x78\xDA"s},
  };
  for (const Case& c : cases) {
    DisableMBXScope scope(c.disableMBX);
    MString path = Path("tree.mbx");
    WriteFile("tree.mbx", "old content");
    sample.SaveFile(path, c.compress);
    std::string bytes = ReadFileBytes(Native("tree.mbx"));
    EXPECT_EQ(bytes.substr(0, c.head.size()), c.head) << c.label;
    EXPECT_FALSE(std::filesystem::exists(Native("tree.mbx.saving"))) << c.label;
    MXMLItem back;
    back.LoadFile(path);
    if (c.disableMBX && c.compress) {  // compressed XML is not a form a load recognises
      EXPECT_TRUE(back.name.IsEmpty()) << c.label;
    } else {
      EXPECT_EQ(TreeDifference(sample, back, c.disableMBX), "") << c.label;
    }
  }
}

TEST_F(TreeFileTest, FailuresKeepTheOldFile) {
  MXMLItem sample;
  FillSample(sample);
  MString path = Path("keep.mbx");

  // The serialisation fails: the text writer refuses an unnamed item.
  {
    DisableMBXScope scope(true);
    WriteFile("keep.mbx", "old content");
    MXMLItem broken;
    broken.CopyFrom(sample);
    broken.AddSubItem("");
    EXPECT_EQ(MessageOf([&] { broken.SaveFile(path, true); }),
              "XML entity cannot have empty name.");
    EXPECT_EQ(ReadFileBytes(Native("keep.mbx")), "old content");
  }

  // The new file cannot be written beside the old one.
  std::filesystem::create_directory(Native("keep.mbx.saving"));
  std::string message = MessageOf([&] { sample.SaveFile(path); });
  EXPECT_NE(message.find("could not be created"), std::string::npos) << message;
  EXPECT_EQ(ReadFileBytes(Native("keep.mbx")), "old content");
  std::filesystem::remove(Native("keep.mbx.saving"));

  // The new file cannot take the old one's place: nothing of it stays behind.
  std::filesystem::create_directories(Native("folder.mbx/inside"));
  message = MessageOf([&] { sample.SaveFile(Path("folder.mbx")); });
  EXPECT_EQ(message.rfind("Could not rename file \"", 0), 0u) << message;
  EXPECT_TRUE(std::filesystem::is_directory(Native("folder.mbx/inside")));
  EXPECT_FALSE(std::filesystem::exists(Native("folder.mbx.saving")));
}

}  // namespace
}  // namespace kx
