// The control's side of the layout engine: borders, minimal sizes, placement
// in a rectangle, the pass over children and the window's fit to its screen.
#include <algorithm>

#include "gui/controls/control.h"
#include "gui/host/window_host.h"
#include "gui/layout/layout.h"
#include "gui/styles/styles.h"

namespace kx {

namespace {

int32_t Clamp(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, 0, kMaxExtent)); }
int32_t ClampSigned(int64_t v) {
  return static_cast<int32_t>(std::clamp<int64_t>(v, -kMaxExtent, kMaxExtent));
}

}  // namespace

MRect MControl::GetChrome() const {
  MStyles* style = GetStyle();
  if (!style || ControlType == MControlType::kEmpty || ControlType == MControlType::kNoBackground)
    return {0, 0, 0, 0};
  MStyledControl styled;
  FillStyled(styled);
  return style->GetBorders(styled);
}

void MControl::ComputeBorders() {
  EffectiveBorderX = ScaleX(LayoutBorderX);
  EffectiveBorderY = ScaleY(LayoutBorderY);
  Chrome = GetChrome();
}

int32_t MControl::GetResizability() {
  if (Layouts.empty() && !ClientLayoutChild)
    return (Has(MControlFlag::kResizableX) ? 1 : 0) | (Has(MControlFlag::kResizableY) ? 2 : 0);
  int32_t result = 0;
  if (ClientLayoutChild && !ClientLayoutChild->OwnerLayout) result |= ClientLayoutChild->GetResizability();
  for (auto& layout : Layouts) {
    if (result == 3) break;
    result |= layout->GetResizability();
  }
  return result;
}

void MControl::ComputeMinimalSize() {
  for (auto& child : Children) child->ComputeMinimalSize();
  ComputeBorders();
  MMinimalAccumulator acc;
  for (auto& layout : Layouts) layout->ComputeMinimalSize(acc);
  if (MControl* client = ClientLayoutChild; client && client->Has(MControlFlag::kVisible)) {
    if (client->Has(MControlFlag::kPlastic)) {
      // Asked both ways; the one that wastes fewer pixels wins, the second on a tie.
      const int64_t width = std::max<int64_t>(acc.minX - acc.usedX, client->MinSizeX);
      const int64_t height = std::max<int64_t>(acc.minY - acc.usedY, client->MinSizeY);
      const int64_t h1 = client->ComputePlasticSize(true, Clamp(width));
      const int64_t w2 = client->ComputePlasticSize(false, Clamp(height));
      const int64_t waste1 = std::max<int64_t>(0, height - h1) * width;
      const int64_t waste2 = std::max<int64_t>(0, width - w2) * height;
      if (waste1 < waste2) acc.AddRest(width, h1);
      else acc.AddRest(w2, height);
    } else {
      acc.AddRest(MeasureWidth(*client, MMeasurePolicy::kMinimal),
                  MeasureHeight(*client, MMeasurePolicy::kMinimal));
    }
  }
  int64_t clientX = std::max<int64_t>(0, std::max<int64_t>(acc.ResultX(), ScaleX(MinClientSizeX)));
  int64_t clientY = std::max<int64_t>(0, std::max<int64_t>(acc.ResultY(), ScaleY(MinClientSizeY)));
  const MPoint content = GetMinimalContentSize();
  clientX = std::max<int64_t>(clientX, content.x);
  clientY = std::max<int64_t>(clientY, content.y);
  if (Has(MControlFlag::kAutoDetectMinimalSizeX) || Has(MControlFlag::kAutoDetectMinimalSizeY)) {
    for (auto& child : Children) {
      if (child->Has(MControlFlag::kLayoutManaged) || child->Has(MControlFlag::kOverlayControl) ||
          child.get() == ClientLayoutChild || !child->Has(MControlFlag::kVisible))
        continue;
      if (Has(MControlFlag::kAutoDetectMinimalSizeX))
        clientX = std::max<int64_t>(clientX, int64_t{child->PosX} - Chrome.left +
                                                 std::max(child->AskedSizeX, child->MinSizeX));
      if (Has(MControlFlag::kAutoDetectMinimalSizeY))
        clientY = std::max<int64_t>(clientY, int64_t{child->PosY} - Chrome.top +
                                                 std::max(child->AskedSizeY, child->MinSizeY));
    }
  }
  MinSizeX = Clamp(clientX + Chrome.left + Chrome.right);
  MinSizeY = Clamp(clientY + Chrome.top + Chrome.bottom);
  CollapsedSizeX = Clamp(int64_t{Chrome.left} + Chrome.right);
  CollapsedSizeY = Clamp(int64_t{Chrome.top} + Chrome.bottom);
  SizeX = std::max(SizeX, MinSizeX);
  SizeY = std::max(SizeY, MinSizeY);
}

void MControl::PlaceInRectangle(const MRect& rect) {
  const int64_t bx = EffectiveBorderX, by = EffectiveBorderY;
  const int64_t availableW = int64_t{rect.right} - rect.left + 1 - 2 * bx;
  const int64_t availableH = int64_t{rect.bottom} - rect.top + 1 - 2 * by;
  const bool saveX = Has(MControlFlag::kSaveRatioX), saveY = Has(MControlFlag::kSaveRatioY);
  const bool collapsed = IsCollapsed();
  int64_t x = rect.left + bx, y = rect.top + by, w = availableW, h = availableH;
  if (saveX && saveY && MinSizeX > 0 && MinSizeY > 0) {
    const int64_t m = std::min(std::max<int64_t>(0, availableW) * MinSizeY,
                               std::max<int64_t>(0, availableH) * MinSizeX);
    w = m / MinSizeY;
    h = m / MinSizeX;
    x = std::max<int64_t>(rect.left + bx, rect.left + bx + (availableW - w) / 2);
    y = std::max<int64_t>(rect.top + by, rect.top + by + (availableH - h) / 2);
  } else if (!saveX && !saveY && LayoutPlacement != kPlacementFill) {
    const bool plastic = Has(MControlFlag::kPlastic);
    if (!(LayoutRatioX > 0 || plastic)) {
      w = collapsed ? std::max(AskedSizeX, CollapsedSizeX) : std::max(MinSizeX, AskedSizeX);
      if (LayoutPlacement & 1) x = rect.left + bx;
      else if (LayoutPlacement & 2) x = rect.right + 1 - w - bx;
      else x = rect.left + (int64_t{rect.right} + 1 - rect.left - w) / 2;
    }
    if (!(LayoutRatioY > 0 || plastic)) {
      h = collapsed ? CollapsedSizeY : std::max(MinSizeY, AskedSizeY);
      if (LayoutPlacement & 4) y = rect.top + by;
      else if (LayoutPlacement & 8) y = rect.bottom + 1 - h - by;
      else y = rect.top + (int64_t{rect.bottom} + 1 - rect.top - h) / 2;
    }
  }
  PosX = ClampSigned(x);
  PosY = ClampSigned(y);
  SizeX = Clamp(w);
  if (!collapsed) SizeY = Clamp(h);
  UpdateOffsets();
}

void MControl::UpdateOffsets() {
  const int32_t sizeX = ShownSizeX(), sizeY = ShownSizeY();
  if (IsWindow() || !Parent) {
    OffsetX = OffsetY = 0;
    ClipRect = {0, 0, sizeX - 1, sizeY - 1};
  } else {
    OffsetX = ClampSigned(int64_t{Parent->OffsetX} + PosX);
    OffsetY = ClampSigned(int64_t{Parent->OffsetY} + PosY);
    const MRect own{OffsetX, OffsetY, ClampSigned(int64_t{OffsetX} + sizeX - 1),
                    ClampSigned(int64_t{OffsetY} + sizeY - 1)};
    ClipRect = own.Intersect(Parent->ClipRect);
  }
  ClientRect = {Chrome.left, Chrome.top, SizeX - 1 - Chrome.right, SizeY - 1 - Chrome.bottom};
}

void MControl::PlaceChildren() {
  UpdateOffsets();
  if (!IsCollapsed()) {
    MRect rest = ClientRect;
    for (auto& layout : Layouts) rest = layout->Place(rest);
    if (ClientLayoutChild && ClientLayoutChild->Has(MControlFlag::kVisible)) {
      MControl& client = *ClientLayoutChild;
      if (client.Has(MControlFlag::kPlastic) && !rest.IsEmpty()) {
        client.SizeY = std::max(client.MinSizeY, client.ComputePlasticSize(true, rest.Width()));
      }
      client.PlaceInRectangle(rest);
    }
  }
  for (auto& child : Children) {
    if (!child->Has(MControlFlag::kLayoutManaged) && child.get() != ClientLayoutChild) child->UpdateOffsets();
    if (child->Has(MControlFlag::kVisible)) child->PlaceChildren();
  }
}

void MControl::ComputeGeometry() {
  ComputeMinimalSize();
  PlaceChildren();
  OnSize();
}

void MControl::FitWindowToWorkArea() {
  if (!IsWindow()) return;
  MWindowHost* host = host_;
  int64_t w = std::max(SizeX, MinSizeX), h = std::max(SizeY, MinSizeY);
  int64_t x = PosX, y = PosY;
  if (host && !Module->noWorkAreaLimit) {
    const MRect area = host->GetWorkArea(*this);
    // Moves left and up to stay on screen, then shrinks.
    if (x + w - 1 > area.right) x = std::max<int64_t>(area.left, area.right + 1 - w);
    if (y + h - 1 > area.bottom) y = std::max<int64_t>(area.top, area.bottom + 1 - h);
    w = std::min<int64_t>(w, area.Width());
    h = std::min<int64_t>(h, area.Height());
  }
  const int32_t step = Module->sizeStep;
  if (step > 1) {
    w = (w + step) - (w + step) % step;
    h = (h + step) - (h + step) % step;
  }
  const bool changed = w != SizeX || h != SizeY || x != PosX || y != PosY;
  PosX = ClampSigned(x);
  PosY = ClampSigned(y);
  if (w != SizeX || h != SizeY) {
    SizeX = Clamp(w);
    SizeY = Clamp(h);
    PlaceChildren();
    OnSize();
  }
  if (changed && host && Has(MControlFlag::kShown)) host->MoveResize(*this, {PosX, PosY}, {SizeX, SizeY});
}

}  // namespace kx
