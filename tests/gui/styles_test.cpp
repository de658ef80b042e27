// The style: "Neon" from the compiled-in block with every element, an edited
// copy on disk taking over, and the reading rules of settings, metrics, modes
// and oversampling.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "foundation/core/run_state.h"
#include "foundation/resources/resource_library.h"
#include "foundation/resources/resource_small_writer.h"
#include "foundation/streams/file_stream.h"
#include "foundation/xml/xml_item.h"
#include "gui/styles/style_metrics.h"
#include "gui/styles/textured_styles.h"
#include "support/sandbox.h"

namespace kx {
namespace {

class StylesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = DataFolder;
    DataFolder = MString::FromUTF8(sandbox_.Root().string());
  }
  void TearDown() override { DataFolder = saved_; }
  MTestSandbox sandbox_;
  MString saved_;
};

TEST_F(StylesTest, NeonFromTheProgramHasEveryElement) {
  auto style = MTexturedStyles::LoadStyle(MStyleSettings{});
  for (const char* name :
       {"window",      "panel",           "control",    "display",  "editor",        "edit",
        "value",       "selector",        "menu",       "button",   "captionbutton", "radiobutton",
        "checkbox",    "controlcheckbox", "tracker",    "vtracker", "progressbar",   "knob",
        "rotator",     "hscrollbar",      "vscrollbar", "tabset",   "menubar",       "listcontrol",
        "treecontrol", "splitter"})
    EXPECT_NE(style->FindElement(name), nullptr) << name;
  EXPECT_EQ(style->GetMetric(StyleMetricIndex("AutoColorInvertLimit")), 128);  // 0 in the file
  EXPECT_TRUE(style->GetFont(0).IsLoaded());
  // Every part painting in every state is seen on the contact sheet's test.
  for (const auto& [name, element] : style->Elements())
    for (const auto& [part, image] : element.parts)
      EXPECT_EQ(image.Oversampling(), 2) << name << " " << part;
}

TEST_F(StylesTest, AnEditedCopyOnDiskOverridesTheBuiltInStyle) {
  // The generated file, edited: a new text colour, a probe element with an
  // unknown mode word and oversampling 2.
  MResourceLibrary neon;
  MFileStream in(MString(KESTRIX_BINARY_DIR "/generated/style/Neon.mstyle"), MFileStream::kModeRead);
  neon.AttachSmall(in);
  MSmallLibraryWriter writer(MString("mstyle"));
  for (MXMLItem* section = neon.GetDefinition().firstSubItem; section; section = section->next) {
    if (section->GetName().ToUTF8String() == "resources") continue;
    writer.Root().AddSubItem(section->GetName()).CopyFrom(*section);
  }
  for (int32_t i = 0; i < neon.GetResourceCount(); ++i) {
    MResourceEntry& entry = neon.GetEntry(i);
    writer.Add(entry.id, entry.memory.Data(), entry.memory.Size(), false);
  }
  writer.Root().GetSubItem("colors").SetAttribute("text", "#FF2010");
  MXMLItem& probe = writer.Root().GetSubItem("elements").AddSubItem(MString("probe"));
  probe.SetAttribute("normal", "button_normal.png");
  probe.SetAttribute("Oversampling", 2);
  probe.SetAttribute("op", "Sparkle");
  MFileStream out(MString::FromUTF8((sandbox_.Root() / "Neon.mstyle").string()), MFileStream::kModeCreate);
  writer.Write(out, true);
  out.Close();

  auto style = MTexturedStyles::LoadStyle(MStyleSettings{});
  EXPECT_EQ(style->GetColor(MStyleColor::kText), MColor::RGBA(0xFF, 0x20, 0x10));
  const MStyleImage& image = style->FindElement("probe")->parts.at("normal");
  EXPECT_EQ(image.Mode(), MDrawingMode::kAlphaBlend);
  EXPECT_EQ(image.DesignWidth() * 2, image.Bitmap().Width());
  EXPECT_EQ(image.DesignWidth(), 40);
}

TEST(StyleSettings, ResizeBelowATenthResetsAndScalesOtherwise) {
  for (auto [resize, want] : {std::pair{0.05, 1.0}, std::pair{0.0, 1.0}, std::pair{2.0, 2.0}}) {
    MXMLItem item(MString("settings"));
    item.SetAttribute("Resize", resize);
    MStyleSettings settings;
    settings.Read(item);
    EXPECT_EQ(settings.resize, want) << resize;
  }
  auto style = NeonAt(2.0);
  EXPECT_EQ(style->ScaleX(10), 20);
  EXPECT_EQ(style->GetMetric(StyleMetricIndex("DefaultListBoxItemHeight")), 40);
}

}  // namespace
}  // namespace kx
