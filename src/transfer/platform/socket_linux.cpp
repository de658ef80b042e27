#include "transfer/platform/socket.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kx {
namespace {

// One call never asks for more than this: the count must fit the result type of
// every libc, and the callers loop anyway.
constexpr int64_t kLargestPiece = 1 << 30;

size_t PieceOf(int64_t size) {
  return static_cast<size_t>(size < kLargestPiece ? size : kLargestPiece);
}

int64_t TransferResult(ssize_t result) {
  if (result > 0) return result;
  if (result == 0) return kSocketClosed;
  // EAGAIN and EWOULDBLOCK may differ on some systems; both mean "nothing now".
  if (errno == EWOULDBLOCK || errno == EAGAIN) return kSocketWouldBlock;
  return kSocketFailed;
}

sockaddr_in MakeAddress(uint32_t address, uint16_t port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr.s_addr = address;
  return result;
}

}  // namespace

// Berkeley sockets need no library start; the functions exist so that the
// program's start and end read the same on every system.
bool StartSocketLibrary() { return true; }
void EndSocketLibrary() {}

bool GetTCPProtocol(int& protocol) {
  protoent entry{};
  char buffer[1024];
  protoent* found = nullptr;
  if (::getprotobyname_r("tcp", &entry, buffer, sizeof(buffer), &found) != 0 || !found) {
    // A system without /etc/protocols (minimal containers) still speaks TCP: its
    // number is fixed by the protocol itself.
    protocol = IPPROTO_TCP;
    return true;
  }
  protocol = found->p_proto;
  return true;
}

MSocketHandle CreateTCPSocket(int protocol) {
  // Close-on-exec: a setup started by this process must not keep our connections.
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, protocol);
  return fd < 0 ? kInvalidSocket : fd;
}

void CloseSocket(MSocketHandle handle) {
  if (handle != kInvalidSocket) ::close(handle);
}

void ShutdownSocket(MSocketHandle handle) {
  // close() alone does not wake a recv() blocked in another thread; shutdown does.
  if (handle != kInvalidSocket) ::shutdown(handle, SHUT_RDWR);
}

bool ConnectSocket(MSocketHandle handle, uint32_t address, uint16_t port) {
  sockaddr_in target = MakeAddress(address, port);
  int result;
  do {
    result = ::connect(handle, reinterpret_cast<const sockaddr*>(&target), sizeof(target));
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool SetSocketBlocking(MSocketHandle handle, bool blocking) {
  int nonBlocking = blocking ? 0 : 1;
  return ::ioctl(handle, FIONBIO, &nonBlocking) == 0;
}

int64_t SendSocket(MSocketHandle handle, const void* data, int64_t size) {
  ssize_t result;
  do {
    // MSG_NOSIGNAL: a peer that has gone is a failed send, not a SIGPIPE that
    // would end the process.
    result = ::send(handle, data, PieceOf(size), MSG_NOSIGNAL);
  } while (result < 0 && errno == EINTR);
  return TransferResult(result);
}

int64_t SendSocketTo(MSocketHandle handle, const void* data, int64_t size, uint32_t address,
                     uint16_t port) {
  sockaddr_in target = MakeAddress(address, port);
  ssize_t result;
  do {
    result = ::sendto(handle, data, PieceOf(size), MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(&target), sizeof(target));
  } while (result < 0 && errno == EINTR);
  return TransferResult(result);
}

int64_t ReceiveSocket(MSocketHandle handle, void* data, int64_t size) {
  ssize_t result;
  do {
    result = ::recv(handle, data, PieceOf(size), 0);
  } while (result < 0 && errno == EINTR);
  return TransferResult(result);
}

}  // namespace kx
