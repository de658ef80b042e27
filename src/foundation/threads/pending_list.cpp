#include "foundation/threads/pending_list.h"

#include <algorithm>
#include <new>

#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "foundation/core/never_destroyed.h"

namespace kx {

void MEventBase::AttachTo(MPendingList& list) {
  if (pendingList_ == &list) return;
  if (pendingList_) {
    MPendingList* previous = pendingList_;
    int32_t moved = previous->RemoveAll(this);
    for (int32_t i = 0; i < moved; ++i) list.Add(this);
  }
  pendingList_ = &list;
}

void MEventBase::DetachFromList() {
  if (pendingList_) pendingList_->RemoveAll(this);
  pendingList_ = nullptr;
}

MPendingList::~MPendingList() {
  MGlobalLock hold;
  for (int32_t i = 0; i < count_; ++i) {
    MEventBase* event = entries_[first_ + i];
    if (event->pendingList_ == this) {
      event->pendingList_ = nullptr;
      event->ClearPendingPayloads();
    }
  }
}

void MPendingList::Grow() {
  // Room at the end comes first from the space that the drain has freed at the front.
  if (first_ > 0 && count_ <= capacity_ / 2) {
    std::copy(entries_ + first_, entries_ + first_ + count_, entries_);
    first_ = 0;
    return;
  }
  if (capacity_ > INT32_MAX / 2) throw std::bad_alloc();
  int32_t capacity = capacity_ * 2;
  auto entries = std::make_unique_for_overwrite<MEventBase*[]>(static_cast<size_t>(capacity));
  std::copy(entries_ + first_, entries_ + first_ + count_, entries.get());
  grown_ = std::move(entries);
  entries_ = grown_.get();
  capacity_ = capacity;
  first_ = 0;
}

void MPendingList::Add(MEventBase* event) {
  MGlobalLock hold;
  if (first_ + count_ == capacity_) Grow();
  entries_[first_ + count_] = event;
  ++count_;
}

bool MPendingList::AddUnique(MEventBase* event) {
  MGlobalLock hold;
  MEventBase** begin = entries_ + first_;
  if (std::find(begin, begin + count_, event) != begin + count_) return false;
  Add(event);
  return true;
}

int32_t MPendingList::RemoveAll(MEventBase* event) {
  MGlobalLock hold;
  MEventBase** begin = entries_ + first_;
  MEventBase** kept = std::remove(begin, begin + count_, event);
  auto removed = static_cast<int32_t>(begin + count_ - kept);
  count_ -= removed;
  if (count_ == 0) first_ = 0;
  return removed;
}

int32_t MPendingList::Count() const {
  MGlobalLock hold;
  return count_;
}

MEventBase* MPendingList::TakeFirst() {
  MGlobalLock hold;
  if (count_ == 0) return nullptr;
  MEventBase* event = entries_[first_];
  --count_;
  first_ = count_ == 0 ? 0 : first_ + 1;
  return event;
}

int32_t MPendingList::ExecuteAll() {
  const int32_t due = Count();
  int32_t delivered = 0;
  while (delivered < due) {
    MEventBase* event = TakeFirst();
    if (!event) break;  // taken off meanwhile by a CancelPending
    ++delivered;
    Guarded("MEvent::ExecutePendingEvent", [event] { event->ExecutePendingEvent(); });
  }
  return delivered;
}

MPendingList& GlobalPendingList() {
  // Never destroyed, like the global lock: static events may still cancel late.
  static MNeverDestroyed<MPendingList> list;
  return list.Get();
}

int32_t ExecuteAllPending() {
  return GlobalPendingList().ExecuteAll();
}

}  // namespace kx
