// Walking a tree without recursion.
//
// MXMLIterator visits a subtree depth first, the root first, keeping an explicit
// stack of list positions (one per level):
//   MXMLIterator it;
//   for (MXMLItem* item = it.Begin(root); item; item = it.Next()) ...
// Next(false) does not descend into the current item's subitems, for walks that
// are interested only in some branches. Changing the lists of an item on the
// stack during the walk is not allowed.
//
// MXMLNameIterator goes over the subitems of one parent that have one name,
// compared without regard to case:
//   for (MXMLItem& file : MXMLNameIterator(folder, "file")) ...
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/xml/xml_item.h"

namespace kx {

class MXMLIterator {
 public:
  // Starts on `root`, which is returned.
  MXMLItem* Begin(MXMLItem& root);
  // The next item in depth-first order, or null when the subtree is done.
  MXMLItem* Next(bool descend = true);
  MXMLItem* Current() const { return stack_.count ? stack_.data[stack_.count - 1] : nullptr; }
  // 0 for the root.
  int32_t Depth() const { return stack_.count - 1; }

 private:
  MArray<MXMLItem*> stack_;
};

class MXMLNameIterator {
 public:
  MXMLNameIterator(const MXMLItem& parent, const MXMLName& key) : key_(key) { Seek(parent.firstSubItem); }

  MXMLItem* Current() const { return current_; }
  bool IsValid() const { return current_ != nullptr; }
  // The next sibling of the name, or null.
  MXMLItem* Next() {
    if (current_) Seek(current_->next);
    return current_;
  }

  // Range-for support.
  struct Position {
    MXMLNameIterator* owner;
    MXMLItem& operator*() const { return *owner->current_; }
    Position& operator++() {
      owner->Next();
      return *this;
    }
    bool operator!=(const Position&) const { return owner->current_ != nullptr; }
  };
  Position begin() { return {this}; }
  Position end() { return {this}; }

 private:
  void Seek(MXMLItem* from) {
    while (from && !key_.MatchesText(from->name)) from = from->next;
    current_ = from;
  }

  MXMLName key_;
  MXMLItem* current_ = nullptr;
};

}  // namespace kx
