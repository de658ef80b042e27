#include "foundation/xml/xml_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <thread>

#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

// Nodes a thread freed, or holds in its cache, go back to the shared pool when
// the thread ends: neither lost to the count nor kept from other threads.
TEST(MNodePoolTest, AThreadsCachedNodesReturnWhenItEnds) {
  auto build = [](MXMLItem& root) {
    for (int i = 0; i < 300; ++i) root.AddSubItem("item").SetAttribute("name", "x");
  };
  const int64_t items = XMLItemPool().LiveNodes();
  const int64_t attributes = XMLAttributePool().LiveNodes();
  auto* handed = new MXMLItem("r");
  std::thread([&] {
    MXMLItem local("r");
    build(local);
    build(*handed);
  }).join();
  EXPECT_EQ(XMLItemPool().LiveNodes(), items + 301);  // the handed root and its items
  EXPECT_EQ(XMLAttributePool().LiveNodes(), attributes + 300);
  const int64_t total = XMLItemPool().TotalNodes();
  std::thread([&] { delete handed; }).join();  // a thread that only frees
  EXPECT_EQ(XMLItemPool().LiveNodes(), items);
  MXMLItem again("r");
  build(again);
  build(again);
  EXPECT_EQ(XMLItemPool().TotalNodes(), total);
}

// The pools hold nodes of their class's size: anything larger (a class derived
// from a pooled one) must not be cut from them.
TEST(MNodePoolTest, LargerObjectsDoNotComeFromThePools) {
  struct WiderItem : MXMLItem {
    char extra[256];
  };
  struct WiderAttribute : MXMLAttribute {
    char extra[256];
  };
  int64_t items = XMLItemPool().LiveNodes();
  int64_t attributes = XMLAttributePool().LiveNodes();
  auto* item = new WiderItem;
  auto* attribute = new WiderAttribute;
  EXPECT_EQ(XMLItemPool().LiveNodes(), items);
  EXPECT_EQ(XMLAttributePool().LiveNodes(), attributes);
  std::fill(std::begin(item->extra), std::end(item->extra), 'x');
  std::fill(std::begin(attribute->extra), std::end(attribute->extra), 'x');
  delete item;
  delete attribute;
  EXPECT_EQ(XMLItemPool().LiveNodes(), items);
}

}  // namespace
}  // namespace kx
