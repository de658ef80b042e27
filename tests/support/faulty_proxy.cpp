#include "support/faulty_proxy.h"

#include <gtest/gtest.h>

#include "support/socket_io.h"

namespace kx {
namespace {

using testing::Readable;
using testing::SendAll;

// The whole reply: up to its Content-Length, or until the server closes.
std::string ReadReply(int fd) {
  std::string reply;
  size_t wanted = std::string::npos;
  char buffer[65536];
  while (reply.size() < wanted && Readable(fd, 10000)) {
    ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
    if (got <= 0) break;
    reply.append(buffer, static_cast<size_t>(got));
    const size_t body = reply.find("\r\n\r\n");
    if (wanted == std::string::npos && body != std::string::npos)
      if (size_t length = testing::BodyLength(reply.substr(0, body))) wanted = body + 4 + length;
  }
  return reply;
}

}  // namespace

MFaultyProxy::MFaultyProxy(uint16_t serverPort, std::vector<MProxyFault> faults)
    : serverPort_(serverPort), faults_(std::move(faults)) {
  listener_ = testing::ListenOnLoopback(port_);
  if (listener_ < 0) {
    ADD_FAILURE() << "the proxy cannot listen on 127.0.0.1";
    return;
  }
  thread_ = std::thread([this] { Serve(); });
}

MFaultyProxy::~MFaultyProxy() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  if (listener_ >= 0) ::close(listener_);
}

void MFaultyProxy::Serve() {
  while (!stop_) {
    if (!Readable(listener_, 50)) continue;
    int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    Pass(client);
    ::close(client);
  }
}

void MFaultyProxy::Pass(int client) {
  std::string request = testing::ReadRequest(client, stop_);
  int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = testing::Loopback(serverPort_);
  if (server < 0 || ::connect(server, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    if (server >= 0) ::close(server);
    return;
  }
  SendAll(server, request);
  std::string reply = ReadReply(server);
  ::close(server);

  const std::string line = request.substr(0, request.find('\n'));
  const size_t body = reply.find("\r\n\r\n");
  for (MProxyFault& fault : faults_) {
    if (fault.requestPart.empty() || line.find(fault.requestPart) == std::string::npos) continue;
    if (body == std::string::npos || body + 4 + fault.bodyOffset >= reply.size()) continue;
    const size_t at = body + 4 + fault.bodyOffset;
    if (fault.kind == MProxyFault::Kind::kCut)
      reply.resize(at);
    else
      reply[at] = static_cast<char>(reply[at] ^ 0x5A);
    ++applied_;
    fault.requestPart.clear();  // each fault acts once
    break;
  }
  SendAll(client, reply);
}

}  // namespace kx
