// MPendingList: events waiting to be delivered on the thread that drains the list,
// one entry per posted payload, in posting order. The global list is the one that
// the GUI timer drains; other lists serve threads that drain their own.
//
// Every operation takes the global lock. ExecuteAll reads the count once and then
// delivers exactly that many entries, taking each under the lock and delivering it
// without: entries added meanwhile wait for the next drain, and listeners may post
// again or take other locks.
//
// MEventBase is what a list holds: the type-independent face of MEvent<T>.
#pragma once

#include <cstdint>
#include <memory>

namespace kx {

class MPendingList;

class MEventBase {
 public:
  MEventBase() = default;
  virtual ~MEventBase() = default;
  MEventBase(const MEventBase&) = delete;
  MEventBase& operator=(const MEventBase&) = delete;

  // Delivers the oldest pending payload, if any, to the listeners.
  virtual void ExecutePendingEvent() = 0;

 protected:
  // The following run under the global lock.
  // Makes `list` the one this event is pending on; entries waiting on another
  // list move over, so that an event stands on one list only.
  void AttachTo(MPendingList& list);
  // Takes all entries of this event off its list.
  void DetachFromList();
  virtual void ClearPendingPayloads() = 0;

 private:
  friend class MPendingList;
  MPendingList* pendingList_ = nullptr;
};

class MPendingList {
 public:
  static constexpr int32_t kInlineCapacity = 32;

  MPendingList() = default;
  // Events still waiting here lose their pending payloads.
  ~MPendingList();
  MPendingList(const MPendingList&) = delete;
  MPendingList& operator=(const MPendingList&) = delete;

  void Add(MEventBase* event);
  // Adds unless the event stands on the list already; answers whether it added.
  bool AddUnique(MEventBase* event);
  // Takes every entry of the event off; answers how many there were.
  int32_t RemoveAll(MEventBase* event);
  int32_t Count() const;

  // The drain; answers the number of entries delivered.
  int32_t ExecuteAll();

 private:
  MEventBase* TakeFirst();
  void Grow();

  MEventBase* inline_[kInlineCapacity] = {};
  std::unique_ptr<MEventBase*[]> grown_;  // the entries once they outgrow inline_
  MEventBase** entries_ = inline_;
  int32_t capacity_ = kInlineCapacity;
  int32_t first_ = 0;  // taking from the front moves this, not the entries
  int32_t count_ = 0;
};

// The list that MEvent::Post uses and the GUI timer drains.
MPendingList& GlobalPendingList();

// Drains the global list: GlobalPendingList().ExecuteAll().
int32_t ExecuteAllPending();

}  // namespace kx
