// Properties of the layout engine over seeded random definition trees: members
// stay inside their parent's client area, visible siblings never overlap, no
// minimal size exceeds the size a layout gave, and a second pass changes
// nothing.
#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "control_test_support.h"
#include "gui/layout/layouts.h"

namespace kx {
namespace {

class TreeWriter {
 public:
  explicit TreeWriter(uint32_t seed) : random_(seed) {}

  std::string Window() {
    std::string out = "<w sizex=\"" + std::to_string(Pick(0, 300)) + "\" sizey=\"" + std::to_string(Pick(0, 300)) + "\">";
    Layouts(out, 0);
    return out + "</w>";
  }

 private:
  int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

  void Layouts(std::string& out, int depth) {
    static const char* kSides[] = {"left", "right", "top", "bottom", "occupyborder"};
    static const char* kLast[] = {"vertical", "horizontal", "grid", "overlay"};
    const int sides = Pick(0, 2);
    for (int i = 0; i < sides; ++i) Layout(out, kSides[Pick(0, 4)], depth);
    if (Pick(0, 3) > 0) Layout(out, kLast[Pick(0, 3)], depth);
  }

  void Layout(std::string& out, const std::string& kind, int depth) {
    out += "<" + kind;
    if (kind == "occupyborder") out += " x1=\"" + std::to_string(Pick(0, 6)) + "\" y1=\"" + std::to_string(Pick(0, 6)) + "\"";
    if (kind == "grid") out += " columns=\"" + std::to_string(Pick(1, 4)) + "\"";
    if (Pick(0, 3) == 0) out += " layoutspace=\"" + std::to_string(Pick(0, 4)) + "\"";
    out += ">";
    const int members = kind == "occupyborder" ? 0 : Pick(0, 4);
    for (int i = 0; i < members; ++i) Member(out, kind, depth);
    out += "</" + kind + ">";
  }

  void Member(std::string& out, const std::string& kind, int depth) {
    out += "<panel id=\"p" + std::to_string(next_++) + "\"";
    auto maybe = [&](const char* key, int low, int high) {
      if (Pick(0, 2) == 0) out += std::string(" ") + key + "=\"" + std::to_string(Pick(low, high)) + "\"";
    };
    for (auto [key, low, high] : {std::tuple{"sizex", 0, 60},
                                  {"sizey", 0, 60},
                                  {"layoutratiox", 0, 3},
                                  {"layoutratioy", 0, 3},
                                  {"layoutborderx", 0, 3},
                                  {"layoutbordery", 0, 3},
                                  {"minclientsizex", 0, 40}})
      maybe(key, low, high);
    if (kind == "vertical" || kind == "horizontal") maybe("space", 0, 3);
    if (kind == "grid") maybe("hspan", 1, 3);
    if (Pick(0, 9) == 0) out += " visible=\"0\"";
    if (Pick(0, 9) == 0) out += " collapsable=\"1\" collapsed=\"1\"";
    out += ">";
    if (depth < 3 && Pick(0, 2) == 0) Layouts(out, depth + 1);
    out += "</panel>";
  }

  std::mt19937 random_;
  int next_ = 0;
};

bool Shown(const MControl& c) {
  for (const MControl* p = c.Parent; p; p = p->Parent)
    if (p->IsCollapsed() || !p->Has(MControlFlag::kVisible)) return false;
  return c.Has(MControlFlag::kVisible);
}

MRect Own(const MControl& c) { return {c.PosX, c.PosY, c.PosX + c.ShownSizeX() - 1, c.PosY + c.ShownSizeY() - 1}; }

std::string Faults(MControl& window) {
  std::string faults;
  std::vector<MControl*> stack{&window};
  while (!stack.empty()) {
    MControl& c = *stack.back();
    stack.pop_back();
    for (auto& child : c.Children) stack.push_back(child.get());
    if (!Shown(c)) continue;
    const std::string id = c.ID.ToUTF8String();
    // A collapsed control shows its caption only.
    if (!c.IsCollapsed() && (c.MinSizeX > c.SizeX || c.MinSizeY > c.SizeY)) faults += id + " below its minimal size; ";
    std::vector<MRect> siblings;
    // Nothing shows inside a control without area (an overlay page never placed).
    if (c.SizeX <= 0 || c.SizeY <= 0) continue;
    for (auto& child : c.Children) {
      if (!child->Has(MControlFlag::kVisible) || !child->Has(MControlFlag::kLayoutManaged) || c.IsCollapsed()) continue;
      // Pages of an overlay lie on each other by design.
      if (dynamic_cast<MOverlayLayout*>(child->OwnerLayout)) continue;
      const MRect r = Own(*child);
      if (r.IsEmpty()) continue;
      const MRect client = c.ClientRect;
      if (r.left < client.left || r.top < client.top || r.right > client.right || r.bottom > client.bottom)
        faults += child->ID.ToUTF8String() + " outside " + id + "; ";
      for (const MRect& other : siblings)
        if (!r.Intersect(other).IsEmpty())
          faults += child->ID.ToUTF8String() + " overlaps a sibling; ";
      siblings.push_back(r);
    }
  }
  return faults;
}

std::string AllRects(MControl& window) {
  std::string out;
  std::vector<MControl*> stack{&window};
  while (!stack.empty()) {
    MControl& c = *stack.back();
    stack.pop_back();
    for (auto& child : c.Children) stack.push_back(child.get());
    out += Rects(window, {c.ID.IsEmpty() ? std::string("w") : c.ID.ToUTF8String()}) + ' ';
  }
  return out;
}

TEST(LayoutProperties, RandomTreesAtThreeScales) {
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    const std::string xml = TreeWriter(seed).Window();
    for (double scale : {1.0, 1.25, 2.0}) {
      auto window = BuildWindow(xml, scale);
      const std::string first = AllRects(*window);
      EXPECT_EQ(Faults(*window), "") << "seed " << seed << " scale " << scale << "\n" << xml;
      window->Layout();
      EXPECT_EQ(AllRects(*window), first) << "seed " << seed << " scale " << scale << "\n" << xml;
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace kx
