// Rich text against cairo's toy text: the longest help text of the program
// (the context help of "Repair installation"), parsed once, then measured and
// painted at 600 pixels into a bitmap per round. The peer lays out the same
// words in the same face and size with cairo_text_extents, breaking lines
// itself, and draws each line with cairo_show_text.
#include <benchmark/benchmark.h>
#include <cairo.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/richtext/content.h"
#include "gui/styles/textured_styles.h"
#include "media/bitmap/bitmap.h"
#include "media/fonts/font.h"

namespace {

using namespace kx;
constexpr int kWidth = 600;

const char* const kPrefix =
    "<tagset name=\"name\"><l1><cred></tagset><tagset name=\"shortcut\"><p><cgreen></tagset>"
    "<tagset name=\"control\"><cgreen></tagset><tagset name=\"reference\"><cred><i></tagset>";

const char* const kHelp =
    "<p><s/><left><name>Repair install</name> reinstalls (repairs) all installed plugin and instrument "
    "packages. This maybe useful i.e if you deleted by accident some of the installations files, or your "
    "computer was restarted during installation process etc.<p>You have option to repair the installation "
    "using currently downloaded installation packages (faster) or re-download installation packages again, "
    "which is slower, but recommended in case of malfunctioning installation. If only some plugins are "
    "selected, only their packages are repaired; the other installed packages stay as they are.<p/><p><i>"
    "<cgreen>Move mouse cursor on a control and press F1 to get detailed info about it. If the F1 key is "
    "captured by another application, try using Ctrl+F1 or Ctrl+H.</cgreen></i><center invert=1 "
    "singleline=1><l2>Control meaning</l2></center><left>The button starts the repair of the installed "
    "plugins and instruments.<center invert=1 singleline=1><l2>General control usage</l2></center><tr><td>"
    "<left><li>Click the button to press it.</li><li>Press space or enter when the button has the keyboard "
    "focus.</li></td></tr>";

// The words of the help, one paragraph a line: tags that start a block end a
// line, the others vanish.
std::vector<std::string> PlainParagraphs() {
  std::vector<std::string> paragraphs(1);
  const std::string text = kHelp;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '<') {
      paragraphs.back() += text[i];
      continue;
    }
    const size_t end = text.find('>', i);
    const std::string tag = text.substr(i + 1, end - i - 1);
    for (const char* block : {"p", "left", "center", "li", "tr"}) {
      if (tag.rfind(block, 0) == 0 && !paragraphs.back().empty()) paragraphs.emplace_back();
    }
    i = end;
  }
  return paragraphs;
}

MTexturedStyle& Style() {
  static std::unique_ptr<MTexturedStyle> style = [] {
    // The font cache goes to the data folders: not the user's.
    char folder[] = "/tmp/kestrix-stml-bench.XXXXXX";
    if (mkdtemp(folder)) {
      setenv("HOME", folder, 1);
      setenv("XDG_DATA_HOME", folder, 1);
      setenv("XDG_CONFIG_HOME", folder, 1);
    }
    return MTexturedStyles::LoadStyle(MStyleSettings{});
  }();
  return *style;
}

void Ours_StmlHelpText600(benchmark::State& state) {
  MTexturedStyle& style = Style();
  MContent content(MString::FromUTF8(std::string(kPrefix) + kHelp));
  MBitmap probe(1, 1);
  MDrawerToMBitmap measure(probe);
  measure.SetStyle(&style);
  const int32_t height = content.ComputeHeight(measure, kWidth);
  MBitmap target(kWidth, height);
  MDrawerToMBitmap drawer(target);
  drawer.SetStyle(&style);
  const int64_t parses = MContent::ParseCount();
  for (auto _ : state) {
    const int32_t h = content.ComputeHeight(drawer, kWidth);
    content.Paint(drawer, MRect{0, 0, kWidth - 1, h - 1});
    benchmark::DoNotOptimize(target.Pixels());
  }
  if (MContent::ParseCount() != parses) state.SkipWithError("a paint parsed the text again");
  state.counters["height"] = height;
}

void Peer_StmlHelpText600(benchmark::State& state) {
  const auto paragraphs = PlainParagraphs();
  MFont& font = Style().GetFont(0);
  const double size = font.PixelSize();
  const int lineHeight = font.LineHeight();
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, 600);
  cairo_t* cr = cairo_create(surface);
  cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, size);
  cairo_set_source_rgb(cr, 228 / 255.0, 232 / 255.0, 238 / 255.0);
  cairo_text_extents_t extents;
  cairo_text_extents(cr, " ", &extents);
  const double blank = extents.x_advance;
  for (auto _ : state) {
    double y = font.Ascent();
    for (const std::string& paragraph : paragraphs) {
      std::string line;
      double x = 0;
      size_t start = 0;
      while (start < paragraph.size()) {
        size_t end = paragraph.find(' ', start);
        if (end == std::string::npos) end = paragraph.size();
        const std::string word = paragraph.substr(start, end - start);
        start = end + 1;
        if (word.empty()) continue;
        cairo_text_extents(cr, word.c_str(), &extents);
        if (!line.empty() && x + blank + extents.x_advance > kWidth) {
          cairo_move_to(cr, 0, y);
          cairo_show_text(cr, line.c_str());
          y += lineHeight;
          line.clear();
          x = 0;
        }
        if (!line.empty()) {
          line += ' ';
          x += blank;
        }
        line += word;
        x += extents.x_advance;
      }
      cairo_move_to(cr, 0, y);
      cairo_show_text(cr, line.c_str());
      y += lineHeight;
    }
    cairo_surface_flush(surface);
    benchmark::DoNotOptimize(cairo_image_surface_get_data(surface));
  }
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

}  // namespace

BENCHMARK(Ours_StmlHelpText600)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_StmlHelpText600)->Unit(benchmark::kMicrosecond);
