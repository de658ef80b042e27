// MScriptedServer: a tiny TCP server on 127.0.0.1 that plays a script, for the
// replies no real server gives (malformed headers, cut connections) and to see
// the bytes of a request exactly as they were sent.
//
// Each entry of the script serves one connection, in order: the server accepts,
// reads the request (through the empty line that ends its header, then as many
// body bytes as its Content-Length names), sends the entry's bytes, which may be
// none or a reply cut anywhere, and closes. The request is read whole first, so
// the close is an orderly end of the connection, never a reset. A thread of its
// own serves the script; waits time out after a few seconds, so a test that
// never connects does not hang.
//
//   MScriptedServer server({"HTTP/1.0 200 OK\n\nbody"});
//   ... connect to server.Port() ...
//   EXPECT_EQ(server.Requests()[0], "GET / HTTP/1.0\n...");
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kx {

class MScriptedServer {
 public:
  // One reply per connection.
  explicit MScriptedServer(std::vector<std::string> script);
  ~MScriptedServer();
  MScriptedServer(const MScriptedServer&) = delete;
  MScriptedServer& operator=(const MScriptedServer&) = delete;

  uint16_t Port() const { return port_; }
  std::string Url(const std::string& path) const;
  // The requests as received, one per connection served so far; waits until the
  // whole script has been played (or the wait timed out).
  std::vector<std::string> Requests();

 private:
  void Serve();

  std::vector<std::string> script_;
  int listener_ = -1;
  uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace kx
