// Draws the default style "Neon" with the software drawer and packs it as a
// `.mstyle` library: writes <out>/Neon.mstyle and <out>/neon_style_block.cpp,
// the compiled-in block (root `solution`, one entry `mstyle`).
//
//   kestrix-style-neon <output folder>
//
// Images are drawn at twice their design size (Oversampling 2) so that they
// stay crisp on high-density screens. Change the palette or a painter here and
// rebuild: the build runs this tool again.
#include <cmath>
#include <cstdio>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/resources/resource_small_writer.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/memory_stream.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace kx {
namespace {

constexpr int kOver = 2;  // oversampling of every image

// The palette: deep blue-grey surfaces, one teal accent, warm highlight.
constexpr MColor kBackground = MColor::RGBA(0x14, 0x16, 0x1B);
constexpr MColor kPanel = MColor::RGBA(0x1B, 0x1E, 0x25);
constexpr MColor kControl = MColor::RGBA(0x27, 0x2B, 0x34);
constexpr MColor kControlHL = MColor::RGBA(0x31, 0x36, 0x41);
constexpr MColor kWell = MColor::RGBA(0x0F, 0x11, 0x15);
constexpr MColor kBorder = MColor::RGBA(0x3A, 0x40, 0x4D);
constexpr MColor kBorderHL = MColor::RGBA(0x55, 0x5D, 0x6E);
constexpr MColor kAccent = MColor::RGBA(0x2E, 0xD3, 0xBE);
constexpr MColor kAccentDeep = MColor::RGBA(0x17, 0x8C, 0x7E);
constexpr MColor kText = MColor::RGBA(0xE4, 0xE8, 0xEE);
constexpr MColor kDisabledFill = MColor::RGBA(0x1D, 0x20, 0x26);
constexpr MColor kDisabledBorder = MColor::RGBA(0x2A, 0x2E, 0x36);
constexpr MColor kDisabledMark = MColor::RGBA(0x4A, 0x50, 0x5A);

MColor WithAlpha(MColor c, uint8_t a) { return MColor{c.b, c.g, c.r, a}; }

enum State { kNormal, kFocused, kHL, kFocusedHL, kClicked, kClickedHL, kDisabled };
constexpr const char* kStateNames[7] = {"normal", "focused", "hl", "focusedhl",
                                        "clicked", "clickedhl", "disabled"};
bool IsHL(int s) { return s == kHL || s == kFocusedHL || s == kClickedHL; }
bool IsFocused(int s) { return s == kFocused || s == kFocusedHL; }
bool IsClicked(int s) { return s == kClicked || s == kClickedHL; }

using Painter = std::function<void(MDrawerToMBitmap&, double w, double h)>;

// A design-size image drawn at kOver times: painters work in design units.
MBitmap Draw(int w, int h, const Painter& paint) {
  MBitmap bitmap(w * kOver, h * kOver);
  MDrawerToMBitmap drawer(bitmap);
  paint(drawer, w, h);
  return bitmap;
}

// Overlay builds up alpha on the transparent image, so that antialiased edges
// keep their coverage as alpha.
MBrush Brush(MColor c, double width = 1) {
  return MBrush{c, static_cast<int32_t>(std::lround(width * kOver)), MDrawingMode::kOverlay};
}
MRect Box(double l, double t, double r, double b) {  // design units, exclusive right/bottom
  return MRect{static_cast<int32_t>(l * kOver), static_cast<int32_t>(t * kOver),
               static_cast<int32_t>(r * kOver) - 1, static_cast<int32_t>(b * kOver) - 1};
}

// A rounded box: fill, a faint top sheen, and a border.
void Panel(MDrawerToMBitmap& d, double l, double t, double r, double b, double radius, MColor fill,
           MColor border, double borderWidth = 1) {
  d.FillRoundRectangle(Box(l, t, r, b), radius * kOver, Brush(fill));
  d.FillRoundRectangle(Box(l + 1, t + 1, r - 1, t + (b - t) / 2), (radius - 1) * kOver,
                       Brush(MColor::RGBA(255, 255, 255, 10)));
  if (borderWidth > 0) d.RoundRectangle(Box(l, t, r, b), radius * kOver, Brush(border, borderWidth));
}

void Button(MDrawerToMBitmap& d, double w, double h, int s, double radius) {
  if (s == kDisabled) return Panel(d, 0, 0, w, h, radius, kDisabledFill, kDisabledBorder);
  MColor fill = IsClicked(s) ? (IsHL(s) ? kAccent : kAccentDeep) : (IsHL(s) ? kControlHL : kControl);
  MColor border = IsClicked(s) ? kAccent : IsFocused(s) ? kAccent : IsHL(s) ? kBorderHL : kBorder;
  Panel(d, 0, 0, w, h, radius, fill, border);
  if (IsFocused(s)) d.RoundRectangle(Box(1, 1, w - 1, h - 1), (radius - 1) * kOver, Brush(WithAlpha(kAccent, 70)));
}

void Field(MDrawerToMBitmap& d, double w, double h, int s) {
  MColor border = s == kDisabled ? kDisabledBorder : IsFocused(s) || IsClicked(s) ? kAccent
                                                     : IsHL(s) ? kBorderHL : kBorder;
  d.FillRoundRectangle(Box(0, 0, w, h), 4 * kOver, Brush(s == kDisabled ? kDisabledFill : kWell));
  d.RoundRectangle(Box(0, 0, w, h), 4 * kOver, Brush(border));
}

void Arrow(MDrawerToMBitmap& d, double cx, double cy, double size, MColor c, bool down = true) {
  const double k = kOver, y = down ? 1 : -1;
  MPointF tri[3] = {{(cx - size) * k, (cy - y * size / 2) * k},
                    {(cx + size) * k, (cy - y * size / 2) * k},
                    {cx * k, (cy + y * size / 2) * k}};
  d.FillPolygon(tri, 3, Brush(c));
}

// A band between two radii over an angle range (radians, clockwise from 3 o'clock).
void Arc(MDrawerToMBitmap& d, double cx, double cy, double r0, double r1, double a0, double a1,
         MColor c) {
  std::vector<MPointF> points;
  const int steps = 64;
  for (int i = 0; i <= steps; ++i) {
    double a = a0 + (a1 - a0) * i / steps;
    points.push_back({(cx + r1 * std::cos(a)) * kOver, (cy + r1 * std::sin(a)) * kOver});
  }
  for (int i = steps; i >= 0; --i) {
    double a = a0 + (a1 - a0) * i / steps;
    points.push_back({(cx + r0 * std::cos(a)) * kOver, (cy + r0 * std::sin(a)) * kOver});
  }
  d.FillPolygon(points.data(), static_cast<int32_t>(points.size()), Brush(c));
}

struct Image {
  std::string id;
  MBitmap bitmap;
};

class StyleBuilder {
 public:
  StyleBuilder() : writer_(MString("mstyle")) {}

  MXMLItem& Section(const char* name) { return writer_.Root().AddSubItem(MString(name)); }
  MXMLItem& Element(const char* name, int hcorner, int vcorner) {
    if (!elements_) elements_ = &Section("elements");
    MXMLItem& item = elements_->AddSubItem(MString(name));
    item.SetAttribute("Oversampling", kOver);
    item.SetAttribute("hcorner", hcorner);
    item.SetAttribute("vcorner", vcorner);
    return item;
  }
  void Part(MXMLItem& element, const char* part, MBitmap bitmap) {
    std::string id = element.GetName().ToUTF8String() + "_" + part + ".png";
    MMemoryStream png;
    bitmap.SavePNG(png);
    writer_.Add(MString::FromUTF8(id), png.Data(), png.Size(), false);
    element.SetAttribute(MString(part), MString::FromUTF8(id));
  }
  void States(MXMLItem& element, int w, int h, const std::function<void(MDrawerToMBitmap&, double, double, int)>& paint) {
    for (int s = 0; s < 7; ++s) {
      Part(element, kStateNames[s], Draw(w, h, [&](MDrawerToMBitmap& d, double dw, double dh) { paint(d, dw, dh, s); }));
    }
    element.SetAttribute("Disabledalpha", 255);
  }
  MSmallLibraryWriter& Writer() { return writer_; }

 private:
  MSmallLibraryWriter writer_;
  MXMLItem* elements_ = nullptr;
};

std::string Hex(MColor c) {
  char text[16];
  std::snprintf(text, sizeof text, "#%02X%02X%02X%02X", c.r, c.g, c.b, c.a);
  return text;
}

void BuildNeon(StyleBuilder& style) {
  MXMLItem& colors = style.Section("colors");
  const std::pair<const char*, MColor> palette[] = {
      {"text", kText},           {"shape", MColor::RGBA(0xB8, 0xC0, 0xCC)},
      {"red", MColor::RGBA(0xF2, 0x5F, 0x5C)}, {"green", MColor::RGBA(0x5B, 0xD6, 0x8A)},
      {"blue", MColor::RGBA(0x4F, 0x9D, 0xF7)}, {"main", kAccent},
      {"background", kBackground}, {"panel", kPanel}, {"control", kControl},
      {"display", kWell},        {"editor", kWell},  {"border", kBorder},
      {"selection", kAccentDeep}, {"highlight", kAccent},
      {"disabledtext", kDisabledMark}, {"shadow", MColor::RGBA(0, 0, 0, 120)}};
  for (const auto& [name, c] : palette) colors.SetAttribute(MString(name), MString::FromUTF8(Hex(c)));
  colors.SetAttribute("disabledalpha", 110);
  colors.SetAttribute("focusedalpha", 255);
  colors.SetAttribute("highlightedalpha", 255);
  colors.SetAttribute("clickedalpha", 255);
  // Under another MainColor the teal accents turn, the grey surfaces stay.
  colors.SetAttribute("changecolortomain", 1);
  colors.SetAttribute("changerectcolortomain", 1);
  colors.SetAttribute("colorizationalgorithm", 0);
  colors.SetAttribute("colorizewithsaturation", 255);
  colors.SetAttribute("colorizewithbrightness", 160);

  MXMLItem& metrics = style.Section("metrics");
  metrics.SetAttribute("XSpaceInMContent", 6);
  metrics.SetAttribute("YSpaceInMContent", 4);
  metrics.SetAttribute("DefaultListBoxItemHeight", 20);
  metrics.SetAttribute("DefaultTreeItemHeight", 20);
  metrics.SetAttribute("AutoColorInvertLimit", 0);  // the default limit

  MXMLItem& fonts = style.Section("fonts");
  const std::pair<int, bool> faces[] = {{12, false}, {12, true}, {10, false}, {14, true},
                                        {11, false}, {18, true}, {9, false},  {12, false}};
  for (const auto& [size, bold] : faces) {
    MXMLItem& face = fonts.AddSubItem(MString("face"));
    face.SetAttribute("name", "DejaVu Sans");
    face.SetAttribute("size", size);
    face.SetAttribute("bold", bold ? 1 : 0);
  }

  // Buttons and their kin.
  MXMLItem& button = style.Element("button", 7, 7);
  button.SetAttribute("contentoffsety", 1);
  style.States(button, 40, 24, [](auto& d, double w, double h, int s) { Button(d, w, h, s, 6); });
  MXMLItem& caption = style.Element("captionbutton", 5, 5);
  style.States(caption, 18, 18, [](auto& d, double w, double h, int s) { Button(d, w, h, s, 5); });
  MXMLItem& menu = style.Element("menu", 4, 4);
  style.States(menu, 24, 20, [](auto& d, double w, double h, int s) {
    if (s == kDisabled) return;
    if (IsHL(s) || IsClicked(s)) d.FillRoundRectangle(Box(0, 0, w, h), 4 * kOver, Brush(WithAlpha(kAccent, IsClicked(s) ? 110 : 60)));
    if (IsFocused(s)) d.RoundRectangle(Box(0, 0, w, h), 4 * kOver, Brush(WithAlpha(kAccent, 140)));
  });
  for (const char* name : {"edit", "value"}) {
    MXMLItem& field = style.Element(name, 5, 5);
    style.States(field, 40, 22, [name](auto& d, double w, double h, int s) {
      Field(d, w, h, s);
      if (std::string(name) == "value" && s != kDisabled) {
        d.FillRoundRectangle(Box(3, h - 4, w - 3, h - 2), 1 * kOver, Brush(WithAlpha(kAccent, IsHL(s) || IsClicked(s) ? 255 : 150)));
      }
    });
  }
  MXMLItem& selector = style.Element("selector", 20, 5);
  style.States(selector, 48, 22, [](auto& d, double w, double h, int s) {
    Button(d, w, h, s, 5);
    Arrow(d, w - 10, h / 2, 3.5, s == kDisabled ? kDisabledMark : IsClicked(s) ? kWell : kText);
  });

  // Switches: check box, radio button, toggle.
  MXMLItem& check = style.Element("checkbox", 0, 0);
  style.States(check, 16, 16, [](auto& d, double, double, int s) {
    const bool on = IsClicked(s);
    if (s == kDisabled) return Panel(d, 0, 0, 16, 16, 4, kDisabledFill, kDisabledBorder);
    Panel(d, 0, 0, 16, 16, 4, on ? (IsHL(s) ? kAccent : kAccentDeep) : kWell,
          on || IsFocused(s) ? kAccent : IsHL(s) ? kBorderHL : kBorder);
    if (on) {
      MBrush mark = Brush(kWell, 2);
      d.LineF(4 * kOver, 8.5 * kOver, 7 * kOver, 11.5 * kOver, mark);
      d.LineF(7 * kOver, 11.5 * kOver, 12.5 * kOver, 4.5 * kOver, mark);
    }
  });
  MXMLItem& radio = style.Element("radiobutton", 0, 0);
  style.States(radio, 16, 16, [](auto& d, double, double, int s) {
    const bool on = IsClicked(s);
    MColor ring = s == kDisabled ? kDisabledBorder : on || IsFocused(s) ? kAccent : IsHL(s) ? kBorderHL : kBorder;
    d.FillCircle(8 * kOver, 8 * kOver, 7.5 * kOver, Brush(s == kDisabled ? kDisabledFill : kWell));
    d.Circle(8 * kOver, 8 * kOver, 7 * kOver, Brush(ring));
    if (on) d.FillCircle(8 * kOver, 8 * kOver, 3.5 * kOver, Brush(IsHL(s) ? kText : kAccent));
  });
  MXMLItem& toggle = style.Element("controlcheckbox", 14, 0);
  style.States(toggle, 28, 16, [](auto& d, double w, double h, int s) {
    const bool on = IsClicked(s);
    MColor track = s == kDisabled ? kDisabledFill : on ? (IsHL(s) ? kAccent : kAccentDeep) : kWell;
    MColor border = s == kDisabled ? kDisabledBorder : on || IsFocused(s) ? kAccent : IsHL(s) ? kBorderHL : kBorder;
    d.FillRoundRectangle(Box(0, 0, w, h), 8 * kOver, Brush(track));
    d.RoundRectangle(Box(0, 0, w, h), 8 * kOver, Brush(border));
    double cx = on ? w - 8 : 8;
    d.FillCircle(cx * kOver, 8 * kOver, 5.5 * kOver, Brush(s == kDisabled ? kDisabledMark : kText));
  });
  toggle.SetAttribute("alpha", 255);

  // Sliders, progress and knobs.
  for (bool vertical : {false, true}) {
    MXMLItem& tracker = style.Element(vertical ? "vtracker" : "tracker", vertical ? 0 : 4, vertical ? 4 : 0);
    const int w = vertical ? 8 : 40, h = vertical ? 40 : 8;
    style.Part(tracker, "image", Draw(w, h, [](auto& d, double dw, double dh) {
      d.FillRoundRectangle(Box(0, 0, dw, dh), 4 * kOver, Brush(kWell));
      d.RoundRectangle(Box(0, 0, dw, dh), 4 * kOver, Brush(kBorder));
    }));
    style.Part(tracker, "selector", Draw(w, h, [](auto& d, double dw, double dh) {
      d.FillRoundRectangle(Box(1, 1, dw - 1, dh - 1), 3 * kOver, Brush(kAccent));
    }));
    style.Part(tracker, "pointer", Draw(16, 16, [](auto& d, double, double) {
      d.FillCircle(8 * kOver, 8.6 * kOver, 7 * kOver, Brush(MColor::RGBA(0, 0, 0, 90)));
      d.FillCircle(8 * kOver, 8 * kOver, 6.5 * kOver, Brush(kText));
      d.FillCircle(8 * kOver, 8 * kOver, 2.5 * kOver, Brush(kAccentDeep));
    }));
    MXMLItem* pointer = &tracker.AddSubItem(MString("pointer"));
    pointer->SetAttribute("hcorner", 0);
    pointer->SetAttribute("vcorner", 0);
    tracker.SetAttribute("enablepointer", 1);
  }
  MXMLItem& progress = style.Element("progressbar", 4, 4);
  style.Part(progress, "image", Draw(40, 10, [](auto& d, double w, double h) {
    d.FillRoundRectangle(Box(0, 0, w, h), 5 * kOver, Brush(kWell));
    d.RoundRectangle(Box(0, 0, w, h), 5 * kOver, Brush(kBorder));
  }));
  style.Part(progress, "selector", Draw(40, 10, [](auto& d, double w, double h) {
    d.FillRoundRectangle(Box(1, 1, w - 1, h - 1), 4 * kOver, Brush(kAccentDeep));
    d.FillRoundRectangle(Box(1, 1, w - 1, h / 2), 3 * kOver, Brush(WithAlpha(kAccent, 160)));
  }));
  const double pi = std::numbers::pi;
  for (const char* name : {"knob", "rotator"}) {
    const bool knob = std::string(name) == "knob";
    const int size = knob ? 48 : 32;
    const double c = size / 2.0, r = c - (knob ? 7 : 5);
    MXMLItem& element = style.Element(name, 0, 0);
    element.SetAttribute("hasarc", 1);
    element.SetAttribute("hasbackground", 1);
    element.SetAttribute("baseangle", 225);
    style.Part(element, "imagebackground", Draw(size, size, [=](auto& d, double, double) {
      Arc(d, c, c, r + 2, r + 4.5, 0.75 * pi, 2.25 * pi, kBorder);
    }));
    style.Part(element, "imagearc", Draw(size, size, [=](auto& d, double, double) {
      Arc(d, c, c, r + 2, r + 4.5, 0.75 * pi, 2.25 * pi, kAccent);
    }));
    style.Part(element, "image", Draw(size, size, [=](auto& d, double, double) {
      d.FillCircle(c * kOver, (c + 1) * kOver, r * kOver, Brush(MColor::RGBA(0, 0, 0, 110)));
      d.FillCircle(c * kOver, c * kOver, r * kOver, Brush(kControl));
      d.FillCircle(c * kOver, (c - 1) * kOver, (r - 2) * kOver, Brush(kControlHL));
      d.Circle(c * kOver, c * kOver, (r - 0.5) * kOver, Brush(kBorder));
    }));
    style.Part(element, "selector", Draw(size, size, [=](auto& d, double, double) {
      // The pointer at twelve o'clock; the drawer rotates it.
      d.LineF(c * kOver, (c - r + 3) * kOver, c * kOver, (c - r * 0.35) * kOver, Brush(kText, 2.5));
    }));
  }

  // Scroll bars, tabs, menus, lists, splitters.
  for (bool vertical : {false, true}) {
    MXMLItem& bar = style.Element(vertical ? "vscrollbar" : "hscrollbar", vertical ? 0 : 5, vertical ? 5 : 0);
    const int w = vertical ? 12 : 40, h = vertical ? 40 : 12;
    style.Part(bar, "image", Draw(w, h, [](auto& d, double dw, double dh) {
      d.FillRectangle(Box(0, 0, dw, dh), Brush(kPanel));
    }));
    style.Part(bar, "locator", Draw(w, h, [](auto& d, double dw, double dh) {
      d.FillRoundRectangle(Box(2.5, 2.5, dw - 2.5, dh - 2.5), 3.5 * kOver, Brush(kBorderHL));
    }));
    style.Part(bar, "locatordark", Draw(w, h, [](auto& d, double dw, double dh) {
      d.FillRoundRectangle(Box(2.5, 2.5, dw - 2.5, dh - 2.5), 3.5 * kOver, Brush(kAccentDeep));
    }));
    bar.SetAttribute("scrollbarsize", 12);
  }
  for (const char* name : {"tabset", "menubar"}) {
    const bool tabs = std::string(name) == "tabset";
    MXMLItem& element = style.Element(name, 6, tabs ? 6 : 2);
    style.Part(element, "image", Draw(40, 24, [tabs](auto& d, double w, double h) {
      if (tabs) {
        d.FillRoundRectangle(Box(0, 0, w, h + 6), 6 * kOver, Brush(kControl));
        d.FillRectangle(Box(6, h - 3, w - 6, h), Brush(kAccent));
      } else {
        d.FillRectangle(Box(0, 0, w, h), Brush(kPanel));
        d.FillRectangle(Box(0, h - 1, w, h), Brush(kBorder));
      }
    }));
    style.Part(element, "off", Draw(40, 24, [tabs](auto& d, double w, double h) {
      if (tabs) d.FillRoundRectangle(Box(0, 0, w, h + 6), 6 * kOver, Brush(kPanel));
      else d.FillRectangle(Box(0, 0, w, h), Brush(kBackground));
    }));
    style.Part(element, "grayed", Draw(40, 24, [](auto& d, double w, double h) {
      d.FillRoundRectangle(Box(0, 0, w, h + 6), 6 * kOver, Brush(kDisabledFill));
    }));
  }
  for (const char* name : {"listcontrol", "treecontrol"}) {
    MXMLItem& element = style.Element(name, 5, 5);
    style.Part(element, "image", Draw(40, 40, [](auto& d, double w, double h) { Field(d, w, h, kNormal); }));
    style.Part(element, "item", Draw(40, 20, [](auto& d, double w, double h) {
      d.FillRectangle(Box(0, h - 1, w, h), Brush(WithAlpha(kBorder, 120)));
    }));
    style.Part(element, "selecteditem", Draw(40, 20, [](auto& d, double w, double h) {
      d.FillRoundRectangle(Box(0, 0, w, h), 4 * kOver, Brush(WithAlpha(kAccent, 70)));
      d.FillRoundRectangle(Box(0, 3, 3, h - 3), 1.5 * kOver, Brush(kAccent));
    }));
  }
  MXMLItem& splitter = style.Element("splitter", 0, 0);
  style.Part(splitter, "vimage", Draw(40, 6, [](auto& d, double w, double h) {
    d.FillRectangle(Box(0, 0, w, h), Brush(kBackground));
    d.FillRectangle(Box(0, 2.5, w, 3.5), Brush(kBorder));
  }));
  style.Part(splitter, "himage", Draw(6, 40, [](auto& d, double w, double h) {
    d.FillRectangle(Box(0, 0, w, h), Brush(kBackground));
    d.FillRectangle(Box(2.5, 0, 3.5, h), Brush(kBorder));
  }));

  // Windows and the containers that share their fields.
  const std::pair<const char*, MColor> containers[] = {
      {"window", kBackground}, {"panel", kPanel}, {"control", kControl}, {"display", kWell}, {"editor", kWell}};
  for (const auto& [name, fill] : containers) {
    MXMLItem& element = style.Element(name, 8, 8);
    const MColor f = fill;
    style.Part(element, "image", Draw(40, 40, [f](auto& d, double w, double h) {
      d.FillRoundRectangle(Box(0, 0, w, h), 8 * kOver, Brush(f));
      d.RoundRectangle(Box(0, 0, w, h), 8 * kOver, Brush(kBorder));
    }));
    style.Part(element, "normalcaption", Draw(40, 26, [](auto& d, double w, double h) {
      d.FillRoundRectangle(Box(0, 0, w, h + 8), 8 * kOver, Brush(kPanel));
      d.FillRectangle(Box(0, h - 1, w, h), Brush(kBorder));
      d.FillRectangle(Box(10, h - 2, 30, h), Brush(kAccent));
    }));
    element.SetAttribute("captionheight", 26);
    element.SetAttribute("captionfont", 3);
  }
}

void WriteFile(const std::string& path, const void* data, int64_t size) {
  MFileStream file(MString::FromUTF8(path), MFileStream::kModeCreate);
  file.Write(data, size);
}

int Run(const std::string& folder) {
  StyleBuilder style;
  BuildNeon(style);
  MMemoryStream mstyle;
  style.Writer().Write(mstyle, true);
  WriteFile(folder + "/Neon.mstyle", mstyle.Data(), mstyle.Size());

  MSmallLibraryWriter block(MString("solution"));
  block.Add(MString("mstyle"), mstyle.Data(), mstyle.Size(), false);
  MMemoryStream blockBytes;
  block.Write(blockBytes, true);

  std::string source =
      "// Generated by kestrix-style-neon: the compiled-in block with the default style.\n"
      "#include \"foundation/resources/resource_compiled_in.h\"\n\n"
      "namespace {\nalignas(16) const unsigned char kBlock[] = {\n";
  const auto* bytes = reinterpret_cast<const unsigned char*>(blockBytes.Data());
  char hex[8];
  for (int64_t i = 0; i < blockBytes.Size(); ++i) {
    std::snprintf(hex, sizeof hex, "%u,", bytes[i]);
    source += hex;
    if (i % 24 == 23) source += '\n';
  }
  source += "};\nconst kx::MCompiledInRegistration kRegistration(kBlock, sizeof kBlock);\n}  // namespace\n";
  WriteFile(folder + "/neon_style_block.cpp", source.data(), static_cast<int64_t>(source.size()));
  return 0;
}

}  // namespace
}  // namespace kx

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: kestrix-style-neon <output folder>\n");
    return 2;
  }
  try {
    return kx::Run(argv[1]);
  } catch (kx::MException& e) {
    std::fprintf(stderr, "kestrix-style-neon: %s\n", e.message.ToUTF8String().c_str());
    return 1;
  }
}
