// The preset merge on real files in a sandbox.
#include "presets/preset_merge.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/files/file_ops.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "presets/preset_store.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

const MDateTime kItemTime{2024, 5, 6, 7, 8, 9, 0};

void ParseXML(MXMLItem& tree, const std::string& text) {
  MConstMemoryStream stream(text.data(), static_cast<int64_t>(text.size()));
  tree.LoadXML(stream);
}

// "folder/name" of every preset, in document order.
std::vector<std::string> PresetPaths(MXMLItem& tree) {
  std::vector<std::string> paths;
  MXMLIterator walk;
  walk.Begin(tree);
  for (MXMLItem* item = walk.Next(); item; item = walk.Next(!(item->name == "preset"))) {
    if (!(item->name == "preset")) continue;
    std::string path;
    for (MXMLItem* at = item->parent; at && at != &tree; at = at->parent)
      path = ToStd(at->GetAttribute("Name").AsString()) + "/" + path;
    MXMLAttribute* name = item->FindAttribute("name");
    paths.push_back(path + (name ? ToStd(name->value.AsString()) : std::string("?")));
  }
  return paths;
}

class PresetMergeTest : public FileTestBase {
 protected:
  int32_t Merge(const std::string& target, const std::string& shipped) {
    report.Clear();
    MConstMemoryStream stream(shipped.data(), static_cast<int64_t>(shipped.size()));
    return MergePresetFile(context, Path(target), stream, kItemTime, report);
  }

  std::vector<std::string> PathsInFile(const std::string& name) {
    MXMLItem tree;
    tree.LoadFile(Path(name));
    return PresetPaths(tree);
  }

  MDateTime WriteTime(const std::string& name) {
    MDateTime time;
    MFile::GetFileTime(Path(name), nullptr, nullptr, &time);
    return time;
  }

  MPresetContext context;
  MString report;
};

const char kShipped[] =
    "<Synth Name=\"Synth\">"
    "<preset name=\"Init\" cutoff=\"0.5\"/>"
    "<Directory Name=\"Leads\"><preset name=\"Saw Lead\" cutoff=\"0.9\" ExchangeIndex=\"4\"/></Directory>"
    "</Synth>";

TEST_F(PresetMergeTest, UserPresetsSurviveAndShippedOnesAreAddedOnce) {
  WriteFile("Synth.presets",
            "<Synth Name=\"Synth\">"
            "<preset name=\"Init\" cutoff=\"0.1\"/>"                // same name, other values
            "<preset name=\"My  Sound \" cutoff=\"0.3\"/>"          // the user's own
            "<Directory Name=\"Leads\"><preset name=\"Saw Lead\" cutoff=\"0.9\"/></Directory>"
            "</Synth>");
  WriteFile("Synth.presetsbackup", "old backup");

  EXPECT_EQ(Merge("Synth.presets", kShipped), 1);
  std::string target = ToStd(Path("Synth.presets"));
  EXPECT_EQ(ToStd(report), "Merging.\nReturned count: 1\nSaving backup\nSaving new file" + target +
                               "\nAdded presets : 1");
  // "Saw Lead" matched although only the shipped copy has an ExchangeIndex.
  EXPECT_EQ(PathsInFile("Synth.presets"),
            (std::vector<std::string>{"Init", "My Sound", "Leads/Saw Lead", "Init"}));
  MXMLItem saved;
  saved.LoadFile(Path("Synth.presets"));
  EXPECT_EQ(ToStd(saved.name), "Synth");
  EXPECT_EQ(WriteTime("Synth.presets"), kItemTime);
  EXPECT_FALSE(MFile::Exists(Path("Synth.presetsbackup"))) << "the backup step keeps nothing";

  // The same package again: the time says it is done.
  EXPECT_EQ(Merge("Synth.presets", kShipped), 0);
  EXPECT_EQ(ToStd(report), "Omitting because unchanged.");
  EXPECT_EQ(PathsInFile("Synth.presets").size(), 4u);
}

TEST_F(PresetMergeTest, ShortcutsAndTheWholeWrite) {
  // No file and no older one: the shipped bytes as they are.
  EXPECT_EQ(Merge("New.presets", kShipped), kPresetFileWrittenWhole);
  EXPECT_EQ(ToStd(report), "");
  EXPECT_EQ(ReadFileBytes(Native("New.presets")), kShipped);

  EXPECT_EQ(Merge("New.presets", kShipped), 0);
  EXPECT_EQ(ToStd(report), "Omitting because unchanged.");

  // A time with a sub-second part never equals a file's whole seconds.
  WriteFile("Other.presets", "<Synth><preset name=\"Init\" cutoff=\"0.5\"/></Synth>");
  MDateTime fractional = kItemTime;
  fractional.milliseconds = 500;
  MFile::SetFileTime(Path("Other.presets"), nullptr, nullptr, &kItemTime);
  MMemoryStream stream;
  stream.Write(kShipped, static_cast<int64_t>(std::strlen(kShipped)));
  report.Clear();
  EXPECT_EQ(MergePresetFile(context, Path("Other.presets"), stream, fractional, report), 1);
}

TEST_F(PresetMergeTest, NothingAddedLeavesTheFileAlone) {
  const std::string user =
      "<Synth><preset name=\"Init \" cutoff=\"0.5\"/><Directory Name=\"Leads\">"
      "<preset name=\"Saw  Lead\" cutoff=\"0.9\"/></Directory></Synth>";
  WriteFile("Synth.presets", user);
  MDateTime before = WriteTime("Synth.presets");
  EXPECT_EQ(Merge("Synth.presets", kShipped), 0);
  EXPECT_EQ(ToStd(report), "Merging.\nReturned count: 0");
  EXPECT_EQ(ReadFileBytes(Native("Synth.presets")), user);
  EXPECT_EQ(WriteTime("Synth.presets"), before);
}

TEST_F(PresetMergeTest, OlderPresetsFileIsTheBase) {
  WriteFile("Synthpresets.xml", "<Synth><preset name=\"Mine\" cutoff=\"0.2\"/></Synth>");
  EXPECT_EQ(Merge("Synth.presets", kShipped), 2);
  EXPECT_EQ(PathsInFile("Synth.presets"), (std::vector<std::string>{"Mine", "Init", "Leads/Saw Lead"}));
  EXPECT_TRUE(MFile::Exists(Path("Synthpresets.xml")));
}

TEST_F(PresetMergeTest, StyleSettingsEndWithTheShippedSchemesFirst) {
  WriteFile("stylesettings_Dark.presets",
            "<Styles><preset name=\"Mine\" hue=\"1\"/><preset name=\"Dark\" hue=\"2\"/></Styles>");
  EXPECT_EQ(Merge("stylesettings_Dark.presets",
                  "<Styles><preset name=\"Dark\" hue=\"3\"/><preset name=\"Light\" hue=\"4\"/></Styles>"),
            2);
  EXPECT_EQ(report.Find(MString("Merging.\nStyle settings -> inverted merging\nReturned count: 2")), 0);
  MXMLItem tree;
  tree.LoadFile(Path("stylesettings_Dark.presets"));
  std::vector<std::string> hues;
  for (MXMLItem* item = tree.firstSubItem; item; item = item->next)
    hues.push_back(ToStd(item->GetAttribute("hue").AsString()));
  EXPECT_EQ(hues, (std::vector<std::string>{"3", "4", "1", "2"}));
}

TEST_F(PresetMergeTest, KeysOfPresets) {
  const struct {
    const char *what, *user, *shipped;
    int32_t added;
  } cases[] = {
      {"compressed text decides, other attributes do not",
       "<S><preset name=\"A\" compressed=\"eJzLSM3JyQcABiwCFQ==\" Favourite=\"1\"/></S>",
       "<S><preset name=\"A\" compressed=\"eJzLSM3JyQcABiwCFQ==\"/></S>", 0},
      {"equal data compressed otherwise counts as new",
       "<S><preset name=\"A\" compressed=\"eJzLSM3JyQcABiwCFQ==\"/></S>",
       "<S><preset name=\"A\" compressed=\"eNrLSM3JyQcABiwCFQ==\"/></S>", 1},
      {"attribute order is part of the key", "<S><preset name=\"A\" x=\"1\" y=\"2\"/></S>",
       "<S><preset name=\"A\" y=\"2\" x=\"1\"/></S>", 1},
      {"names compare after normalisation", "<S><preset name=\"Big\t Pad\" x=\"1\"/></S>",
       "<S><preset name=\"Big Pad \" x=\"1\"/></S>", 0},
      {"child elements are not part of the key",
       "<S><preset name=\"A\"><state v=\"1\"/></preset></S>",
       "<S><preset name=\"A\"><state v=\"2\"/></preset></S>", 0},
      {"a duplicate within the shipped file is added once", "<S/>",
       "<S><preset name=\"A\"/><preset name=\"A\"/></S>", 1},
  };
  for (const auto& c : cases) {
    MXMLItem user, shipped;
    ParseXML(user, c.user);
    ParseXML(shipped, c.shipped);
    NormalizePresetNames(user);
    NormalizePresetNames(shipped);
    EXPECT_EQ(MergePresetTrees(context, user, shipped), c.added) << c.what;
  }

  WriteFile("Bad.presets", "<S><preset name=\"A\"/></S>");
  EXPECT_EQ(MessageOf([&] { Merge("Bad.presets", "<S><preset/></S>"); }), "Cannot merge presets without names.");
}

TEST_F(PresetMergeTest, AddedPresetsKeepTheirFolderPath) {
  MXMLItem user, shipped;
  // A folder without a name is another than one with a name.
  ParseXML(user, "<S><Directory Name=\"Bass\"><preset name=\"Sub\"/></Directory><Directory/></S>");
  ParseXML(shipped,
           "<S><Directory Name=\"Leads\"><Directory Name=\"Mono\" color=\"red\"><preset name=\"Acid\"/>"
           "</Directory></Directory><Directory Name=\"Bass\"><preset name=\"Wobble\"/></Directory></S>");
  EXPECT_EQ(MergePresetTrees(context, user, shipped), 2);
  EXPECT_EQ(PresetPaths(user), (std::vector<std::string>{"Bass/Sub", "Bass/Wobble", "Leads/Mono/Acid"}));
  MXMLItem& mono = *user.firstSubItem->next->next->firstSubItem;
  EXPECT_EQ(ToStd(mono.GetAttribute("color").AsString()), "red");
}

TEST(PresetStoreTest, NameNormalisation) {
  const std::pair<const char*, const char*> cases[] = {
      {"Pad One", "Pad One"},   {"Pad  One", "Pad One"}, {"Pad \t\nOne", "Pad\nOne"},
      {"Pad One ", "Pad One"},  {" Pad", " Pad"},        {"  Pad", " Pad"},
      {"", ""},                 {"   ", ""},             {"Pad O", "Pad O"},
      {"Go!  Now", "Go! Now"},  {"Go !Now", "Go !Now"},  // '!' is the first unit that is no blank
  };
  for (const auto& [name, normal] : cases)
    EXPECT_EQ(ToStd(NormalizePresetName(MString(name))), normal) << '"' << name << '"';
}

TEST(PresetStoreTest, ExchangeIndexNumbering) {
  MXMLItem tree;
  ParseXML(tree,
           "<S><preset name=\"a\"/><preset name=\"b\" ExchangeIndex=\"70\"/>"
           "<Directory Name=\"d\"><preset name=\"c\"/></Directory>"
           "<Randomizer><preset name=\"r\"/></Randomizer></S>");
  auto indices = [&] {
    std::vector<std::string> result;
    MXMLIterator walk;
    for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next())
      if (MXMLAttribute* index = item->FindAttribute("ExchangeIndex"); item->name == "preset")
        result.push_back(index ? ToStd(index->value.AsString()) : "-");
    return result;
  };
  EXPECT_EQ(AssignExchangeIndices(tree, 10, false), 12);
  EXPECT_EQ(indices(), (std::vector<std::string>{"10", "70", "11", "-"}));
  EXPECT_EQ(AssignExchangeIndices(tree, 1, true), 4);
  EXPECT_EQ(indices(), (std::vector<std::string>{"1", "2", "3", "-"}));
}

TEST(PresetStoreTest, CategoriesAndFileNames) {
  const std::pair<const char*, const char*> cases[] = {
      {"Big DRUM loop", "Drums"}, {"Arp Bass", "Arp"},     {"Sub bass", "Bass"},   {"Space FX", "FX"},
      {"Effect 2", "FX"},         {"Warm Pad", "Pad"},     {"Keys", "Keyboards"},  {"Seq 1", "Sequences"},
      {"Drone", "Drones"},        {"Strings", "Strings"},  {"Gator", "Gator"},     {"Nothing", ""},
  };
  for (const auto& [name, folder] : cases) EXPECT_EQ(ToStd(PresetCategory(MString(name))), folder) << name;
  EXPECT_EQ(ToStd(PresetFileName(MString("MEqualizer"))), "MEqualizer.presets");
}

}  // namespace
}  // namespace kx
