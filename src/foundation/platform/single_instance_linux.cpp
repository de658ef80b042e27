#include "foundation/platform/single_instance.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace kx {

// The lock is a UNIX socket bound to a name in the abstract namespace: binding is
// atomic, the namespace is shared by all users of the machine (of one network
// namespace), and the kernel frees the name when the last descriptor closes, so a
// crashed instance never leaves a stale lock behind as a lock file would.
MSingleInstance::MSingleInstance(const MString& name) {
  std::string bytes = name.ToUTF8String();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // One leading zero byte selects the abstract namespace; the name is not
  // zero-terminated there, its length is the rest of the address length.
  const size_t room = sizeof(address.sun_path) - 1;
  if (bytes.size() > room) bytes.resize(room);
  std::memcpy(address.sun_path + 1, bytes.data(), bytes.size());
  const socklen_t length =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + bytes.size());

  // Close-on-exec: a setup launched by this process must not inherit the lock.
  int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    lastError_ = errno;
    return;
  }
  if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    lastError_ = errno;
    alreadyExists_ = lastError_ == EADDRINUSE;
    ::close(fd);
    return;
  }
  handle_ = fd;
}

void MSingleInstance::Release() {
  if (handle_ >= 0) ::close(handle_);
  handle_ = -1;
}

}  // namespace kx
