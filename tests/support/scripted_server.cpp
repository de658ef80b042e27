#include "support/scripted_server.h"

#include "support/socket_io.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace kx {
namespace {

constexpr int kWaitMilliseconds = 10000;

using testing::SendAll;

// Waits until `fd` is readable, the server is stopped, or the wait times out.
bool WaitReadable(int fd, const std::atomic<bool>& stop) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(kWaitMilliseconds);
  while (!stop && std::chrono::steady_clock::now() < deadline) {
    if (testing::Readable(fd, 50)) return true;
  }
  return false;
}

// The Content-Length named in a request header, 0 without one.
size_t BodyLength(const std::string& header) {
  size_t start = 0;
  while (start < header.size()) {
    size_t end = header.find('\n', start);
    if (end == std::string::npos) end = header.size();
    std::string line = header.substr(start, end - start);
    const char name[] = "content-length:";
    if (line.size() > sizeof(name) - 1 && ::strncasecmp(line.c_str(), name, sizeof(name) - 1) == 0)
      return std::strtoul(line.c_str() + sizeof(name) - 1, nullptr, 10);
    start = end + 1;
  }
  return 0;
}

std::string ReadRequest(int fd, const std::atomic<bool>& stop) {
  std::string request;
  size_t headerEnd = std::string::npos;
  size_t wanted = 0;
  char buffer[4096];
  for (;;) {
    if (headerEnd == std::string::npos) {
      size_t lf = request.find("\n\n");
      size_t crlf = request.find("\r\n\r\n");
      if (lf != std::string::npos) headerEnd = lf + 2;
      if (crlf != std::string::npos && (headerEnd == std::string::npos || crlf + 4 < headerEnd))
        headerEnd = crlf + 4;
      if (headerEnd != std::string::npos) wanted = headerEnd + BodyLength(request.substr(0, headerEnd));
    }
    if (headerEnd != std::string::npos && request.size() >= wanted) return request;
    if (!WaitReadable(fd, stop)) return request;
    ssize_t got = ::recv(fd, buffer, sizeof(buffer), 0);
    if (got <= 0) return request;
    request.append(buffer, static_cast<size_t>(got));
  }
}


}  // namespace

MScriptedServer::MScriptedServer(std::vector<std::string> script) : script_(std::move(script)) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (listener_ < 0 || ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listener_, 8) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    ADD_FAILURE() << "the scripted server cannot listen on 127.0.0.1";
    return;
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Serve(); });
}

MScriptedServer::~MScriptedServer() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  if (listener_ >= 0) ::close(listener_);
}

std::string MScriptedServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> MScriptedServer::Requests() {
  if (thread_.joinable()) thread_.join();
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void MScriptedServer::Serve() {
  for (const std::string& reply : script_) {
    if (!WaitReadable(listener_, stop_)) return;
    int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    std::string request = ReadRequest(connection, stop_);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    SendAll(connection, reply);
    ::close(connection);
  }
}

}  // namespace kx
