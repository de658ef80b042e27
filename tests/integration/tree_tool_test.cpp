// kestrix-tree run as a real process on real files: conversions in every
// direction, the dump, and the exit codes and messages of failures and misuse.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/files/path_text.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/base64.h"
#include "foundation/xml/mbx.h"
#include "kestrix_tree/tree_usage.h"
#include "tool_process.h"

namespace kx {
namespace {

using namespace std::string_literals;

const std::string kUsage = ToolSynopsis(kTreeTool);

using testing::ToolResult;

class TreeToolTest : public testing::ToolTest {
 protected:
  TreeToolTest() : ToolTest(testing::kTreePath) {}
  // The tree that a file in any form holds, loaded in this process.
  void LoadTree(MXMLItem& tree, const std::string& name) const {
    tree.LoadFile(FromSystem(Arg(name)));
  }
};

const char kSampleXML[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<PackageDatabase>\n"
    "\t<packages name=\"BINEffects_binx64\">\n"
    "\t\t<stable version=\"15.01\" size=\"1234567\" beta=\"0\" time=\"2024-03-01 10:00\"/>\n"
    "\t\t<beta version=\"15.02\" size=\"1234999\" beta=\"1\" time=\"2024-04-01 09:30\"/>\n"
    "\t</packages>\n"
    "\t<note>caf\xC3\xA9 &amp; more</note>\n"
    "</PackageDatabase>\n";

std::string PrettyXML(const MXMLItem& tree) {
  MMemoryStream stream;
  tree.SaveXML(stream, false, false);
  return std::string(stream.View());
}

TEST_F(TreeToolTest, ConvertsBetweenAllForms) {
  WriteFile("in.xml", kSampleXML);
  MXMLItem original;
  LoadTree(original, "in.xml");

  const struct {
    const char *from, *to, *form;
    bool compress;
    std::string head;
  } steps[] = {
      {"in.xml", "a.mbx", "mbx", false, "\0MBX"s},
      {"a.mbx", "b.mbx", "mbx", true, "\x78\xDA"s},
      {"b.mbx", "c.xml", "xml", false, "<?xml"},
      {"c.xml", "d.xml", "xml", true, "\x78\xDA"s},
  };
  for (const auto& step : steps) {
    std::vector<std::string> arguments{"convert", Arg(step.from), Arg(step.to), "--to", step.form};
    if (step.compress)
      arguments.insert(arguments.begin() + 1, "--compress");  // options go anywhere
    EXPECT_EQ(testing::Outcome(Run(arguments)), std::tuple(0, "", "")) << step.to;
    std::string bytes = ReadFileBytes(File(step.to));
    EXPECT_EQ(bytes.substr(0, step.head.size()), step.head) << step.to;
    if (std::string(step.to) == "d.xml") continue;  // compressed text is no loadable form
    MXMLItem converted;
    LoadTree(converted, step.to);
    EXPECT_EQ(PrettyXML(converted), PrettyXML(original)) << step.to;
  }
  // The pretty text is exactly what the library writes.
  EXPECT_EQ(ReadFileBytes(File("c.xml")), PrettyXML(original));
}

TEST_F(TreeToolTest, DumpsAnyFormAsPrettyXML) {
  WriteFile("in.xml", kSampleXML);
  MXMLItem original;
  LoadTree(original, "in.xml");
  MMemoryStream packed;
  original.SaveMBX(packed, true);
  WriteFile("packed.mbx", std::string(packed.View()));
  WriteFile("line.txt", "$" + ToStd(EncodeBase64(packed.Data(), packed.Size())) + "\n");

  for (const char* name : {"in.xml", "packed.mbx", "line.txt"}) {
    EXPECT_EQ(testing::Outcome(Run({"dump", Arg(name)})), std::tuple(0, PrettyXML(original), ""))
        << name;
  }
}

TEST_F(TreeToolTest, FailuresExitWithTheMessage) {
  WriteFile("binary.mbx", "\0MBXXr\0Q"s);
  WriteFile("truncated.mbx", "\0MBXXr\0Xa\0"s);
  WriteFile("text.txt", "just words\n");
  WriteFile("out.mbx", "old");
  const std::pair<std::string, std::string> cases[] = {
      {"binary.mbx", "Incorrect MBX command identifier.\n"},
      {"truncated.mbx", "Unexpected MBX end.\n"},
      {"text.txt", "Text outside of any element. 'just words'\n"},
      {"missing.xml",
       "File \"" + Arg("missing.xml") +
           "\" could not be opened. Make sure that it exists.\nError: \"No such file or "
           "directory\".\n"},
  };
  for (const auto& [name, message] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(testing::Outcome(Run({"convert", Arg(name), Arg("out.mbx"), "--to", "mbx"})),
              std::tuple(1, "", message));
    EXPECT_EQ(ReadFileBytes(File("out.mbx")), "old");
    EXPECT_EQ(testing::Outcome(Run({"dump", Arg(name)})), std::tuple(1, "", message));
  }
}

TEST_F(TreeToolTest, WrongUsageShowsTheUsageLine) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"list", "a"},
      {"dump"},
      {"dump", "a", "b"},
      {"dump", "a", "--compress"},
      {"convert", "a", "b"},
      {"convert", "a", "b", "--to"},
      {"convert", "a", "b", "--to", "json"},
      {"convert", "a", "--to", "mbx"},
      {"convert", "a", "b", "c", "--to", "mbx"},
      {"convert", "a", "b", "--to", "mbx", "--fast"},
  };
  for (const auto& arguments : cases) {
    EXPECT_EQ(testing::Outcome(Run(arguments)), std::tuple(2, "", kUsage))
        << ::testing::PrintToString(arguments);
  }
}

}  // namespace
}  // namespace kx
