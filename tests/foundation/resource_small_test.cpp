#include <gtest/gtest.h>

#include <cstring>

#include "foundation/resources/resource_small_writer.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/memory_stream.h"
#include "stream_test_support.h"
#include "support/resource_test_support.h"

namespace kx {
namespace {

struct Entry {
  const char* id;
  std::string bytes;
  bool compressed;
};

std::vector<Entry> StyleEntries() {
  return {{"fontRobotoLight", RandomBytes(3000, 1), false},
          {"bitmapyes", TextBytes(20000, 2), true},
          {"Empty", "", false},
          {"bitmapno", "", true}};
}

std::string StyleLibrary(bool compressDefinition) {
  MSmallLibraryWriter writer(MString("mstyle"));
  writer.Root().SetAttribute("fontsize", MVariant(int32_t{11}));
  for (const Entry& entry : StyleEntries())
    writer.Add(MString(entry.id), entry.bytes.data(), static_cast<int64_t>(entry.bytes.size()),
               entry.compressed);
  MMemoryStream bytes;
  writer.Write(bytes, compressDefinition);
  return std::string(bytes.View());
}

enum class Source { kConstantMemory, kMemory, kFile };

class SmallLibraryTest : public FileTestBase,
                         public ::testing::WithParamInterface<std::tuple<Source, bool>> {};

TEST_P(SmallLibraryTest, LookupsIgnoreCaseAndStartFromTheBeginning) {
  auto [source, compressDefinition] = GetParam();
  std::string bytes = StyleLibrary(compressDefinition);
  MConstMemoryStream constant(bytes.data(), static_cast<int64_t>(bytes.size()));
  MMemoryStream memory;
  FillStream(memory, bytes);
  WriteFile("style.mstyle", bytes);
  MFileStream file(Path("style.mstyle"), MFileStream::kModeRead);

  MResourceLibrary library;
  library.AttachSmall(source == Source::kConstantMemory ? static_cast<MStream&>(constant)
                      : source == Source::kMemory       ? static_cast<MStream&>(memory)
                                                        : static_cast<MStream&>(file));
  memory.Clear();  // a copied block does not depend on the source any more
  EXPECT_EQ(library.GetDefinition().GetAttribute("fontsize").AsInt(), 11);
  ASSERT_EQ(library.GetResourceCount(), 4);

  for (const Entry& entry : StyleEntries()) {
    std::string upper = entry.id;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string start(10, '\0');
    library.GetResource(MString(entry.id)).Read(start.data(), 10);
    // A second GetResource starts again from the first byte.
    EXPECT_EQ(ReadRest(library.GetResource(MString(upper.c_str()))), entry.bytes) << upper;
    if (entry.compressed) {
      EXPECT_EQ(MessageOf([&] { library.GetResourceMemory(MString(entry.id)); }),
                "Attempt to attach compressed resource using memory-stream.");
      continue;
    }
    MConstMemoryStream& direct = library.GetResourceMemory(MString(upper.c_str()));
    ASSERT_EQ(direct.Size(), static_cast<int64_t>(entry.bytes.size()));
    if (entry.bytes.empty()) continue;
    EXPECT_EQ(std::memcmp(direct.Data(), entry.bytes.data(), entry.bytes.size()), 0);
    // Constant memory is read in place, anything else from a block of its own.
    bool inPlace = direct.Data() >= bytes.data() && direct.Data() < bytes.data() + bytes.size();
    EXPECT_EQ(inPlace, source == Source::kConstantMemory);
  }
  EXPECT_EQ(MessageOf([&] { library.GetResource(MString("bitmapmaybe")); }),
            "Cannot find requested resource (bitmapmaybe).");
}

INSTANTIATE_TEST_SUITE_P(Sources, SmallLibraryTest,
                         ::testing::Combine(::testing::Values(Source::kConstantMemory,
                                                              Source::kMemory, Source::kFile),
                                            ::testing::Bool()));

std::string Header(int32_t definitionSize, int32_t dataSize) {
  int32_t header[3] = {0, definitionSize, dataSize};
  return std::string(reinterpret_cast<const char*>(header), sizeof header);
}

TEST(SmallLibraryDamage, BadHeadersAndEntries) {
  std::string good = StyleLibrary(false);

  MSmallLibraryWriter outside(MString("x"));
  outside.Add(MString("a"), "abc", 3, false);
  outside.Root().GetSubItem("resources").firstSubItem->SetAttribute("size", MVariant(int32_t{4}));
  MMemoryStream outsideBytes;
  outside.Write(outsideBytes, false);

  const std::string shortRead = "Could not read the required data from stream.";
  const std::string corrupt = "Resource library file is corrupt.";
  const int32_t kHalf = static_cast<int32_t>(MResourceLibrary::kMaxSmallLibrarySize / 2);
  struct Case {
    const char* name;
    std::string bytes, message;
  } cases[] = {
      {"empty", "", shortRead},
      {"negative definition", Header(-1, 0), shortRead},
      {"empty definition", Header(0, 0), "The XML does not contain any elements."},
      {"data missing", good.substr(0, good.size() - 1), shortRead},
      {"sizes no stream holds", Header(kHalf, kHalf) + "abc", shortRead},
      // A claim no library makes is refused before a byte is read by it.
      {"sizes beyond the limit", Header(kHalf, kHalf + 1) + "abc", corrupt},
      {"no resources", Header(6, 0) + std::string("<a/>  "),
       "Could not find required subitem (resources)."},
      {"entry outside", std::string(outsideBytes.View()),
       "Invalid resource library format (resource a lies outside the data block)."},
  };
  for (const Case& c : cases) {
    for (bool constant : {true, false}) {
      MConstMemoryStream inPlace(c.bytes.data(), static_cast<int64_t>(c.bytes.size()));
      MMemoryStream copied;
      FillStream(copied, c.bytes);
      MResourceLibrary library;
      EXPECT_EQ(MessageOf([&] {
                  library.AttachSmall(constant ? static_cast<MStream&>(inPlace) : copied);
                }),
                c.message)
          << c.name;
      EXPECT_FALSE(library.IsAttached());
    }
  }
  // Memory that runs out while the data block is read.
  MExhaustingStream exhausting(Header(100, 0));
  MResourceLibrary library;
  EXPECT_EQ(MessageOf([&] { library.AttachSmall(exhausting); }), corrupt);
}

}  // namespace
}  // namespace kx
