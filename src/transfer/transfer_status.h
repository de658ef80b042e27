// MTransferStatus: the status line of the download manager, a text and a bar value
// that the download thread writes and the GUI's timer reads.
//
// Set logs "  info : " and the text, then stores the text (and the value, when
// asked) under the status lock. `onChange`, when set, is called after each Set on
// the setting thread, outside the lock, with what was stored: tools print the lines
// from it. Set it before the thread starts; it must not throw.
#pragma once

#include <functional>

#include "foundation/text/text_string.h"
#include "foundation/threads/lock.h"

namespace kx {

class MTransferStatus {
 public:
  void Set(const MString& text, bool setValue = false, double value = 0.0);
  MString Text() const;
  double Value() const;

  std::function<void(const MString& text, double value)> onChange;

 private:
  mutable MCriticalSection lock_;
  MString text_;
  double value_ = 0.0;
};

}  // namespace kx
