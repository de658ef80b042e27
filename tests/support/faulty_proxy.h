// MFaultyProxy: a proxy on 127.0.0.1 in front of a real server, which spoils
// chosen replies on their way (cut short, or one body byte flipped), for runs
// whose connection drops or whose data arrives damaged. Connections are served
// one after another; each reply is read to its end, then the first unused fault
// whose `requestPart` the request line holds and whose offset the body reaches
// is applied, and the reply is passed on.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace kx {

struct MProxyFault {
  enum class Kind { kCut, kFlip };
  std::string requestPart;  // found in the request line: "GET /x HTTP/1.0"
  Kind kind;
  size_t bodyOffset;  // where the body is cut, or the byte that is flipped
};

class MFaultyProxy {
 public:
  MFaultyProxy(uint16_t serverPort, std::vector<MProxyFault> faults);
  ~MFaultyProxy();
  MFaultyProxy(const MFaultyProxy&) = delete;
  MFaultyProxy& operator=(const MFaultyProxy&) = delete;

  uint16_t Port() const { return port_; }
  int FaultsApplied() const { return applied_; }

 private:
  void Serve();
  void Pass(int client);

  uint16_t serverPort_;
  std::vector<MProxyFault> faults_;
  int listener_ = -1;
  uint16_t port_ = 0;
  std::atomic<int> applied_{0};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace kx
