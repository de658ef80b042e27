// Trees far deeper than any call stack would allow if a walk recursed: every
// operation must keep its position in the tree itself or on the heap.
#include <gtest/gtest.h>

#include <string>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "xml_test_support.h"

namespace kx {
namespace {

constexpr int kDepth = 100000;

void BuildChain(MXMLItem& root, int depth) {
  root.name = "n";
  MXMLItem* item = &root;
  for (int i = 1; i < depth; ++i) {
    item = &item->AddSubItem("n");
    item->SetAttribute("d", int32_t{i});
  }
  item->value = "leaf";
}

int ChainDepth(const MXMLItem& root, const MXMLItem** leaf) {
  int depth = 1;
  const MXMLItem* item = &root;
  for (; item->firstSubItem; ++depth) item = item->firstSubItem;
  *leaf = item;
  return depth;
}

TEST(XMLDeepTreeTest, BuildCopyMergeWalkAndFree) {
  auto* root = new MXMLItem;
  BuildChain(*root, kDepth);
  {
    MXMLItem copy;
    copy.CopyFrom(*root);
    const MXMLItem* leaf;
    EXPECT_EQ(ChainDepth(copy, &leaf), kDepth);
    EXPECT_EQ(leaf->GetAttribute("d").AsInt(), kDepth - 1);
  }
  MXMLItem merged("m");
  merged.Merge(*root);
  const MXMLItem* leaf;
  EXPECT_EQ(ChainDepth(merged, &leaf), kDepth);
  MXMLIterator it;
  int visited = 0;
  for (MXMLItem* item = it.Begin(*root); item; item = it.Next()) ++visited;
  EXPECT_EQ(visited, kDepth);
  delete root;  // the destructor must not recurse either
  merged.Clear();
}

TEST(XMLDeepTreeTest, WriteAndReadEveryForm) {
  MXMLItem root;
  BuildChain(root, kDepth);
  for (int form = 0; form < 4; ++form) {
    SCOPED_TRACE(form);
    MMemoryStream stream;
    if (form < 2) root.SaveXML(stream, false, form == 1);
    else root.SaveMBX(stream, form == 3);
    stream.Seek(0, kSeekBegin);
    MXMLItem back;
    if (form < 2) back.LoadXML(stream);
    else back.ReadMBXAuto(stream);
    const MXMLItem* leaf;
    EXPECT_EQ(ChainDepth(back, &leaf), kDepth);
    EXPECT_EQ(ToStd(leaf->value.AsString()), "leaf");
  }
}

TEST(XMLDeepTreeTest, UnclosedDeepDocumentLoads) {
  std::string document;
  for (int i = 0; i < kDepth; ++i) document += "<a>";
  MXMLItem root;
  LoadText(root, document);
  const MXMLItem* leaf;
  EXPECT_EQ(ChainDepth(root, &leaf), kDepth);
}

}  // namespace
}  // namespace kx
