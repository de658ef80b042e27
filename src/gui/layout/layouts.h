// The concrete layouts and the elements that create them:
//   left, right, top, bottom   MSideLayout         a strip along one side
//   vertical, horizontal       MDirectionalLayout  a stack over the whole rest
//   overlay                    MOverlayLayout      pages: the first visible one
//   occupyborder               MBorderLayout       an inset, no members
//   corner                     MCornerLayout       a frame around a centre
//   grid                       MGridLayout         a table
#pragma once

#include <array>
#include <memory>

#include "foundation/text/text_string.h"
#include "gui/layout/layout.h"

namespace kx {

class MSideLayout : public MLayout {
 public:
  enum Side : int32_t { kLeft = 0, kRight = 1, kTop = 2, kBottom = 3 };
  MSideLayout(MControl& owner, int32_t direction) : MLayout(owner), Direction(direction) {}
  void AddControl(MControl& control) override;
  MRect Place(const MRect& rect) override;
  void ComputeMinimalSize(MMinimalAccumulator& accumulator) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override;

  int32_t Direction;
  bool Reverse = false;

 private:
  bool Vertical() const;  // members stack top to bottom (left and right strips)
};

class MDirectionalLayout : public MLayout {
 public:
  MDirectionalLayout(MControl& owner, int32_t direction) : MLayout(owner), Direction(direction) {}
  void ReadMemberAttributes(MControl& control, MXMLItem& definition) override;
  MRect Place(const MRect& rect) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override;

  int32_t Direction;  // 1 vertical, 0 horizontal
  bool Reverse = false;
  bool AutoSwap = false;

 private:
  bool EffectiveVertical() const;
};

class MOverlayLayout : public MLayout {
 public:
  using MLayout::MLayout;
  void AddControl(MControl& control) override;
  MRect Place(const MRect& rect) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override;

  bool CountHidden = true;
};

class MBorderLayout : public MLayout {
 public:
  using MLayout::MLayout;
  void ReadAttributes(MXMLItem& definition) override;
  MRect Place(const MRect& rect) override;
  void ComputeMinimalSize(MMinimalAccumulator& accumulator) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override { return 3; }

  int32_t X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
};

class MCornerLayout : public MLayout {
 public:
  explicit MCornerLayout(MControl& owner);
  // Puts `control` into the place `target` names; throws "Invalid target for
  // corner layout." for another word.
  void AddToTarget(MControl& control, const MString& target, int32_t space);
  void ReadMemberAttributes(MControl& control, MXMLItem& definition) override;
  void AddControl(MControl& control) override;
  void RemoveControl(MControl& control) override;
  MRect Place(const MRect& rect) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override;

  // Left, right (vertical), top, bottom (horizontal).
  std::array<std::unique_ptr<MDirectionalLayout>, 4> Strips;
  std::array<MControl*, 4> Corners{};

 private:
  struct Thickness { int32_t left, top, right, bottom; };
  Thickness Measure(MMeasurePolicy policy);
};

class MGridLayout : public MLayout {
 public:
  using MLayout::MLayout;
  void ReadAttributes(MXMLItem& definition) override;
  void ReadMemberAttributes(MControl& control, MXMLItem& definition) override;
  void AddControl(MControl& control) override;
  void RemoveControl(MControl& control) override;
  MRect Place(const MRect& rect) override;
  MPoint ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) override;
  int32_t GetResizability() override;
  void SetColumns(int32_t columns);
  MControl* Cell(int32_t column, int32_t row) const;

  struct RowRecord {
    int32_t height = 0;
    bool allPlastic = false;
  };

  int32_t Columns = 1;
  int32_t Rows = 1;
  std::vector<MControl*> Cells;  // row-major, Columns * Rows
  std::vector<RowRecord> RowRecords;
  bool VerticalFill = false;
  bool UseGridSpace = false;  // the style's grid gap for rows
  int32_t Folds = 1;

 private:
  int32_t Span(const MControl& cell) const;
  // Column widths and row heights (needs) under `policy`; ratios beside them.
  void MeasureColumns(MMeasurePolicy policy, std::vector<int64_t>& widths,
                      std::vector<int64_t>& ratios, std::vector<uint8_t>& used);
  void MeasureRows(MMeasurePolicy policy, std::vector<int64_t>& heights,
                   std::vector<int64_t>& ratios);
  int32_t RowGap() const;
  int32_t next_ = 0;  // the next free cell
};

// The layout an element name creates on `owner`, or null for another name.
std::unique_ptr<MLayout> CreateLayoutFor(const MString& element, MControl& owner);

}  // namespace kx
