// MNeverDestroyed<T>: a function-local object built in place on first use whose
// destructor never runs. For the few globals (the global lock, the log, the node
// pools) that threads and static destructors may still reach while the
// program's statics are torn down.
#pragma once

#include <new>
#include <utility>

namespace kx {

template <typename T>
class MNeverDestroyed {
 public:
  template <typename... Args>
  explicit MNeverDestroyed(Args&&... args) {
    ::new (static_cast<void*>(storage_)) T(std::forward<Args>(args)...);
  }
  MNeverDestroyed(const MNeverDestroyed&) = delete;
  MNeverDestroyed& operator=(const MNeverDestroyed&) = delete;
  ~MNeverDestroyed() = default;  // on purpose: T's destructor is not called

  T& Get() { return *std::launder(reinterpret_cast<T*>(storage_)); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace kx
