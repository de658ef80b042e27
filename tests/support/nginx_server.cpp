#include "support/nginx_server.h"

#include "support/socket_io.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace kx {
namespace {

const char* const kNginx = "/usr/sbin/nginx";

bool PortAnswers(uint16_t port) {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_in address = testing::Loopback(port);
  bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  ::close(fd);
  return ok;
}

std::string Configuration(const std::filesystem::path& folder, const std::filesystem::path& root,
                          uint16_t port, const std::string& serverBlock) {
  const std::string f = folder.string();
  std::string text;
  text += "daemon off;\nmaster_process off;\nworker_processes 1;\n";
  text += "pid " + f + "/nginx.pid;\n";
  text += "error_log " + f + "/error.log;\n";
  text += "events { worker_connections 64; }\n";
  text += "http {\n";
  text += "  access_log " + f + "/access.log;\n";
  for (const char* temp : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
    text += std::string("  ") + temp + "_temp_path " + f + "/" + temp + ";\n";
  text += "  default_type application/octet-stream;\n";
  text += "  sendfile on;\n";
  text += "  server {\n";
  text += "    listen 127.0.0.1:" + std::to_string(port) + ";\n";
  text += "    root " + root.string() + ";\n";
  // Locations of the tests are sent as written, relative ones too.
  text += "    absolute_redirect off;\n";
  text += "    " + serverBlock + "\n";
  text += "  }\n}\n";
  return text;
}

}  // namespace

uint16_t FreeLoopbackPort() {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  sockaddr_in address = testing::Loopback(0);
  socklen_t length = sizeof(address);
  uint16_t port = 0;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
    port = ntohs(address.sin_port);
  ::close(fd);
  return port;
}

bool MNginxServer::IsInstalled() {
  return ::access(kNginx, X_OK) == 0;
}

MNginxServer::MNginxServer(const std::string& serverBlock) {
  if (!IsInstalled()) {
    ADD_FAILURE() << kNginx << " is missing: run scripts/install-deps";
    return;
  }
  std::string pattern = (std::filesystem::temp_directory_path() / "kestrix-nginx-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    ADD_FAILURE() << "cannot create a folder from " << pattern;
    return;
  }
  folder_ = pattern;
  documentRoot_ = folder_ / "www";
  std::filesystem::create_directories(documentRoot_);
  // The port is free when chosen but another process may take it before nginx
  // binds it: then nginx ends at once and a new port is tried.
  for (int attempt = 0; attempt < 5; ++attempt)
    if (Start(serverBlock)) return;
  ADD_FAILURE() << "nginx did not start:\n" << ErrorLog();
}

MNginxServer::~MNginxServer() {
  Stop();
  if (!folder_.empty()) {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
}

bool MNginxServer::Start(const std::string& serverBlock) {
  port_ = FreeLoopbackPort();
  const std::string configPath = (folder_ / "nginx.conf").string();
  {
    std::ofstream config(configPath, std::ios::binary | std::ios::trunc);
    config << Configuration(folder_, documentRoot_, port_, serverBlock);
  }
  const std::string prefix = folder_.string() + "/";
  const std::string startLog = (folder_ / "error.log").string();
  const std::string output = (folder_ / "output.txt").string();
  std::vector<const char*> argv{kNginx, "-p", prefix.c_str(), "-e", startLog.c_str(),
                                "-c",   configPath.c_str(), nullptr};
  const pid_t parent = ::getpid();
  pid_t pid = ::fork();
  if (pid < 0) return false;
  if (pid == 0) {
    // Only async-signal-safe calls between fork and exec.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    int null = ::open("/dev/null", O_RDONLY);
    int out = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (null >= 0) ::dup2(null, 0);
    if (out >= 0) {
      ::dup2(out, 1);
      ::dup2(out, 2);
    }
    ::execv(kNginx, const_cast<char* const*>(argv.data()));
    ::_exit(127);
  }
  pid_ = pid;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {  // ended: most likely the port was taken
      pid_ = -1;
      return false;
    }
    if (PortAnswers(port_)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  Stop();
  return false;
}

void MNginxServer::Stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  int status = 0;
  while (::waitpid(pid_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  pid_ = -1;
}

std::string MNginxServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void MNginxServer::AddFile(const std::string& relativePath, const std::string& content) const {
  std::filesystem::path path = documentRoot_ / relativePath;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
}

std::string MNginxServer::ErrorLog() const {
  std::ifstream in(folder_ / "error.log", std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace kx
