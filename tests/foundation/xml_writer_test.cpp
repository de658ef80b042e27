#include "foundation/xml/xml_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"
#include "xml_test_support.h"

namespace kx {
namespace {

// r a="1" b="x<y"
//   c (text)   d   e > f g="&\n"
void BuildSmallTree(MXMLItem& root) {
  root.name = "r";
  root.SetAttribute("a", int32_t{1});
  root.SetAttribute("b", "x<y");
  root.AddSubItem("c").value = "text";
  root.AddSubItem("d");
  root.AddSubItem("e").AddSubItem("f").SetAttribute("g", "&\n");
}

TEST(XMLWriterTest, PrettyAndCompactFormsByteExact) {
  MXMLItem root;
  BuildSmallTree(root);
  EXPECT_EQ(SavedText(root, false),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<r a=\"1\" b=\"x&lt;y\">\n"
            "\t<c>\n"
            "\t\ttext\n"
            "\t</c>\n"
            "\t<d/>\n"
            "\t<e>\n"
            "\t\t<f g=\"&amp;&#10;\"/>\n"
            "\t</e>\n"
            "</r>\n");
  EXPECT_EQ(SavedText(root, true),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<r a=\"1\" b=\"x&lt;y\"><c>text</c>\n"
            "<d/>\n"
            "<e><f g=\"&amp;&#10;\"/></e>\n"
            "</r>\n");
}

TEST(XMLWriterTest, IndentStopsAt32Tabs) {
  MXMLItem root("n");
  MXMLItem* item = &root;
  for (int i = 0; i < 40; ++i) item = &item->AddSubItem("n");
  std::string text = SavedText(root, false);
  EXPECT_NE(text.find("\n" + std::string(32, '\t') + "<n/>\n"), std::string::npos);
  EXPECT_EQ(text.find(std::string(33, '\t')), std::string::npos);
}

TEST(XMLWriterTest, EmptyNameRefusedInCompactFormOnly) {
  MXMLItem root("r");
  root.AddSubItem("");
  EXPECT_EQ(SavedText(root, false), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n\t</>\n</r>\n");
  EXPECT_EQ(ToStd(Failure([&] { SavedText(root, true); }).message),
            "XML entity cannot have empty name.");
}

TEST(XMLWriterTest, LongValuesBreakAtFirstBlankAfter60Units) {
  const std::string a59(59, 'a'), c70(70, 'c'), x60(60, 'x');
  const std::pair<std::string, std::string> cases[] = {
      // a value and its lines as written
      {x60, "\t\t" + x60 + "\n"},
      {x60 + " y", "\t\t" + x60 + "\n\t\ty\n"},
      {a59 + " b " + c70 + " d", "\t\t" + a59 + " b\n\t\t" + c70 + "\n\t\td\n"},
  };
  for (const auto& [value, lines] : cases) {
    SCOPED_TRACE(value);
    MXMLItem root("r");
    root.AddSubItem("v").value = MString::FromBytes(value);
    EXPECT_EQ(SavedText(root, false),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n\t<v>\n" + lines + "\t</v>\n</r>\n");
    MXMLItem back;
    LoadText(back, SavedText(root, false));
    EXPECT_EQ(ToStd(back.GetSubItem("v").value.AsString()), value);
  }
}

TEST(XMLWriterTest, EscapingRoundTripsThroughBothForms) {
  const char* const texts[] = {
      "a&b<c>d'e\"f", "&amp; stays literal", "\n", "tail&",
  };
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    MXMLItem root("r");
    root.SetAttribute("attr", text);
    root.AddSubItem("v").value = text;
    for (bool compact : {false, true}) {
      std::string saved = SavedText(root, compact);
      MXMLItem back;
      LoadText(back, saved);
      EXPECT_EQ(ToStd(back.GetAttribute("attr").AsString()), text);
      MString expected(text);
      expected.Trim();  // element text is trimmed, attributes are not
      EXPECT_EQ(ToStd(back.GetSubItem("v").value.AsString()), ToStd(expected));
    }
  }
}

TEST(XMLWriterTest, CompressedSaveIsDeflatedCompactText) {
  MXMLItem root;
  BuildSmallTree(root);
  MMemoryStream packed;
  root.SaveXML(packed, true, false);
  EXPECT_EQ(ZlibInflate(packed.View(), 4096), SavedText(root, true));
}

}  // namespace
}  // namespace kx
