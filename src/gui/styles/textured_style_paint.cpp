// How MTexturedStyle paints and measures a control from its element: state
// sets by state, value controls by their value (trackers, progress bars,
// scroll bars, knobs), containers with their caption.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

#include "gui/drawing/drawer.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/styles/textured_style.h"

namespace kx {

namespace {

enum class Family : uint8_t { kStateSet, kCheck, kTracker, kProgress, kScrollBar, kKnob, kTabs, kList, kSplitter, kContainer };

Family FamilyOf(std::string_view name) {
  if (name == "checkbox" || name == "radiobutton" || name == "controlcheckbox") return Family::kCheck;
  if (name == "tracker" || name == "vtracker") return Family::kTracker;
  if (name == "progressbar") return Family::kProgress;
  if (name == "hscrollbar" || name == "vscrollbar") return Family::kScrollBar;
  if (name.starts_with("knob") || name.starts_with("rotator")) return Family::kKnob;
  if (name == "tabset" || name == "menubar") return Family::kTabs;
  if (name == "listcontrol" || name == "treecontrol") return Family::kList;
  if (name == "splitter") return Family::kSplitter;
  if (name == "window" || name == "panel" || name == "control" || name == "display" || name == "editor") {
    return Family::kContainer;
  }
  return Family::kStateSet;
}

bool Vertical(std::string_view name, const MRect& rect) {
  return name.front() == 'v' || (name == "splitter" && rect.Height() > rect.Width());
}

MRect Centred(const MRect& within, MPoint size) {
  const int32_t left = within.left + (within.Width() - size.x) / 2;
  const int32_t top = within.top + (within.Height() - size.y) / 2;
  return {left, top, left + size.x - 1, top + size.y - 1};
}

}  // namespace

MPoint MTexturedStyle::DeviceSize(const MStyleImage& image) const {
  return {std::max(1, ScaleX(image.DesignWidth())), std::max(1, ScaleY(image.DesignHeight()))};
}

const MStyleElement* MTexturedStyle::ElementOf(const MStyledControl& control, std::string* name) const {
  *name = control.element;
  if (FamilyOf(*name) == Family::kKnob && control.container && *control.container) {
    const std::string inner = *name + "in" + control.container;
    const MStyleElement* special = FindElement(inner);
    if (special && special->Number("enabled", 1) != 0) {
      *name = inner;
      return special;
    }
  }
  return FindElement(*name);
}

void MTexturedStyle::PaintCaption(MDrawer& drawer, const MStyledControl& control, const MRect& rect,
                                  int32_t fontIndex, uint32_t flags) {
  if (control.caption.IsEmpty() || rect.IsEmpty()) return;
  MString text = control.caption;
  // Captions and names in capitals; what the user typed stays as it is.
  const std::string_view element = control.element;
  if (settings_.enableUpperCase && element != "edit" && element != "value") text.ToUpper();
  const MStyleColor colour =
      HasState(control.state, MControlState::kDisabled) ? MStyleColor::kDisabledText : MStyleColor::kText;
  drawer.AlignedTextOut(rect, text, GetFont(fontIndex), MBrush{GetColor(colour)}, flags | kTextSingleLine);
}

void MTexturedStyle::PaintContent(MDrawer& drawer, const MStyledControl& control) {
  std::string name;
  const MStyleElement* element = ElementOf(control, &name);
  const MRect borders = GetBorders(control);
  MRect content{control.rect.left + borders.left, control.rect.top + borders.top,
                control.rect.right - borders.right, control.rect.bottom - borders.bottom};
  if (element && HasState(control.state, MControlState::kClicked)) {
    const int32_t dx = ScaleX(element->contentOffsetX), dy = ScaleY(element->contentOffsetY);
    content = {content.left + dx, content.top + dy, content.right + dx, content.bottom + dy};
  }
  const bool field = name == "edit" || name == "value" || name == "selector" || name == "menu";
  PaintCaption(drawer, control, content, control.fontIndex, (field ? kTextLeft : kTextCenter) | kTextVCenter);
}

MRect MTexturedStyle::GetBorders(const MStyledControl& control) const {
  std::string name;
  const MStyleElement* element = ElementOf(control, &name);
  if (!element) return {ScaleX(2), ScaleY(2), ScaleX(2), ScaleY(2)};
  const MStyleImage* image = element->Part("normal");
  if (!image) image = element->Part("image");
  int32_t x = element->borderX, y = element->borderY;
  if (x < 0) x = image ? image->HCorner() : 0;
  if (y < 0) y = image ? image->VCorner() : 0;
  MRect borders{ScaleX(x), ScaleY(y), ScaleX(x), ScaleY(y)};
  if (FamilyOf(name) == Family::kCheck && image) {
    // The box stands left of the caption.
    borders = {DeviceSize(*image).x + ScaleX(6), 0, 0, 0};
  } else if (FamilyOf(name) == Family::kContainer && !control.caption.IsEmpty()) {
    borders.top = std::max(borders.top, ScaleY(element->Number("captionheight", 0)));
  }
  return borders;
}

int32_t MTexturedStyle::ComputeContentSize(const MStyledControl& control, MAxis axis, int32_t size) const {
  const MRect b = GetBorders(control);
  return std::max(0, size - (axis == MAxis::kHorizontal ? b.left + b.right : b.top + b.bottom));
}

int32_t MTexturedStyle::ComputeControlSize(const MStyledControl& control, MAxis axis,
                                           int32_t contentSize) const {
  const MRect b = GetBorders(control);
  const bool horizontal = axis == MAxis::kHorizontal;
  int32_t size = contentSize + (horizontal ? b.left + b.right : b.top + b.bottom);
  std::string name;
  if (const MStyleElement* element = ElementOf(control, &name)) {
    const MStyleImage* image = element->Part("normal");
    if (!image) image = element->Part("image");
    if (image) {
      // Never below the element's minimum, nor below its fixed corners.
      const int32_t minimum = horizontal ? std::max(image->MinWidth(), 2 * image->HCorner())
                                         : std::max(image->MinHeight(), 2 * image->VCorner());
      size = std::max(size, horizontal ? ScaleX(minimum) : ScaleY(minimum));
      if (FamilyOf(name) == Family::kCheck || FamilyOf(name) == Family::kKnob) {
        const MPoint fixed = DeviceSize(*image);
        size = std::max(size, horizontal ? 0 : fixed.y);
        if (FamilyOf(name) == Family::kKnob) size = std::max(size, horizontal ? fixed.x : fixed.y);
      }
    }
  }
  return size;
}

void MTexturedStyle::PaintValueBar(MDrawer& drawer, const MStyleElement& element,
                                   const MStyledControl& control) {
  const MRect& r = control.rect;
  const bool vertical = Vertical(control.element, r);
  const double value = std::clamp(control.value, 0.0, 1.0);
  const uint8_t alpha = HasState(control.state, MControlState::kDisabled) ? 110 : 255;
  if (const MStyleImage* image = element.Part("image")) image->Paint(drawer, r, scale_, alpha);
  const MStyleImage* bar = element.Part(FamilyOf(control.element) == Family::kScrollBar ? "locator" : "selector");
  if (!bar) return;
  const int32_t length = vertical ? r.Height() : r.Width();
  if (FamilyOf(control.element) == Family::kScrollBar) {
    // The locator: the visible share of the length, placed by the value.
    const int32_t size = std::clamp(static_cast<int32_t>(std::lround(control.pageSize * length)),
                                    std::min(length, ScaleX(12)), length);
    const auto start = static_cast<int32_t>(std::lround(value * (length - size)));
    const MRect locator = vertical ? MRect{r.left, r.top + start, r.right, r.top + start + size - 1}
                                   : MRect{r.left + start, r.top, r.left + start + size - 1, r.bottom};
    bar->Paint(drawer, locator, scale_, alpha);
    return;
  }
  // Trackers and progress bars fill from the start (the bottom when upright)
  // to the value, and put the pointer there.
  const auto filled = static_cast<int32_t>(std::lround(value * length));
  if (filled > 0) {
    const MRect part = vertical ? MRect{r.left, r.bottom - filled + 1, r.right, r.bottom}
                                : MRect{r.left, r.top, r.left + filled - 1, r.bottom};
    bar->Paint(drawer, part, scale_, alpha);
  }
  const MStyleImage* pointer = element.Part("pointer");
  if (pointer && element.Number("enablepointer", 1) != 0) {
    // The pointer stays inside the track at both ends.
    const MPoint size = DeviceSize(*pointer);
    const int32_t travel = std::max(0, length - (vertical ? size.y : size.x));
    const auto offset = static_cast<int32_t>(std::lround(value * travel)) + (vertical ? size.y : size.x) / 2;
    const int32_t at = vertical ? r.bottom + 1 - offset : r.left + offset;
    const MRect box = vertical ? MRect{r.left, at - size.y / 2, r.right, at - size.y / 2 + size.y - 1}
                               : MRect{at - size.x / 2, r.top, at - size.x / 2 + size.x - 1, r.bottom};
    pointer->Paint(drawer, Centred(box, size), scale_, alpha);
  }
}

void MTexturedStyle::PaintKnob(MDrawer& drawer, const MStyleElement& element, const MStyledControl& control) {
  const MStyleImage* body = element.Part("image");
  if (!body) return;
  const MPoint design = DeviceSize(*body);
  const int32_t side = std::min({control.rect.Width(), control.rect.Height(), std::max(design.x, design.y)});
  const MRect box = Centred(control.rect, {side, side});
  const uint8_t alpha = HasState(control.state, MControlState::kDisabled) ? 110 : 255;
  const double pi = std::numbers::pi;
  const double start = element.Number("baseangle", 225) * pi / 180;
  const double angle = start + std::clamp(control.value, 0.0, 1.0) * 1.5 * pi;
  const MPointF centre{box.left + side / 2.0, box.top + side / 2.0};
  if (const MStyleImage* background = element.Part("imagebackground")) background->Paint(drawer, box, scale_, alpha);
  if (const MStyleImage* arc = element.Part("imagearc"); arc && control.value > 0) {
    // The ring's cross-section is the arc image's middle column above the
    // centre; bent from the base angle to the value it draws the value arc.
    const MBitmap& source = arc->Bitmap();
    const int32_t middle = source.Width() / 2;
    int32_t first = -1, last = -1;
    for (int32_t y = 0; y < source.Height() / 2; ++y) {
      if (source.Row(y)[middle * 4 + 3] != 0) {
        if (first < 0) first = y;
        last = y;
      }
    }
    if (first >= 0) {
      const double toDevice = static_cast<double>(side) / source.Height();
      const double centreY = source.Height() / 2.0;
      drawer.StretchBltArc(centre, (centreY - last - 1) * toDevice, (centreY - first) * toDevice, start, angle,
                           source, {middle, first, middle, last}, alpha, arc->Mode());
    }
  }
  body->Paint(drawer, box, scale_, alpha);
  if (const MStyleImage* pointer = element.Part("selector")) {
    // The pointer stands at twelve o'clock in its image: copied at the device
    // size first, then turned to the value.
    MBitmap sized(side, side);
    MDrawerToMBitmap sizer(sized);
    pointer->Paint(sizer, {0, 0, side - 1, side - 1}, scale_, 255, MDrawingMode::kCopy);
    drawer.RotatedBlt(centre, sized, {0, 0, side - 1, side - 1}, angle, alpha, pointer->Mode());
  }
  if (!control.caption.IsEmpty()) {
    const int32_t h = GetFont(control.fontIndex).LineHeight();
    PaintCaption(drawer, control, {control.rect.left, box.bottom - h / 2, control.rect.right, box.bottom + h},
                 control.fontIndex, kTextCenter | kTextVCenter);
  }
}

void MTexturedStyle::PaintControl(MDrawer& drawer, const MStyledControl& control) {
  std::string name;
  const MStyleElement* element = ElementOf(control, &name);
  if (!element) {
    // No element for this control: a generated rectangle.
    drawer.FillRectangle(control.rect, MBrush{GetColor(MStyleColor::kControl)});
    drawer.Rectangle(control.rect, MBrush{GetColor(MStyleColor::kBorder)});
    PaintContent(drawer, control);
    return;
  }
  const MRect& r = control.rect;
  MControlState state = control.state;
  switch (FamilyOf(name)) {
    case Family::kStateSet:
      PaintElement(drawer, name.c_str(), "", r, state);
      PaintContent(drawer, control);
      break;
    case Family::kCheck: {
      if (control.checked) state = state | MControlState::kClicked;
      const MStyleImage* box = element->Part("normal");
      if (!box) break;
      const MPoint size = DeviceSize(*box);
      PaintElement(drawer, name.c_str(), "", Centred({r.left, r.top, r.left + size.x - 1, r.bottom}, size), state);
      PaintCaption(drawer, control, {r.left + size.x + ScaleX(6), r.top, r.right, r.bottom}, control.fontIndex,
                   kTextLeft | kTextVCenter);
      break;
    }
    case Family::kTracker:
    case Family::kProgress:
    case Family::kScrollBar:
      PaintValueBar(drawer, *element, control);
      break;
    case Family::kKnob:
      PaintKnob(drawer, *element, control);
      break;
    case Family::kTabs: {
      const char* part = HasState(state, MControlState::kDisabled) ? "grayed" : control.checked ? "image" : "off";
      if (!element->Part(part)) part = "image";
      PaintElement(drawer, name.c_str(), part, r, state);
      PaintContent(drawer, control);
      break;
    }
    case Family::kList:
      PaintElement(drawer, name.c_str(), "image", r, state);
      break;
    case Family::kSplitter:
      PaintElement(drawer, name.c_str(), Vertical(name, r) ? "vimage" : "himage", r, state);
      break;
    case Family::kContainer: {
      PaintElement(drawer, name.c_str(), "image", r, state);
      const int32_t captionHeight = ScaleY(element->Number("captionheight", 0));
      if (control.caption.IsEmpty() || captionHeight <= 0) break;
      const MRect caption{r.left, r.top, r.right, std::min(r.bottom, r.top + captionHeight - 1)};
      PaintElement(drawer, name.c_str(), "normalcaption", caption, state);
      PaintCaption(drawer, control, caption, element->Number("captionfont", control.fontIndex),
                   kTextCenter | kTextVCenter);
      break;
    }
  }
}

}  // namespace kx
