#include "gui/controls/tag_table.h"

#include "foundation/core/exception.h"

namespace kx {

MTagTable::~MTagTable() {
  for (Slot& slot : slots_) Release(slot);
}

void MTagTable::Release(Slot& slot) {
  if (slot.deleteWithControl && slot.deleter && slot.pointer) slot.deleter(slot.pointer);
  slot = Slot{};
}

int MTagTable::IndexOf(uint32_t tag) const {
  if (tag == kFree) return -1;
  const int home = HomeSlot(tag);
  for (int step = 0; step < kSlots; ++step) {
    const int i = (home + step) % kSlots;
    if (slots_[i].tag == tag) return i;
  }
  return -1;
}

const MTagTable::Slot* MTagTable::Find(uint32_t tag) const {
  const int i = IndexOf(tag);
  return i < 0 ? nullptr : &slots_[i];
}

void MTagTable::Put(uint32_t tag, uint8_t kind, void* pointer, int64_t value, Deleter deleter) {
  int i = IndexOf(tag);
  if (i < 0) {
    const int home = HomeSlot(tag);
    for (int step = 0; step < kSlots && i < 0; ++step) {
      if (slots_[(home + step) % kSlots].tag == kFree) i = (home + step) % kSlots;
    }
    // The tags in use are few; a seventeenth is a programming error.
    if (i < 0) {
      if (deleter && pointer) deleter(pointer);
      throw MException(MString("Tag table is full."));
    }
  } else {
    Release(slots_[i]);
  }
  Slot& slot = slots_[i];
  slot.tag = tag;
  slot.kind = kind;
  slot.pointer = pointer;
  slot.value = value;
  slot.deleter = deleter;
  slot.deleteWithControl = deleter != nullptr;
}

bool MTagTable::Remove(uint32_t tag) {
  const int i = IndexOf(tag);
  if (i < 0) return false;
  Release(slots_[i]);
  // Re-seat the followers of the probe run so that lookups still find them.
  for (int step = 1; step < kSlots; ++step) {
    const int j = (i + step) % kSlots;
    if (slots_[j].tag == kFree) break;
    Slot moved = slots_[j];
    slots_[j] = Slot{};
    int k = HomeSlot(moved.tag);
    while (slots_[k].tag != kFree) k = (k + 1) % kSlots;
    slots_[k] = moved;
  }
  return true;
}

}  // namespace kx
