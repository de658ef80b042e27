// The two socket steps the test servers share: wait for bytes, send all of a buffer.
#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <string>

namespace kx::testing {

// `fd` has bytes (or an end) to read within `milliseconds`.
inline bool Readable(int fd, int milliseconds) {
  pollfd entry{fd, POLLIN, 0};
  return ::poll(&entry, 1, milliseconds) > 0;
}

// Sends every byte, or stops quietly when the peer has gone.
inline void SendAll(int fd, const std::string& bytes) {
  for (size_t sent = 0; sent < bytes.size();) {
    ssize_t result = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (result <= 0) return;
    sent += static_cast<size_t>(result);
  }
}

}  // namespace kx::testing
