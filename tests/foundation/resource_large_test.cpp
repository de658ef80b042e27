#include <gtest/gtest.h>

#include <cstring>

#include "foundation/streams/file_stream.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/xml/mbx_writer.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/threads/task_group.h"
#include "support/resource_test_support.h"

namespace kx {
namespace {

using Library = MResourceLibrary;

class LargeLibraryTest : public ResourceFolderTest {
 protected:
  void SetUp() override { MakeSources(80); }

  // Builds the tree of the sources into `name`; the tree keeps what Build set.
  std::string BuildFile(const std::string& name, uint32_t flags, MXMLItem& tree) {
    MakeTree(tree);
    MFileStream target(Path(name), MFileStream::kModeCreate);
    Library::Build(tree, target, flags, Opener());
    target.Close();
    return ReadFileBytes(Native(name));
  }

  // Opens `name` and checks every stored file against its source.
  void ExpectReadsBack(const std::string& name, uint32_t flags) {
    Library library;
    library.OpenLarge(Path(name));
    EXPECT_EQ(library.GetFlags(), flags);
    std::vector<MXMLItem*> items = FileItems(library.GetDefinition());
    ASSERT_EQ(items.size(), files.size() + 1);
    EXPECT_FALSE(items[0]->HasAttribute("filestart")) << "the missing source is skipped";
    for (size_t i = 0; i < files.size(); ++i) {
      std::unique_ptr<MStream> content = library.OpenFile(*items[i + 1]);
      ASSERT_EQ(ReadRest(*content), files[i].second) << files[i].first << " flags " << flags;
    }
  }

  std::string OpenFailure(const std::string& name) {
    return MessageOf([&] {
      Library library;
      library.OpenLarge(Path(name));
    });
  }
};

// Flags without bit 3: files plain / zlib / bzip2, definition plain or
// compressed, filter off or on.
class LargeLibraryLayoutTest : public LargeLibraryTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(LargeLibraryLayoutTest, SerialAndParallelBuildsAreIdenticalAndReadBack) {
  uint32_t flags = GetParam();
  MXMLItem serialTree, parallelTree;
  std::string serial = BuildFile("serial.lib", flags | Library::kCompressOnCallingThread, serialTree);
  std::string parallel = BuildFile("parallel.lib", flags, parallelTree);

  // The trailer keeps the flags as given: the two files differ in bit 3 alone.
  ASSERT_EQ(serial.size(), parallel.size());
  EXPECT_TRUE(serial.compare(0, serial.size() - 4, parallel, 0, parallel.size() - 4) == 0);
  uint32_t serialFlags, parallelFlags;
  std::memcpy(&serialFlags, serial.data() + serial.size() - 4, 4);
  std::memcpy(&parallelFlags, parallel.data() + parallel.size() - 4, 4);
  EXPECT_EQ(serialFlags, flags | Library::kCompressOnCallingThread);
  EXPECT_EQ(parallelFlags, flags);

  // Plain stored files lie in the file as they are, one after the other.
  if (!(flags & Library::kFilesCompressed)) {
    EXPECT_EQ(serial.compare(0, files[0].second.size(), files[0].second), 0);
  }
  ExpectReadsBack("serial.lib", flags | Library::kCompressOnCallingThread);
  ExpectReadsBack("parallel.lib", flags);
}

std::vector<uint32_t> Layouts() {
  std::vector<uint32_t> layouts;
  for (uint32_t files : {0u, 1u, 5u})
    for (uint32_t definition : {0u, 2u})
      for (uint32_t scramble : {0u, 16u}) layouts.push_back(files | definition | scramble);
  layouts.push_back(2u | 4u);  // bzip2 definition over plain files: the bits are independent
  layouts.push_back(2u | 4u | 16u);
  return layouts;
}

INSTANTIATE_TEST_SUITE_P(AllFlags, LargeLibraryLayoutTest, ::testing::ValuesIn(Layouts()));

// A library with no stored file and a definition of exactly `size` bytes: a
// plain MBX tree padded with zeros (the reader stops at the tree's end).
std::string LibraryWithDefinitionOf(int64_t size) {
  MXMLItem root(MString("padded"));
  root.AddSubItem(MString("file")).SetAttribute("path", MVariant("x"));
  MMemoryStream definition;
  WriteMBX(root, definition);
  definition.SetSize(size);
  MHashStream md5;
  md5.Reset();
  md5.Write(definition.Data(), definition.Size());
  md5.Finish();
  std::string bytes(definition.View());
  bytes.append(reinterpret_cast<const char*>(md5.Digest()), 16);
  bytes.append(reinterpret_cast<const char*>(&size), 8);
  bytes.append(4, '\0');
  return bytes;
}

TEST_F(LargeLibraryTest, DefinitionSizeLimit) {
  WriteFile("limit.lib", LibraryWithDefinitionOf(2097152));
  Library library;
  library.OpenLarge(Path("limit.lib"));
  EXPECT_EQ(ToStd(library.GetDefinition().name), "padded");

  WriteFile("over.lib", LibraryWithDefinitionOf(2097153));
  EXPECT_EQ(OpenFailure("over.lib"),
            "Invalid large resource library format (incorrect definition size 2097153).");
}

// Flips one bit at the start, middle and end of the definition, for each way
// the definition can be stored; the stored files are not covered by the digest.
TEST_F(LargeLibraryTest, OneFlippedBitInTheDefinitionIsCorruption) {
  for (uint32_t flags : {0u, 2u | 16u, 2u | 4u}) {
    MXMLItem tree;
    std::string bytes = BuildFile("flip.lib", flags, tree);
    int64_t definitionSize;
    std::memcpy(&definitionSize, bytes.data() + bytes.size() - 12, 8);
    size_t start = bytes.size() - 28 - static_cast<size_t>(definitionSize);
    for (size_t at : {start, start + static_cast<size_t>(definitionSize) / 2, bytes.size() - 29}) {
      std::string damaged = bytes;
      // The top bit: the low bits of a compressed stream's last byte can be
      // padding that no decoder reads.
      damaged[at] = static_cast<char>(damaged[at] ^ 0x80);
      WriteFile("damaged.lib", damaged);
      EXPECT_EQ(OpenFailure("damaged.lib"), "Resource library file is corrupt.") << flags << " at " << at;
    }
    std::string content = bytes;
    content[10] ^= 1;
    WriteFile("content.lib", content);
    Library library;
    EXPECT_NO_THROW(library.OpenLarge(Path("content.lib"))) << "contents are not checked at opening";
  }
}

TEST_F(LargeLibraryTest, TruncatedFilesDoNotOpen) {
  MXMLItem tree;
  std::string bytes = BuildFile("whole.lib", 1 | 2, tree);
  const std::string shortRead = "Could not read the required data from stream.";
  for (size_t length : {size_t{0}, size_t{27}}) {
    WriteFile("cut.lib", bytes.substr(0, length));
    EXPECT_EQ(OpenFailure("cut.lib"), shortRead) << length;
  }
}

TEST_F(LargeLibraryTest, ContentStreamsTakeTurnsAndSeek) {
  for (uint32_t flags : {0u, 5u | 16u}) {
    MXMLItem tree;
    std::string bytes = BuildFile("turns.lib", flags, tree);
    MConstMemoryStream memory(bytes.data(), static_cast<int64_t>(bytes.size()));
    Library fromFile, fromMemory;
    fromFile.OpenLarge(Path("turns.lib"));
    fromMemory.AttachLarge(memory);
    for (Library* library : {&fromFile, &fromMemory}) {
      std::vector<MXMLItem*> items = FileItems(library->GetDefinition());
      std::unique_ptr<MStream> text = library->OpenFile(*items[1]);
      std::unique_ptr<MStream> binary = library->OpenFile(*items[2]);
      std::string a(1000, '\0'), b(1000, '\0');
      ASSERT_EQ(text->Read(a.data(), 1000), 1000);
      ASSERT_EQ(binary->Read(b.data(), 1000), 1000);
      EXPECT_EQ(a + ReadRest(*text), files[0].second);
      EXPECT_EQ(b + ReadRest(*binary), files[1].second);
      EXPECT_EQ(text->Seek(-500, kSeekEnd), static_cast<int64_t>(files[0].second.size()) - 500);
      EXPECT_EQ(ReadRest(*text), files[0].second.substr(files[0].second.size() - 500));
    }
  }
}

// A source that fails halfway, among many in flight: the build ends with its
// failure, leaves no task behind, and the group serves the next build.
class FailingSource : public MStream {
 public:
  int64_t Read(void* data, int64_t size) override {
    if (served_ > 20000) throw MException(MString("Error reading from file \"bad\", error \"gone\"."));
    std::memset(data, 'x', static_cast<size_t>(size));
    served_ += size;
    return size;
  }
  int64_t GetSize() override { return 1 << 20; }

 private:
  int64_t served_ = 0;
};

TEST_F(LargeLibraryTest, AFailingSourceEndsTheParallelBuild) {
  MTaskGroup group;
  group.Start(false, 3);
  for (uint32_t flags : {5u, 1u | Library::kCompressOnCallingThread}) {
    MXMLItem tree;
    MakeTree(tree);
    MSourceOpener opener = [&, inner = Opener(), count = 0](MXMLItem& item) mutable -> std::unique_ptr<MStream> {
      if (++count == 40) return std::make_unique<FailingSource>();
      return inner(item);
    };
    MMemoryStream target;
    EXPECT_EQ(MessageOf([&] { Library::Build(tree, target, flags, opener, &group); }),
              "Error reading from file \"bad\", error \"gone\".");
    EXPECT_EQ(group.QueuedCount(), 0);
  }
  MXMLItem tree;
  MakeTree(tree);
  MFileStream target(Path("after.lib"), MFileStream::kModeCreate);
  Library::Build(tree, target, 1, Opener(), &group);
  target.Close();
  ExpectReadsBack("after.lib", 1);
}

}  // namespace
}  // namespace kx
