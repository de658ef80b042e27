// The socket steps the test servers share: a loopback address, a listener on a
// port of its own, waiting for bytes, reading a request whole, sending a buffer.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace kx::testing {

inline sockaddr_in Loopback(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// A socket listening on 127.0.0.1 at a free port, which `port` receives; -1 on failure.
inline int ListenOnLoopback(uint16_t& port) {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof(address);
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(fd, 8) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    if (fd >= 0) ::close(fd);
    return -1;
  }
  port = ntohs(address.sin_port);
  return fd;
}

// `fd` has bytes (or an end) to read within `milliseconds`.
inline bool Readable(int fd, int milliseconds) {
  pollfd entry{fd, POLLIN, 0};
  return ::poll(&entry, 1, milliseconds) > 0;
}

// Waits until `fd` is readable, `stop` is set, or ten seconds have gone.
inline bool WaitReadable(int fd, const std::atomic<bool>& stop) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!stop && std::chrono::steady_clock::now() < deadline)
    if (Readable(fd, 50)) return true;
  return false;
}

// The Content-Length named in a request header, 0 without one.
inline size_t BodyLength(const std::string& header) {
  const char name[] = "\ncontent-length:";
  for (size_t at = header.find('\n'); at != std::string::npos; at = header.find('\n', at + 1))
    if (::strncasecmp(header.c_str() + at, name, sizeof(name) - 1) == 0)
      return std::strtoul(header.c_str() + at + sizeof(name) - 1, nullptr, 10);
  return 0;
}

// A request through the empty line that ends its header (LF or CRLF lines) and
// the body its Content-Length names; what came when the peer or the wait ends.
inline std::string ReadRequest(int fd, const std::atomic<bool>& stop) {
  std::string request;
  size_t wanted = std::string::npos;
  char buffer[4096];
  for (;;) {
    if (wanted == std::string::npos) {
      size_t lf = request.find("\n\n"), crlf = request.find("\r\n\r\n");
      size_t end = std::min(lf == std::string::npos ? lf : lf + 2,
                            crlf == std::string::npos ? crlf : crlf + 4);
      if (end != std::string::npos) wanted = end + BodyLength(request.substr(0, end));
    }
    if (request.size() >= wanted || !WaitReadable(fd, stop)) return request;
    ssize_t got = ::recv(fd, buffer, sizeof(buffer), 0);
    if (got <= 0) return request;
    request.append(buffer, static_cast<size_t>(got));
  }
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
