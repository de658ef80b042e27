// MNginxServer: a real nginx for one test, serving files from a temporary folder
// on a free port of 127.0.0.1. The constructor writes a configuration of its own
// (pid file, logs and temp paths inside the folder) and starts /usr/sbin/nginx as
// one foreground process; it returns once the port answers. `serverBlock` goes
// into the server block as it is ("$server_port" names the port there). The
// destructor stops the process by its PID and removes the folder. The process
// also ends with the thread that created the fixture (a crashed test leaves no
// server behind), so create it on the thread that outlives it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace kx {

class MNginxServer {
 public:
  explicit MNginxServer(const std::string& serverBlock = "");
  ~MNginxServer();
  MNginxServer(const MNginxServer&) = delete;
  MNginxServer& operator=(const MNginxServer&) = delete;

  static bool IsInstalled();

  bool IsRunning() const { return pid_ > 0; }
  uint16_t Port() const { return port_; }
  // The served folder: a request for "/a/b" gets DocumentRoot() / "a/b".
  const std::filesystem::path& DocumentRoot() const { return documentRoot_; }
  // "http://127.0.0.1:<port>" followed by `path` (which starts with "/").
  std::string Url(const std::string& path) const;
  // Writes a file under the served folder, creating its folders.
  void AddFile(const std::string& relativePath, const std::string& content) const;
  std::string ErrorLog() const;
  // Stops the server now (the destructor does it otherwise).
  void Stop();

 private:
  bool Start(const std::string& serverBlock);

  std::filesystem::path folder_;
  std::filesystem::path documentRoot_;
  uint16_t port_ = 0;
  pid_t pid_ = -1;
};

// A loopback port that was free a moment ago: bound to port 0 and let go.
uint16_t FreeLoopbackPort();

}  // namespace kx
