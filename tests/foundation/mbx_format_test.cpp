#include <gtest/gtest.h>

#include <set>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/mbx.h"
#include "support/failure_capture.h"
#include "tree_test_support.h"

namespace kx {
namespace {

using namespace std::string_literals;

const std::string kMagic("\0MBX", 4);

std::string WriteBytes(const MXMLItem& root) {
  MMemoryStream stream;
  root.SaveMBX(stream);
  return std::string(stream.View());
}

std::string ValueBytes(const MVariant& value) {
  MXMLItem root("r");
  root.AppendAttribute("v", value);
  std::string bytes = WriteBytes(root);
  std::string head = kMagic + "Xr\0Av\0"s;
  EXPECT_EQ(bytes.substr(0, head.size()), head);
  EXPECT_EQ(bytes.back(), '~');
  return bytes.substr(head.size(), bytes.size() - head.size() - 1);
}

void ReadBytes(MXMLItem& tree, const std::string& bytes) {
  MMemoryStream stream;
  FillStream(stream, bytes);
  tree.ReadMBX(stream);
}

std::string ReadFailure(const std::string& bytes, MXMLItem* into = nullptr) {
  MXMLItem own;
  return ToStd(Failure([&] { ReadBytes(into ? *into : own, bytes); }).message);
}

TEST(MBXFormatTest, GoldenTrees) {
  MXMLItem root("r");
  EXPECT_EQ(WriteBytes(root), "\x00\x4D\x42\x58\x58\x72\x00\x7E"s);

  root.AppendAttribute("a", int32_t{300});
  EXPECT_EQ(WriteBytes(root), kMagic + "Xr\0"s + "\x41\x61\x00\x32\x2C\x01"s + "~");

  // Subitems close with '/', the value follows the attributes, an empty value
  // (string or buffer) is left out.
  MXMLItem tree("r");
  tree.AddSubItem("a").value = MVariant(int8_t{7});
  MXMLItem& b = tree.AddSubItem("b");
  b.AppendAttribute("k", "x");
  b.value = MVariant("t");
  b.AddSubItem("c").value.SetBuffer("", 0, false);
  EXPECT_EQ(WriteBytes(tree), kMagic + "Xr\0Xa\0V1\x07/Xb\0Ak\0sx\0Vst\0Xc\0//~"s);
}

struct WrittenValue {
  const char* label;
  MVariant value;
  std::string bytes;
};

TEST(MBXFormatTest, ValuesTakeTheirLetters) {
  const WrittenValue cases[] = {
      {"int64 -1 narrows to one byte", MVariant(int64_t{-1}), "1\xFF"s},
      {"int64 -129", MVariant(int64_t{-129}), "2\x7F\xFF"s},
      {"int64 70000", MVariant(int64_t{70000}), "4\x70\x11\x01\x00"s},
      {"int64 2^40", MVariant(int64_t{1} << 40), "8\0\0\0\0\0\x01\0\0"s},
      {"int32 300", MVariant(int32_t{300}), "2\x2C\x01"s},
      {"int16 -5", MVariant(int16_t{-5}), "1\xFB"s},
      {"float 1.5", MVariant(1.5f), "f\x00\x00\xC0\x3F"s},
      {"double -2", MVariant(-2.0), "d\0\0\0\0\0\0\0\xC0"s},
      {"empty string", MVariant(""), "s\0"s},
      {"U+00E9 as one byte", MVariant(MShortString(u"\u00e9")), "s\xE9\0"s},
      {"U+0100 in UTF-8", MVariant(MShortString(u"\u0100")), "u\x02\0\0\0\xC4\x80"s},
      {"zero unit keeps its length", MVariant(MShortString(u"a\0b", 3)), "u\x03\0\0\0a\0b"s},
  };
  for (const WrittenValue& c : cases) EXPECT_EQ(ValueBytes(c.value), c.bytes) << c.label;

  MVariant plain;
  plain.SetBuffer("xyz", 3, false);
  EXPECT_EQ(ValueBytes(plain), "b\x03\0\0\0xyz"s);
  MVariant packed;
  packed.SetBuffer("\x78\x9c", 2, true);  // stored as it stands: the writer never compresses
  EXPECT_EQ(ValueBytes(packed), "z\x02\0\0\0\x78\x9c"s);
}

TEST(MBXFormatTest, NamesAreWrittenAsBytes) {
  MXMLItem root(MString(u"\u00e9"));                                   // item names in UTF-8
  root.AppendAttribute(MXMLName(MShortString(u"\u00e9")), int8_t{1});  // attribute names narrowed
  EXPECT_EQ(WriteBytes(root), kMagic +
                                  "X\xC3\xA9\0A\xE9\0"
                                  "1\x01~"s);
}

// The writer's bytes above and the round trips of every type pin the letters the
// writer uses; a compressed buffer may also come with a 64-bit size, from old files.
TEST(MBXFormatTest, ReaderTakesCompressedBuffersOfBothSizes) {
  for (const std::string& payload : {"z\x01\0\0\0q"s, "Z\x01\0\0\0\0\0\0\0q"s}) {
    MXMLItem tree;
    ReadBytes(tree, kMagic + "Xr\0V"s + payload + "~");
    EXPECT_TRUE(tree.value.IsCompressed()) << payload[0];
    EXPECT_EQ(tree.value.GetBuffer()->size, 1) << payload[0];
  }
}

TEST(MBXFormatTest, ReaderBuildsTheTree) {
  MXMLItem tree;
  // Blanks in an attribute name take every control character with them, and
  // nothing printable; the second attribute of the same name is appended, not
  // merged; what follows the root's '~' is never looked at.
  ReadBytes(tree, kMagic +
                      "Xroot\0A !a\tb \0"
                      "1\x01"
                      "A!ab\0"
                      "1\x02"
                      "Xc\0/Xd\0Xe\0//~garbage"s);
  EXPECT_EQ(ToStd(tree.name), "root");
  ASSERT_EQ(tree.attributeCount, 2);
  EXPECT_EQ(ToStd(MString(tree.firstAttribute->name.text)), "!ab");
  EXPECT_EQ(tree.lastAttribute->value.AsInt(), 2);
  ASSERT_EQ(tree.subItemCount, 2);
  EXPECT_EQ(ToStd(tree.lastSubItem->name), "d");
  EXPECT_EQ(ToStd(tree.lastSubItem->firstSubItem->name), "e");
}

TEST(MBXFormatTest, ReaderFailures) {
  const std::pair<std::string, const char*> cases[] = {
      {""s, "Not an MBX file."},
      {"<?xml version=\"1.0\"?><r/>"s, "Not an MBX file."},
      {kMagic, "Unexpected MBX end."},
      {kMagic + "Xr\0Xa\0//"s, "Incorrect MBX ending."},
      {kMagic + "Q"s, "Incorrect MBX command identifier."},
      {kMagic + "/"s, "Incorrect MBX command identifier."},
      {kMagic + "X"s, "Invalid buffer GetStringLength call."},
      {kMagic + "Xr"s, "Not a terminated string for GetStringLength."},
      {kMagic + "Xr\0Aa\0s"s, "Invalid buffer GetStringLength call."},
      {kMagic + "Xr\0Aa\0"
                "4\x01\x02"s,
       "Data range not available."},
      {kMagic + "Xr\0Vu\xFF\xFF\xFF\xFF~"s, "Data range not available."},
      {kMagic + "Xr\0VZ\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F~"s, "Data range not available."},
      {kMagic + "Xr\0Aa\0!~"s, "Unknown variant type."},
  };
  for (const auto& [bytes, message] : cases) EXPECT_EQ(ReadFailure(bytes), message) << bytes;
}

TEST(MBXFormatTest, EveryCutOfAStreamFailsCleanly) {
  MXMLItem root("root");
  root.AppendAttribute("i", int64_t{1} << 40);
  root.AppendAttribute("s", "text");
  root.AppendAttribute("u", MShortString(u"\u4e2d"));
  MXMLItem& child = root.AddSubItem("child");
  child.value.SetBuffer("bytes", 5, false);
  child.AddSubItem("leaf").value = MVariant(2.5);
  std::string whole = WriteBytes(root);

  const std::set<std::string> messages = {
      "Not an MBX file.", "Unexpected MBX end.", "Invalid buffer GetStringLength call.",
      "Not a terminated string for GetStringLength.", "Data range not available."};
  for (size_t cut = 0; cut < whole.size(); ++cut)
    EXPECT_TRUE(messages.count(ReadFailure(whole.substr(0, cut)))) << "cut at " << cut;
  MXMLItem back;
  ReadBytes(back, whole);
  EXPECT_EQ(TreeDifference(root, back), "");
}

TEST(MBXFormatTest, ASubtreeIsReadWithoutLeavingIt) {
  MXMLItem outer("outer");
  MXMLItem& inner = outer.AddSubItem("inner");
  outer.AddSubItem("sibling");
  EXPECT_EQ(ReadFailure(kMagic + "Xr\0/Xescaped\0~"s, &inner), "Incorrect MBX ending.");
  EXPECT_EQ(outer.subItemCount, 2);
  EXPECT_EQ(ToStd(inner.name), "r");
}

}  // namespace
}  // namespace kx
