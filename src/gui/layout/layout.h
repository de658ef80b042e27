// MLayout: arranges some of a control's children inside a rectangle. A control
// may hold several layouts; they run in the order they were attached, each on
// the rectangle the previous one left (Place returns the rest). The engine
// works in device pixels with inclusive rectangles; design values pass through
// the owner's ScaleX and ScaleY.
//
// Measuring goes through a policy: the "minimal" one for minimal sizes, the
// "current" one when the present sizes count (the extent of side strips).
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "gui/drawing/drawing_types.h"

namespace kx {

class MControl;
class MXMLItem;

// What layouts add to a control's minimal size: the room the side strips took
// (used) and the minimal extent of what was placed in the rest.
struct MMinimalAccumulator {
  int64_t usedX = 0, usedY = 0;
  int64_t minX = 0, minY = 0;

  int64_t ResultX() const { return std::max(usedX, minX); }
  int64_t ResultY() const { return std::max(usedY, minY); }
  // A block of `w` by `h` placed in what is left.
  void AddRest(int64_t w, int64_t h) {
    minX = std::max(minX, usedX + w);
    minY = std::max(minY, usedY + h);
  }
};

enum class MMeasurePolicy : uint8_t { kMinimal, kCurrent };

// The size a member asks for along one axis under a policy, borders included.
int64_t MeasureWidth(const MControl& member, MMeasurePolicy policy);
int64_t MeasureHeight(const MControl& member, MMeasurePolicy policy);

// The empty rectangle a layout returns when it took everything.
inline constexpr MRect kEmptyRect{0, 0, -1, -1};

class MLayout {
 public:
  explicit MLayout(MControl& owner) : Owner(owner) {}
  virtual ~MLayout();
  MLayout(const MLayout&) = delete;
  MLayout& operator=(const MLayout&) = delete;

  virtual void ReadAttributes(MXMLItem& definition);
  virtual void ReadMemberAttributes(MControl& control, MXMLItem& definition);
  virtual void AddControl(MControl& control);
  virtual void RemoveControl(MControl& control);
  virtual void AddControlWithDefaults(MControl& control);
  virtual void RemoveControlFromDefinition(MControl& control) { RemoveControl(control); }
  virtual void OnMembersChanged() {}
  virtual MRect Place(const MRect& rect) = 0;
  // Adds this layout's need to the accumulator of its owner.
  virtual void ComputeMinimalSize(MMinimalAccumulator& accumulator);
  // The minimal width and height of the members together under `policy`.
  virtual MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) = 0;
  MPoint ComputeMinimalSizeWithCurrentSize() {
    return ComputeMinimalSizeWithPolicy(MMeasurePolicy::kCurrent);
  }
  // Bit 0: can grow in X; bit 1: can grow in Y.
  virtual int32_t GetResizability() = 0;

  // The effective gap behind a member.
  int32_t LayoutGap(bool countEmpty) const;
  bool HasMembers() const;
  bool IsMember(const MControl& control) const;

  MControl& Owner;
  std::vector<MControl*> Controls;
  int32_t Space = 0;
  int32_t DefBorderX = -1, DefBorderY = -1;
};

// The stacking helpers of side and directional layouts.
struct MStackSums {
  int64_t fixed = 0;
  int64_t ratioSum = 0;
  int64_t plasticFixed = 0;
  int64_t plasticRatio = 0;
  bool anySaveFlag = false;
  int32_t visible = 0;
};

// Gathers over the visible members of `controls` at strip thickness `across`.
MStackSums GatherStack(const MLayout& layout, const std::vector<MControl*>& controls, bool vertical,
                       int32_t across);
// Arranges the members in `rect`; `fixed` and `ratioSum` as gathered.
void ArrangeStack(const MLayout& layout, const std::vector<MControl*>& controls, bool vertical,
                  bool reverse, const MRect& rect, int64_t fixed, int64_t ratioSum);
// The minimal extent of a stack: the cross thickness and the length along it.
MPoint StackMinimalSize(const MLayout& layout, const std::vector<MControl*>& controls,
                        bool vertical, MMeasurePolicy policy);
// Resizability of a stack: members with a ratio along `vertical` count.
int32_t StackResizability(const std::vector<MControl*>& controls);

}  // namespace kx
