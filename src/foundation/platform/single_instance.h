// MSingleInstance: a machine-wide name that only one process can hold at a time,
// the lock that keeps a second Kestrix from running beside the first.
//
// Construction tries to take the name. AlreadyExists() is the answer "another
// process holds it"; IsHeld() is false also when the lock could not be created at
// all (LastError() tells why). The name is given up by Release(), by destruction,
// or when the process ends, however it ends.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MSingleInstance {
 public:
  explicit MSingleInstance(const MString& name);
  ~MSingleInstance() { Release(); }
  MSingleInstance(const MSingleInstance&) = delete;
  MSingleInstance& operator=(const MSingleInstance&) = delete;

  bool IsHeld() const { return handle_ >= 0; }
  // Another process holds the name.
  bool AlreadyExists() const { return alreadyExists_; }
  // The system's error number of a failed attempt, 0 after success.
  int LastError() const { return lastError_; }
  void Release();

 private:
  int handle_ = -1;
  int lastError_ = 0;
  bool alreadyExists_ = false;
};

}  // namespace kx
