// MScriptedServer: a tiny TCP server on 127.0.0.1 that plays a script, for the
// replies no real server gives (malformed headers, cut connections) and to see
// the bytes of a request exactly as they were sent. Each entry serves one
// connection, in order: accept, read the request whole (header and the body its
// Content-Length names, so that the close is orderly, never a reset), send the
// entry's bytes (none, or a reply cut anywhere), close. A thread of its own plays
// the script; waits time out after a few seconds, so a test never hangs.
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
