// The global lock: one recursive critical section over all pending event lists and
// the node pools. MGlobalLock takes it for one block, but only while the lock is
// active, so that code running while the foundation is being set up or torn down
// passes without it. Start-up sets the flag last, teardown clears it first.
//
// The lock needs no set-up on this platform, so the flag starts at 1.
#pragma once

#include "foundation/threads/lock.h"

namespace kx {

MCriticalSection& GlobalLock();

void SetGlobalLockActive(bool active);
bool IsGlobalLockActive();

class MGlobalLock {
 public:
  MGlobalLock();
  ~MGlobalLock();
  MGlobalLock(const MGlobalLock&) = delete;
  MGlobalLock& operator=(const MGlobalLock&) = delete;

 private:
  bool taken_;  // the flag may change while held: leave only what was entered
};

}  // namespace kx
