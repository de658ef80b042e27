#include "foundation/xml/xml_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "support/failure_capture.h"
#include "xml_test_support.h"

namespace kx {
namespace {

struct ParseCase {
  const char* input;
  const char* expected;  // Picture of the tree, or "!" and the message
};

const ParseCase kParseCases[] = {
    // blanks and attribute forms
    {"<a  b = \"1\"   />", "a{b=1}"},
    {"<a b = x&amp;y c=\"\"/>", "a{b=x&y,c=}"},
    {"<a b=\"one\ntwo\"/>", "a{b=one two}"},
    {"<a b=\"&#10;y\" c=\"&lt;&gt;&apos;&quot;\"/>", "a{b=\ny,c=<>'\"}"},
    {"<a x=\"1\" x=\"2\"/>", "a{x=1,x=2}"},
    {"<a ?>", "a"},
    // names and structure
    {"<a><b><c/></B><d/></a>", "a[b[c];d]"},
    {"<a>x<b/>y</a>", "a(x y)[b]"},
    {"<a><b>unclosed", "a[b(unclosed)]"},
    {"<a/>trailing text <<< never read", "a"},
    {"<\xc3\xa4 \xc3\xbc=\"\xe2\x82\xac\"/>", "\xc3\xa4{\xc3\xbc=\xe2\x82\xac}"},
    // U+0100, the first unit past the byte-wide class table
    {"<\xc4\x80 \xc4\x80=\xc4\x80>\xc4\x80</\xc4\x80>", "\xc4\x80{\xc4\x80=\xc4\x80}(\xc4\x80)"},
    // text, blanks and entities
    {"<a>  one \t two\n\n three  </a>", "a(one two three)"},
    {"<a>&unknown; &#65; &amp</a>", "a(&unknown; &#65; &amp)"},
    {"<a>1 &lt; 2 > 0 = \"x\" / !</a>", "a(1 < 2 > 0 = \"x\" / !)"},
    // sections, comments, declarations
    {"<a><![CDATA[ <b>&amp; ]]></a>", "a(<b>&amp;)"},
    {"<a><![OTHER[skipped]]></a>", "a"},
    {"<a><!-- <b/> -- x --><c/></a>", "a[c]"},
    {"<!DOCTYPE a \"x>y\"><a/>", "a"},
    {"\xef\xbb\xbf<a>x</a>", "a(x)"},
    // documents without elements
    {"<?xml version=\"1.0\"?>\n<!-- only a comment -->", "!The XML does not contain any elements."},
    // refusals
    {"<a></b>", "!Invalid file contents. Invalid closing element name."},
    {"<a></a b>", "!Invalid file contents. Invalid closing element syntax. 'a'"},
    {"<a><>", "!Invalid file contents. No element name found. '>'"},
    {"<", "!Invalid file contents. No element name found. ''"},
    {"<a ? x>", "!Invalid file contents. Invalid special element sequence. 'x'"},
    {"<a b>", "!Invalid file contents. Invalid character found where attribute was expected. '>'"},
    {"<a b='1 2'>",
     "!Invalid file contents. Invalid character found where attribute was expected. '>'"},
    {"<a/x>", "!Invalid file contents. Invalid element finishing sequence. 'x'"},
    {"<a b=\"1\"=>",
     "!Invalid file contents. Special character found where attribute was expected. '='"},
    {"<a b=\"1", "!Invalid file contents. No ending delimiter found."},
    {"<a><![CDATA[open]]", "!Invalid file contents. No ending delimiter found."},
    {"0123456789012345678901234567890123456789 <a/>",
     "!Text outside of any element. '01234567890123456789012345678901'"},
    {"<?xml encoding=\"no-such\"?>\n<a/>", "!No codec found for encoding no-such."},
};

class XMLParseCaseTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(XMLParseCaseTest, GivesTreeOrMessage) {
  EXPECT_EQ(ParseOrFailure(GetParam().input), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, XMLParseCaseTest, ::testing::ValuesIn(kParseCases),
                         [](const ::testing::TestParamInfo<ParseCase>& info) {
                           return "Case" + std::to_string(info.index);
                         });

TEST(XMLParserTest, ParseFailuresCarryCode256) {
  MXMLItem root;
  EXPECT_EQ(Failure([&] { LoadText(root, "<a></b>"); }).code, 256u);
}

TEST(XMLParserTest, EncodingInstructionSwitchesCodecFromNextLine) {
  struct Case {
    const char* encoding;
    std::string attribute, value;
    std::u16string attributeText, valueText;
  } cases[] = {
      {"windows-1252", "\xe9\x80", "\xfc", u"\u00e9\u20ac", u"\u00fc"},
      {"us-ascii", "ab", "\xe9", u"ab", u"\ufffd"},
      // 5C, the backslash alone, is the trail byte of U+30BD here.
      {"Shift_JIS", "\x83\x5c", "\x82\xa0", u"\u30bd", u"\u3042"},
      {"gb2312", "\xd6\xd0", "\xce\xc4", u"\u4e2d", u"\u6587"},
      {"big5", "\xa4\xa4", "\xa4\xe5", u"\u4e2d", u"\u6587"},
      {"euc-kr", "\xb0\xa1", "\xc7\xd1", u"\uac00", u"\ud55c"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    const std::string document = std::string("<?xml version=\"1.0\" encoding=\"") + c.encoding +
                                 "\"?>\n<a v=\"" + c.attribute + "\">" + c.value + "</a>";
    MXMLItem root;
    LoadText(root, document);
    EXPECT_EQ(root.GetAttribute("v").AsString(), MString(c.attributeText));
    EXPECT_EQ(root.value.AsString(), MString(c.valueText));
  }
}

class MRecordingHandler : public MXMLHandler {
 public:
  explicit MRecordingHandler(int stopAfter) : stopAfter_(stopAfter) {}
  bool OnElement(const MString& name, const MXMLParsedAttributes* attributes,
                 bool closing) override {
    std::string event = (closing ? "/" : "<") + ToStd(name);
    if (attributes)
      for (const MXMLParsedAttribute& attribute : *attributes)
        event += " " + ToStd(attribute.name) + "=" + ToStd(attribute.value);
    events.push_back(event);
    return static_cast<int>(events.size()) == stopAfter_;
  }
  bool OnText(const MString& text) override {
    events.push_back("'" + ToStd(text) + "'");
    return static_cast<int>(events.size()) == stopAfter_;
  }
  std::vector<std::string> events;

 private:
  int stopAfter_;
};

TEST(XMLParserTest, HandlerSeesEventsAndStopsTheParse) {
  const std::string document =
      "<?xml version=\"1.0\"?> <a x=\"1\">  hello   world <b/></a> after <c/>";
  const std::vector<std::string> expected = {"<a x=1", "'hello world '", "<b", "/b",
                                             "/a",     "'after '",       "<c", "/c"};
  for (int stopAfter : {0, 3}) {
    MConstMemoryStream stream(document.data(), static_cast<int64_t>(document.size()));
    MRecordingHandler handler(stopAfter);
    EXPECT_TRUE(MXMLParser(stream).Parse(handler));
    EXPECT_EQ(handler.events,
              std::vector(expected.begin(), expected.begin() + (stopAfter ? stopAfter : 8)));
  }
}

}  // namespace
}  // namespace kx
