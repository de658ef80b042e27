#include "support/scripted_server.h"

#include <gtest/gtest.h>

#include "support/socket_io.h"

namespace kx {

MScriptedServer::MScriptedServer(std::vector<std::string> script) : script_(std::move(script)) {
  listener_ = testing::ListenOnLoopback(port_);
  if (listener_ < 0) {
    ADD_FAILURE() << "the scripted server cannot listen on 127.0.0.1";
    return;
  }
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
    if (!testing::WaitReadable(listener_, stop_)) return;
    int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    std::string request = testing::ReadRequest(connection, stop_);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    testing::SendAll(connection, reply);
    ::close(connection);
  }
}

}  // namespace kx
