#include "foundation/xml/xml_item.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_iterator.h"
#include "stream_test_support.h"
#include "support/file_test_support.h"
#include "xml_test_support.h"

namespace kx {
namespace {

TEST(MXMLItemTest, LookupsIgnoreCaseForAttributesAndSubItems) {
  struct Case {
    const char* stored;
    const char* key;
    bool found;
  };
  const Case cases[] = {
      {"Version", "VERSION", true}, {"Version", "Versio", false}, {"Version", "Versions", false},
      {"", "", true},               {"ab", "a", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.stored) + " / " + c.key);
    MXMLItem item("r");
    item.SetAttribute("other", "0");
    item.SetAttribute(c.stored, "value");
    item.AddSubItem("other");
    item.AddSubItem(c.stored).value = "sub";
    EXPECT_EQ(item.HasAttribute(c.key), c.found);
    EXPECT_EQ(item.HasSubItem(c.key), c.found);
    if (c.found) {
      EXPECT_EQ(ToStd(item.GetCachedAttribute().AsString()), "value");
      EXPECT_EQ(ToStd(item.GetCachedSubItem().value.AsString()), "sub");
      EXPECT_EQ(ToStd(item.GetAttribute(c.key).AsString()), "value");
      EXPECT_EQ(ToStd(item.GetSubItem(c.key).value.AsString()), "sub");
    }
  }
}

TEST(MXMLItemTest, LookupFailuresAndEmptyCachesThrowTheirMessages) {
  MXMLItem item("r");
  item.SetAttribute("present", "1");
  item.AddSubItem("present");
  // A failed Has... empties the cache that a successful one had filled.
  ASSERT_TRUE(item.HasAttribute("present") && item.HasSubItem("present"));
  ASSERT_FALSE(item.HasAttribute("missing") || item.HasSubItem("missing"));
  EXPECT_EQ(MessageOf([&] { item.GetCachedAttribute(); }),
            "There is no attribute in the cache. Previous call to HasAttribute probably did not succeed.");
  EXPECT_EQ(MessageOf([&] { item.GetCachedSubItem(); }),
            "There is no subitem in the cache. Previous call to HasSubItem probably did not succeed.");
  EXPECT_EQ(MessageOf([&] { item.GetAttribute("archMin"); }), "Could not find required attribute (archMin).");
  EXPECT_EQ(MessageOf([&] { item.GetSubItem("files"); }), "Could not find required subitem (files).");
  EXPECT_EQ(MessageOf([&] { item.GetSubItemIndexed(-1); }), "Index out of range.");
}

TEST(MXMLItemTest, SetAttributeReplacesInPlaceOrAppends) {
  MXMLItem item("r");
  item.SetAttribute("a", "1");
  item.SetAttribute("b", "2");
  item.SetAttribute("A", int32_t{3});
  item.SetAttribute("c", "4");
  EXPECT_EQ(Picture(item), "r{a=3,b=2,c=4}");
  EXPECT_TRUE(item.RemoveAttribute("B"));
  EXPECT_FALSE(item.RemoveAttribute("b"));
  EXPECT_EQ(Picture(item), "r{a=3,c=4}");
}

TEST(MXMLItemTest, RemoveAndDetachKeepTheListConsistent) {
  MXMLItem item("r");
  MXMLItem* a = &item.AddSubItem("a");
  MXMLItem* b = &item.AddSubItem("b");
  MXMLItem* c = &item.AddSubItem("c");
  b->AddSubItem("inner").SetAttribute("x", "1");
  ASSERT_TRUE(item.HasSubItem("b"));
  MXMLItem* detached = item.DetachSubItem(b);
  EXPECT_EQ(Picture(item), "r[a;c]");
  // The lookup cache forgets the item that left, and only that one.
  EXPECT_EQ(
      MessageOf([&] { item.GetCachedSubItem(); }),
      "There is no subitem in the cache. Previous call to HasSubItem probably did not succeed.");
  item.AdoptSubItem(detached);
  EXPECT_EQ(Picture(item), "r[a;c;b[inner{x=1}]]");
  ASSERT_TRUE(item.HasSubItem("c"));
  item.RemoveSubItem(a);
  EXPECT_EQ(&item.GetCachedSubItem(), c);
  item.RemoveSubItem(detached);
  EXPECT_EQ(Picture(item), "r[c]");
  EXPECT_TRUE(item.firstSubItem == c && item.lastSubItem == c);
  MXMLItem stranger("s");
  EXPECT_EQ(MessageOf([&] { item.RemoveSubItem(&stranger); }), "Item is not a subitem of this item.");
}

TEST(MXMLItemTest, CopyFromRelatedItems) {
  MXMLItem tree;
  LoadText(tree, "<t k=\"1\"><a><b>x</b></a></t>");
  // From a descendant: the descendant would go with the cleared subtree.
  tree.CopyFrom(tree.GetSubItem("a"));
  EXPECT_EQ(Picture(tree), "a[b(x)]");
  // From an ancestor: the copy would grow while it is walked.
  LoadText(tree, "<t k=\"1\"><a><b>x</b></a></t>");
  MXMLItem& a = tree.GetSubItem("a");
  a.CopyFrom(tree);
  EXPECT_EQ(Picture(tree), "t{k=1}[t{k=1}[a[b(x)]]]");
  tree.CopyFrom(tree);
  EXPECT_EQ(Picture(tree), "t{k=1}[t{k=1}[a[b(x)]]]");
}

TEST(MXMLItemTest, MergeSetsAttributesAndAppendsCopies) {
  MXMLItem target, other;
  LoadText(target, "<t a=\"1\" b=\"2\"><x/></t>");
  LoadText(other, "<o B=\"20\" c=\"30\"><y q=\"1\"><z/></y><x>again</x></o>");
  target.Merge(other);
  EXPECT_EQ(Picture(target), "t{a=1,b=20,c=30}[x;y{q=1}[z];x(again)]");
  // Into itself: the subitems are doubled once, not without end.
  MXMLItem self;
  LoadText(self, "<s a=\"1\"><p/><q/></s>");
  self.Merge(self);
  EXPECT_EQ(Picture(self), "s{a=1}[p;q;p;q]");
  // Into a descendant of the source.
  MXMLItem& p = self.GetSubItem("p");
  p.Merge(self);
  EXPECT_EQ(Picture(p), "p{a=1}[p;q;p;q]");
}

struct BufferCase {
  const char* label;
  MXMLItem::BufferMode mode;
  int64_t size, expectedReturn;
  const char* expectedBytes;  // all of the block afterwards, '.' for untouched (0x2e)
  const char* message;        // failure expected, or null
};

TEST(MXMLItemTest, GetValueBufferModes) {
  const BufferCase cases[] = {
      {"exact fit", MXMLItem::kBufferExact, 4, 4, "abcd....", nullptr},
      {"exact short", MXMLItem::kBufferExact, 6, 0, "", "Value doesn't have correct format."},
      {"clear short", MXMLItem::kBufferClear, 6, 4, "abcd\0\0..", nullptr},
      {"accept short", MXMLItem::kBufferShort, 6, 4, "abcd....", nullptr},
      {"larger value", MXMLItem::kBufferExact, 2, 2, "ab......", nullptr},
  };
  for (const BufferCase& c : cases) {
    SCOPED_TRACE(c.label);
    MXMLItem item("r");
    item.SetValueBuffer("abcd", 4, false);
    char block[8];
    std::memset(block, '.', sizeof(block));
    if (c.message) {
      EXPECT_EQ(MessageOf([&] { item.GetValueBuffer(block, c.size, false, c.mode); }), c.message);
      continue;
    }
    EXPECT_EQ(item.GetValueBuffer(block, c.size, false, c.mode), c.expectedReturn);
    EXPECT_EQ(std::string(block, 8), std::string(c.expectedBytes, 8));
  }
}

TEST(MXMLItemTest, SetValueBufferCompressesOnRequest) {
  std::string data;
  for (int i = 0; i < 3000; ++i) data += static_cast<char>('a' + i % 7);
  MXMLItem item("r");
  item.SetValueBuffer(data.data(), static_cast<int64_t>(data.size()), true, 100);
  ASSERT_TRUE(item.value.IsCompressed());
  const MVariant::Buffer* buffer = item.value.GetBuffer();
  // Kept as a zlib stream: decompress=false hands out those very bytes.
  std::string raw(static_cast<size_t>(buffer->size), '\0');
  EXPECT_EQ(item.GetValueBuffer(raw.data(), buffer->size, false, MXMLItem::kBufferExact), buffer->size);
  EXPECT_EQ(ZlibInflate(raw, data.size()), data);
  // To a stream, rewound for the reader.
  MMemoryStream stream;
  item.WriteValueToStream(stream, true);
  EXPECT_EQ(stream.GetPosition(), 0);
  EXPECT_EQ(std::string(stream.View()), data);
}

TEST(MXMLIteratorTest, WalksDepthFirstAndSkipsOnRequest) {
  MXMLItem root;
  LoadText(root, "<r><a><a1/><a2><a21/></a2></a><b/><c><c1/></c></r>");
  MXMLIterator it;
  std::string order;
  for (MXMLItem* item = it.Begin(root); item; item = it.Next())
    order += ToStd(item->name) + ":" + std::to_string(it.Depth()) + " ";
  EXPECT_EQ(order, "r:0 a:1 a1:2 a2:2 a21:3 b:1 c:1 c1:2 ");
  order.clear();
  for (MXMLItem* item = it.Begin(root); item; item = it.Next(item->name != "a"))
    order += ToStd(item->name) + " ";
  EXPECT_EQ(order, "r a b c c1 ");
  // A walk begun on a subtree stays inside it.
  order.clear();
  for (MXMLItem* item = it.Begin(root.GetSubItem("a")); item; item = it.Next()) order += ToStd(item->name) + " ";
  EXPECT_EQ(order, "a a1 a2 a21 ");
}

TEST(MXMLIteratorTest, NameIteratorVisitsSiblingsOfOneName) {
  MXMLItem root;
  LoadText(root, "<r><file n=\"1\"/><dir/><FILE n=\"2\"/><file n=\"3\"><file n=\"inner\"/></file></r>");
  std::string seen;
  for (MXMLItem& file : MXMLNameIterator(root, "File")) seen += ToStd(file.GetAttribute("n").AsString());
  EXPECT_EQ(seen, "123");
}

}  // namespace
}  // namespace kx
