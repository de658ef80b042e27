// Rich text: the tree the mark-up builds (as a compact dump), layout facts of
// the program's own texts at three widths and two scales, with one PNG sheet
// per width among the build's artefacts (artefacts/gui/stml-<width>.png), and
// hostile texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "control_test_support.h"
#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/richtext/content.h"
#include "gui/richtext/content_objects.h"
#include "gui/richtext/content_paragraph.h"
#include "gui/richtext/content_table.h"
#include "gui/styles/textured_styles.h"
#include "media/bitmap/bitmap.h"
#include "support/failure_capture.h"
#include "support/sandbox.h"

namespace kx {
namespace {

// "P" paragraphs with their runs as text/font,colour,alpha[,#custom colour] (the
// end of the text is a line end, read as a blank); "R[...]" rows,
// "C[...]" cells, "img" objects.
std::string Dump(const MContentElements& elements);

std::string DumpElement(const MContentElement& element) {
  if (auto* p = dynamic_cast<const MContentParagraph*>(&element)) {
    std::string out = "P" + std::to_string(p->Flags) + "{";
    for (const MContentRun& run : p->Runs) {
      if (&run != &p->Runs.front()) out += "|";
      out += run.Object ? "img" : run.Text.ToUTF8String();
      out += "/" + std::to_string(run.Font) + "," + std::to_string(run.ColorIndex) + "," + std::to_string(run.Alpha);
      char custom[12] = "";
      if (run.CustomColor) std::snprintf(custom, sizeof custom, ",#%08X", run.CustomColor);
      out += custom;
    }
    return out + "}";
  }
  if (auto* row = dynamic_cast<const MContentRow*>(&element)) return "R[" + Dump(row->Elements) + "]";
  if (auto* cell = dynamic_cast<const MContentCell*>(&element)) return "C[" + Dump(cell->Elements) + "]";
  if (dynamic_cast<const MContentObject*>(&element)) return "img";
  return "?";
}

std::string Dump(const MContentElements& elements) {
  std::string out;
  for (const auto& element : elements) out += DumpElement(*element);
  return out;
}

TEST(StmlTree, TagsChangeStateAndBuildTheTree) {
  const std::pair<const char*, const char*> cases[] = {
      // An unclosed colour runs on to the end.
      {"a<cgreen>b<p>c", "P0{a/-1,-1,255|b/-1,3,255}P0{c /-1,3,255}"},
      // Open and close at once: no effect; the empty run is reused.
      {"a<s/>b", "P0{a/-1,-1,255|b /-1,-1,255}"},
      {"a<p><p>b", "P0{a/-1,-1,255}P0{/-1,-1,255}P0{b /-1,-1,255}"},
      // A metric as width and unquoted values.
      {"<tr padding=0 cellspaces=0 height=100%><td valign=center width=MaxStdIconSizeX>"
       "<img icon={0} align=center valign=center>",
       "R[C[P0{img/-1,-1,255}]]"},
      {"<cred>x<alpha value=120>y<alpha value=60>z</alpha>w</alpha>v",
       "P0{x/-1,2,255|y/-1,2,120|z/-1,2,60|w/-1,2,120|v /-1,2,255}"},
      // Text between cells is dropped; after the row it goes to the document.
      {"<tr><td>a</td>lost<td>b</td></tr>after",
       "R[C[P0{a/-1,-1,255}]C[P0{b/-1,-1,255}]]P0{after /-1,-1,255}"},
      {"<tagset name=inner><cred></tagset><tagset name=outer><l1><inner></tagset><outer>x</outer>y",
       "P0{x/4,2,255|y /-1,-1,255}"},
      {"<tagset name=\"name\"><l1><cred></tagset><name>x</name>y", "P0{x/4,2,255|y /-1,-1,255}"},
      // Built-in names win over tagsets; closers without openers pop nothing.
      {"<tagset name=b><cred></tagset></i></cred><b>x", "P0{x /1,-1,255}"},
      {"<center invert=1 singleline=1><l2>T</l2></center><left>x",
       "P17{T/5,-1,255|/-1,-1,255}P0{x /-1,-1,255}"},
      {"<li>one</li><li size=1>two</li>",
       "R[C[img]C[P0{one/-1,-1,255}]]R[C[img]C[P0{two/-1,-1,255}]]"},
      {"a<hline>b<spacer>c", "P0{a/-1,-1,255|img/-1,-1,255}P0{b/-1,-1,255| c /-1,-1,255}"},
      // `</c>` has no colour to pop: the custom one holds until `<cd>`.
      {"<c color=#FF0000>r</c>s<cd>t</cd>",
       "P0{rs/-1,0,255,#FFFF0000|t/-1,0,255| /-1,0,255,#FFFF0000}"},
      {"<c color=#FF0000>r</c>s<cd>t", "P0{rs/-1,0,255,#FFFF0000|t /-1,0,255}"},
      // A blank after a closing tag stays when a word stood before the tag.
      {"Click <cred>Try again</cred> to <b> </b>retry",
       "P0{Click /-1,-1,255|Try again/-1,2,255| to /-1,-1,255|retry /-1,-1,255}"},
      {"<td>x<tr><td>in</td></tr>", "P0{x/-1,-1,255}R[C[P0{in/-1,-1,255}]]"},
  };
  for (const auto& [text, tree] : cases)
    EXPECT_EQ(Dump(MContent(MString::FromUTF8(text)).Elements), tree) << text;
}

// ---- the program's texts ------------------------------------------------------

const char* const kHelpPrefix =
    "<tagset name=\"name\"><l1><cred></tagset><tagset name=\"shortcut\"><p><cgreen></tagset>"
    "<tagset name=\"control\"><cgreen></tagset><tagset name=\"reference\"><cred><i></tagset>"
    "<tagset name=\"module\"><b><cred></tagset>";

std::vector<std::string> ProgramTexts() {
  const std::string help = std::string(kHelpPrefix) +
      "<p><s/><left><name>Repair install</name> reinstalls (repairs) all installed plugin and instrument "
      "packages. This maybe useful i.e if you deleted by accident some of the installations files, or your "
      "computer was restarted during installation process etc.<p>You have option to repair the installation "
      "using currently downloaded installation packages (faster) or re-download installation packages again, "
      "which is slower, but recommended in case of malfunctioning installation.<p/><p><i><cgreen>Move mouse "
      "cursor on a control and press F1 to get detailed info about it. If the F1 key is captured by another "
      "application, try using Ctrl+F1 or Ctrl+H.</cgreen></i><center invert=1 singleline=1><l2>Control "
      "meaning</l2></center><left>The button starts the repair.<center invert=1 singleline=1><l2>General "
      "control usage</l2></center><tr><td><left><li>Click the button to press it.</li><li>Press space or "
      "enter when it has the focus.</li></td></tr>";
  return {
      "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]<p>If list_of_plugins is empty, all will be "
      "(un)installed ",
      "<b>Could not rewrite file</b><p><p singleline=1>/home/user/.vst/Vorlund/TonvaultLE.so<p><p>Make sure all "
      "applications have been closed. Try switching off your DAW or restarting your computer and trying "
      "again.<p><p>Click <cred>Try again</cred> to retry installing the file.<p>Click <cred>Ignore</cred> to "
      "continue without installing the file.<p>Click <cred>Cancel</cred> to abort the installation.<p><p><i>Error: "
      "Permission denied.",
      std::string(kHelpPrefix) + "<name>Uninstall all</name> unistalls all installed plugins or instruments.<p>If "
      "you want to uninstall just one plugin or instrument, de-select it and use the <reference>Install / change "
      "button</reference> instead.",
      "Please make sure the <cgreen>Tonvault sample path</cgreen> and <cgreen>Kitvault factory path</cgreen> are "
      "different. Keeping them identical could make things very messy and chaotic.",
      "Instruction set support:\n<p>SSE2: <cgreen>yes (not fully used)</cgreen>\n<p>AVX512: <cred>no</cred>\n<p>",
      "<center><l1>Tonvault <cgreen>(new)</cgreen></l1><spacer><spacer><i>Installed</i>",
      "<p singleline=1>Factory <alpha value=120><i>(12 of 40)",
      "Offline installation data successfully created at: <p><p singleline=1><b>/home/user/Kestrix "
      "offline</b><p><p>Copy this folder i.e. to an external drive.<hline><justify>Justified text stretches "
      "its blanks so that every line but the last ends at the right edge of the box.",
      help,
  };
}

class StmlLayout : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sandbox_ = new MTestSandbox();
    for (int i = 0; i < 2; ++i) styles_[i] = NeonAt(i + 1.0).release();
  }
  static void TearDownTestSuite() {
    for (auto*& style : styles_) delete std::exchange(style, nullptr);
    delete std::exchange(sandbox_, nullptr);
  }
  static MTestSandbox* sandbox_;
  static MTexturedStyle* styles_[2];
};
MTestSandbox* StmlLayout::sandbox_ = nullptr;
MTexturedStyle* StmlLayout::styles_[2] = {};

struct Measured {
  int32_t height = 0, lines = 0;
};

// Lines of all paragraphs, also inside tables; checks that wrapped lines fit.
int32_t CountLines(const MContentElements& elements, int32_t width) {
  int32_t lines = 0;
  for (const auto& element : elements) {
    if (auto* p = dynamic_cast<MContentParagraph*>(element.get())) {
      lines += p->LineCount();
      if (!(p->Flags & kParagraphSingleLine)) {
        EXPECT_LE(p->WidestLine(), width);
      }
    } else if (auto* container = dynamic_cast<MContentContainer*>(element.get())) {
      lines += CountLines(container->Elements, width);
    }
  }
  return lines;
}

TEST_F(StmlLayout, ProgramTextsWrapWithinTheWidthAtBothScales) {
  const auto texts = ProgramTexts();
  std::vector<MContent> contents;
  for (const std::string& text : texts) contents.emplace_back(MString::FromUTF8(text));
  std::vector<std::vector<Measured>> previous(2, std::vector<Measured>(texts.size()));
  const MColor ground = styles_[0]->GetColor(MStyleColor::kBackground);
  for (int32_t width : {600, 360, 200}) {
    // Each text painted alone on the ground, twice as wide: nothing may fall
    // right of the width. One sheet per width: scale 1 left, scale 2 right.
    const int32_t gap = 16;
    std::vector<MBitmap> painted[2];
    int32_t sheetHeight[2] = {gap, gap};
    for (int s = 0; s < 2; ++s) {
      const int32_t w = width * (s + 1);
      for (size_t t = 0; t < texts.size(); ++t) {
        MBitmap probe(1, 1);
        MDrawerToMBitmap measure(probe);
        measure.SetStyle(styles_[s]);
        const int32_t h = contents[t].ComputeHeight(measure, w);
        const Measured now{h, CountLines(contents[t].Elements, w)};
        EXPECT_GT(h, 0) << texts[t];
        EXPECT_GE(now.height, previous[s][t].height) << width << " " << texts[t];
        EXPECT_GE(now.lines, previous[s][t].lines) << width << " " << texts[t];
        previous[s][t] = now;
        sheetHeight[s] += h + gap;

        MBitmap& alone = painted[s].emplace_back(2 * w, h);
        MDrawerToMBitmap drawer(alone);
        drawer.FillRectangle({0, 0, alone.Width() - 1, h - 1},
                             MBrush{ground, 1, MDrawingMode::kCopy});
        const uint32_t groundBits = alone.Pixels()[0];
        drawer.SetStyle(styles_[s]);
        contents[t].Paint(drawer, {0, 0, w - 1, h - 1});
        int32_t inkRight = -1;
        for (int32_t y = 0; y < h; ++y)
          for (int32_t x = w; x < alone.Width(); ++x)
            if (alone.Pixels()[static_cast<int64_t>(y) * alone.Width() + x] != groundBits)
              inkRight = std::max(inkRight, x);
        // The glyph that ends a line may reach one pixel past its advance.
        EXPECT_LE(inkRight, w) << "width " << w << ": " << texts[t];
      }
    }
    MBitmap sheet(gap * 3 + width * 3, std::max(sheetHeight[0], sheetHeight[1]));
    MDrawerToMBitmap sheetDrawer(sheet);
    sheetDrawer.FillRectangle({0, 0, sheet.Width() - 1, sheet.Height() - 1},
                              MBrush{ground, 1, MDrawingMode::kCopy});
    for (int s = 0; s < 2; ++s) {
      const int32_t w = width * (s + 1), left = s == 0 ? gap : 2 * gap + width;
      int32_t top = gap;
      for (const MBitmap& alone : painted[s]) {
        sheetDrawer.Rectangle({left - 1, top - 1, left + w, top + alone.Height()},
                              MBrush{styles_[0]->GetColor(MStyleColor::kBorder)});
        sheetDrawer.BitBlt(MPoint{left, top}, alone, {0, 0, w - 1, alone.Height() - 1}, 255, MDrawingMode::kCopy);
        top += alone.Height() + gap;
      }
    }
    MFileStream out(MString::FromUTF8(std::string(KESTRIX_BINARY_DIR "/artefacts/gui/stml-") +
                                      std::to_string(width) + ".png"),
                    MFileStream::kModeCreate);
    sheet.SavePNG(out);
  }
}

TEST_F(StmlLayout, EmptyParagraphIsOneLineOfTheFontAndPaintNeverParses) {
  MBitmap target(300, 200);
  MDrawerToMBitmap drawer(target);
  drawer.SetStyle(styles_[0]);
  MContent one(MString("a")), blank(MString("a<p><p>b")), two(MString("a<p>b"));
  const int32_t line = styles_[0]->GetFont(0).LineHeight();
  EXPECT_EQ(one.ComputeHeight(drawer, 300), line);
  EXPECT_EQ(two.ComputeHeight(drawer, 300), 2 * line);
  EXPECT_EQ(blank.ComputeHeight(drawer, 300), 3 * line);

  const int64_t parses = MContent::ParseCount();
  for (int round = 0; round < 3; ++round) {
    blank.ComputeHeight(drawer, 300 - round * 50);
    blank.Paint(drawer, {0, 0, 299 - round * 50, 199});
  }
  MContent copy(blank);
  copy.ComputeHeight(drawer, 100);
  copy.Paint(drawer, {0, 0, 99, 199});
  EXPECT_EQ(MContent::ParseCount(), parses);
}

TEST_F(StmlLayout, CellWidthsShareWhatFixedCellsLeave) {
  struct Case {
    const char* row;
    int32_t width;
    int scale;
    std::vector<int32_t> widths;
  };
  const Case cases[] = {
      // 200 - 2 * 2 padding - 2 * 4 spaces = 188; 30% and two cells sharing 70%.
      {"<tr padding=2 cellspaces=4><td width=30%><td><td>", 200, 1, {56, 65, 65}},
      // Rounding falls on the later cells: 33, 33, 34 percent.
      {"<tr><td><td><td>", 100, 1, {33, 33, 34}},
      {"<tr><td width=50 padding=1><td width=25%><td>", 300, 1, {52, 62, 186}},
      // Pixels and metrics scale; the metric is the style's, scaled already.
      {"<tr><td width=10><td width=MaxStdIconSizeX><td>", 300, 2, {20, 32, 248}},
      {"<tr><td width=200%><td width=0%>", 100, 1, {100, 0}},
  };
  MBitmap probe(1, 1);
  for (const Case& c : cases) {
    MDrawerToMBitmap drawer(probe);
    drawer.SetStyle(styles_[c.scale - 1]);
    MContent content(MString(c.row));
    auto& row = dynamic_cast<MContentRow&>(*content.Elements[0]);
    row.ComputeCellWidths(drawer, c.width);
    EXPECT_EQ(row.CellWidths(), c.widths) << c.row;
  }
}

TEST_F(StmlLayout, ColoursMultiplyAlphaAndGradientsMoveTheStrongestChannel) {
  MBitmap probe(1, 1);
  MDrawerToMBitmap drawer(probe);
  drawer.SetStyle(styles_[0]);
  const MColor red = styles_[0]->GetColor(MStyleColor::kRed), text = styles_[0]->GetColor(MStyleColor::kText);
  MContentRun run;
  run.ColorIndex = 2;
  run.Alpha = 120;
  EXPECT_EQ(ResolveRunColor(drawer, run), (MColor{red.b, red.g, red.r, static_cast<uint8_t>((red.a + 1) * 120 >> 8)}));
  run.ColorIndex = 0;
  run.CustomColor = 0xFF0000FF;  // blue takes the text colour's brightness
  const uint8_t strongest = std::max({text.r, text.g, text.b});
  EXPECT_EQ(ResolveRunColor(drawer, run), (MColor{strongest, 0, 0, static_cast<uint8_t>((text.a + 1) * 120 >> 8)}));

  EXPECT_EQ(GradientPartner(MColor::RGBA(0, 0, 0, 9)), MColor::RGBA(16, 16, 16, 9));
  EXPECT_EQ(GradientPartner(MColor::RGBA(100, 50, 0)), MColor::RGBA(116, 58, 0));
  EXPECT_EQ(GradientPartner(MColor::RGBA(200, 100, 20)), MColor::RGBA(184, 92, 18));
}

TEST_F(StmlLayout, JustifiedLinesReachTheRightEdge) {
  const int32_t w = 220;
  MContent content(MString("<justify>Justified text stretches its blanks so that every line but the last "
                           "ends at the right edge of the box, whatever the words."));
  MBitmap probe(1, 1);
  MDrawerToMBitmap measure(probe);
  measure.SetStyle(styles_[0]);
  const int32_t h = content.ComputeHeight(measure, w);
  auto& paragraph = dynamic_cast<MContentParagraph&>(*content.Elements[0]);
  ASSERT_GE(paragraph.LineCount(), 3);
  MBitmap target(w, h);
  MDrawerToMBitmap drawer(target);
  drawer.SetStyle(styles_[0]);
  content.Paint(drawer, {0, 0, w - 1, h - 1});
  const int32_t line = styles_[0]->GetFont(0).LineHeight();
  for (int32_t l = 0; l < paragraph.LineCount(); ++l) {
    int32_t right = -1;
    for (int32_t y = l * line; y < (l + 1) * line; ++y) {
      for (int32_t x = 0; x < w; ++x) {
        if (target.Pixels()[static_cast<int64_t>(y) * w + x] != 0) right = std::max(right, x);
      }
    }
    if (l + 1 < paragraph.LineCount()) EXPECT_GE(right, w - 3) << "line " << l;
    else EXPECT_LT(right, w - 20) << "the last line keeps its blanks";
  }
}

// ---- hostile texts ---------------------------------------------------------------

std::string Repeat(const std::string& piece, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += piece;
  return out;
}

TEST_F(StmlLayout, HostileTextsEndInAClearFailureOrABoundedTree) {
  struct Case {
    std::string text;
    const char* failure;  // empty: parses
  };
  const Case cases[] = {
      {"<p invert>x", "Invalid file contents. Invalid character found where attribute was expected. '>'"},
      {"text <b", "Invalid file contents. Invalid character found where attribute was expected. ''"},
      {"<p singleline=\"1", "Invalid file contents. No ending delimiter found."},
      {"<>", "Invalid file contents. No element name found. '>'"},
      {"<tr padding=>x", "Invalid file contents. Invalid character found where attribute was expected. ''"},
      {"\xff\xfe<b>\xc3(\xed\xa0\x80 \xf4\x90\x80\x80", ""},
      {"<hline size=999999999 vspace=2147483647 hspace=-5><img icon=90 width=99999999999 height=-4>", ""},
      {"<tr height=4000000000% padding=99999999 cellspaces=99999999><td width=4000000000 padding=9999999>x",
       ""},
      {Repeat("<tr><td>", 20000) + "deep", ""},
      {Repeat("<b><cred><alpha value=9><ci>", 20000) + "x", ""},
      {"<tr>" + Repeat("<td width=1>cell text</td>", 5000) + "</tr>", ""},
      {"<tagset name=a><a><a></tagset><a>x", ""},
      {"<tagset name=a><b><b></tagset><tagset name=c><a><a><a><a></tagset><tagset name=d><c><c><c><c></tagset>"
       "<tagset name=e><d><d><d><d></tagset><tagset name=f><e><e><e><e></tagset><f><f><f><f>x",
       ""},
      {Repeat("<li>", 30000) + "x", ""},
      {Repeat("<header1>", 3000) + "x", ""},
  };
  MBitmap target(64, 48);
  MDrawerToMBitmap drawer(target);
  drawer.SetStyle(styles_[0]);
  for (const Case& c : cases) {
    MContent content;
    EXPECT_EQ(ToStd(Failure([&] { content.SetText(MString::FromUTF8(c.text)); }).message),
              *c.failure ? c.failure : "(no exception)")
        << c.text.substr(0, 80);
    for (int32_t width : {0, 1, 64}) {
      const int32_t h = content.ComputeHeight(drawer, width);
      EXPECT_GE(h, 0);
      content.Paint(drawer, {0, 0, width - 1, 47});
    }
  }
}

}  // namespace
}  // namespace kx
