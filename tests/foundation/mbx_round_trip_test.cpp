#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "foundation/compression/zlib_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/mbx.h"
#include "tree_test_support.h"

namespace kx {
namespace {

enum class Form { kMBX, kCompressedMBX, kXML, kCompressedXML };

using FormCase = std::pair<const char*, Form>;  // a name and a form

void Save(const MXMLItem& tree, MStream& stream, Form form) {
  if (form == Form::kMBX || form == Form::kCompressedMBX)
    return tree.SaveMBX(stream, form == Form::kCompressedMBX);
  tree.SaveXML(stream, form == Form::kCompressedXML, false);
}

void Load(MXMLItem& tree, MStream& stream, Form form) {
  if (form == Form::kMBX) return tree.ReadMBX(stream);
  if (form == Form::kCompressedMBX) return tree.ReadMBXAuto(stream);
  if (form == Form::kXML) return tree.LoadXML(stream);
  MZLIBStream inflater;
  inflater.Init(&stream, false);
  tree.LoadXML(inflater);
}

bool IsText(Form form) {
  return form == Form::kXML || form == Form::kCompressedXML;
}

// Every variant type, each at a value its own type needs (so that the binary
// form, which narrows integers, keeps the type), as attributes and as values.
void FillEveryType(MXMLItem& root) {
  MVariant buffer;
  buffer.SetBuffer("\x00\x01\xFE\xFF", 4, false);
  MVariant emptyBuffer;
  emptyBuffer.SetBuffer("", 0, false);
  const MVariant values[] = {
      MVariant(int64_t{-(int64_t{1} << 50)}),
      MVariant(int32_t{1} << 20),
      MVariant(int16_t{-1000}),
      MVariant(int8_t{-7}),
      MVariant(0.25f),
      MVariant(3.141592653589793),
      MVariant(""),
      MVariant(MShortString(u"caf\u00e9 \u00fc")),
      MVariant(MShortString(u"\u0100\u4e2d and a pair \U0001F3B5")),
      MVariant(MShortString(u"line one\nline two & <tag> \"quoted\"")),
      buffer,
      emptyBuffer,
  };
  int index = 0;
  for (const MVariant& value : values) {
    MString name = MString("v") + MString::FromNumber(index++);
    root.AppendAttribute(name, value);
    MXMLItem& item = root.AddSubItem(name);
    // An empty value is not stored: it reads back as an empty string.
    if (!value.IsEmpty()) item.value = value;
    item.AppendAttribute("k", index);
  }
  MXMLItem& packed = root.AddSubItem("packed");
  packed.SetValueBuffer("compressible compressible compressible", 38, true);
  root.AddSubItem("nested").AddSubItem("deeper").AddSubItem("deepest").value = MVariant("end");
}

class TreeRoundTripTest : public ::testing::TestWithParam<FormCase> {};

TEST_P(TreeRoundTripTest, KeepsEveryValue) {
  MXMLItem original("Everything");
  FillEveryType(original);
  MMemoryStream stream;
  Save(original, stream, GetParam().second);
  stream.Seek(0, kSeekBegin);
  MXMLItem back;
  Load(back, stream, GetParam().second);
  EXPECT_EQ(TreeDifference(original, back, IsText(GetParam().second)), "");

  // A compressed buffer keeps its bytes and flag in the binary forms, and gives
  // its inflated bytes in every form.
  MXMLItem& packed = back.GetSubItem("packed");
  char bytes[64] = {};
  EXPECT_EQ(packed.GetValueBuffer(bytes, sizeof bytes, true, MXMLItem::kBufferShort), 38);
  EXPECT_EQ(std::string(bytes, 38), "compressible compressible compressible");
}

INSTANTIATE_TEST_SUITE_P(Forms, TreeRoundTripTest,
                         ::testing::Values(FormCase{"MBX", Form::kMBX},
                                           FormCase{"CompressedMBX", Form::kCompressedMBX},
                                           FormCase{"XML", Form::kXML},
                                           FormCase{"CompressedXML", Form::kCompressedXML}),
                         [](const auto& info) { return std::string(info.param.first); });

// Names and texts of every length up to 40, names repeated and sharing their
// first bytes, come back with the same units and the storage AssignBytes gives
// (inline below 24 units, else a buffer); the last ones lie near the end of the
// stream, where the reader leaves its short ways.
TEST(MBXRoundTripTest, NamesAndTextsOfEveryLength) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJ";
  MXMLItem original("r");
  for (int round = 0; round < 2; ++round) {
    for (int length = 1; length <= 40; ++length) {
      MString name = MString::FromBytes(letters.substr(0, length));
      MXMLItem& item = original.AddSubItem(name);
      item.AppendAttribute(name, MVariant(MString::FromBytes(letters.substr(round, length - 1))));
      item.value = MVariant(MString::FromBytes(letters.substr(2, length)));
    }
  }
  MMemoryStream stream;
  original.SaveMBX(stream, false);
  stream.Seek(0, kSeekBegin);
  MXMLItem back;
  back.ReadMBX(stream);
  ASSERT_EQ(TreeDifference(original, back), "");
  for (const MXMLItem* item = back.firstSubItem; item; item = item->next) {
    const MVariant* values[] = {&item->firstAttribute->value, &item->value};
    for (const MVariant* value : values) {
      MShortString expected;
      std::string text = ToStd(value->Text());
      expected.AssignBytes(text.data(), static_cast<int32_t>(text.size()));
      EXPECT_EQ(value->Text().Kind(), expected.Kind()) << text;
    }
  }
}

}  // namespace
}  // namespace kx
