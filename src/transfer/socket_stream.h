// MSocketStream: a blocking TCP connection in the MStream family.
//
// Create() makes the socket and resolves the local address; the caller resolves
// GetRemoteAddress() and calls Connect(port), where port 0 keeps the address's
// port. Write sends all bytes or throws; a send that would block (a non-blocking
// socket with a full buffer) counts as nothing sent, which marks the stream
// disconnected as a failed send does. Read loops until `size` bytes came, or
// returns early with what came when a non-blocking socket has nothing more, or
// when the peer closed or the connection failed: then IsDisconnected() is true and
// an empty result is -1. Nothing here times out: Read blocks as long as the socket.
//
// Only Write and Read are the stream's own: Seek, GetPosition, Flush, IsEnd,
// Truncate and GetSize answer with the base class's "Service ..." failures, so the
// stream is read forward only and callers count bytes themselves.
//
// Failures, all code 512:
//   "Could not retrieve TCP protocol info."   "Could not create TCP socket."
//   "Could not connect to a TCP server (host {0}, port {1}, code {2})." (dotted
//    host, decimal port, code -1)
//   "Could not write to socket stream." (no socket)
//   "All data were not sent before target disconnected." (nothing could be sent)
//   "Not all data have been sent."
//   "The network socket stream has not been initialized." (Read without socket)
// plus the resolver's failures of MNetworkAddress.
//
// The object belongs to the thread that uses it; only Interrupt() may be called
// from another thread, to end a blocked Read or Write.
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"
#include "transfer/network_address.h"
#include "transfer/platform/socket.h"

namespace kx {

// The process-wide start and end of the socket library, by the module at start-up
// and at its end. Start fails with "WinSock could not be initialized." (512);
// both do nothing on Linux.
void StartNetworking();
void EndNetworking();

class MSocketStream : public MStream {
 public:
  MSocketStream() = default;
  ~MSocketStream() override;

  void Create();
  void Connect(uint16_t port = 0);
  // Drops the connection; a later Create starts afresh.
  void Close();
  // Ends both directions of the connection without giving up the socket: a Read
  // or Write blocked in another thread returns. The owner still calls Close.
  void Interrupt();
  // Blocking (the default of a new socket) or non-blocking mode.
  void SetBlocking(bool blocking);

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;

  bool IsDisconnected() const { return disconnected_; }
  bool HasSocket() const { return socket_ != kInvalidSocket; }
  // Writes go to the target address by datagram sends instead of the connection.
  void SetDatagram(bool datagram) { datagram_ = datagram; }

  MNetworkAddress& GetLocalAddress() { return localAddress_; }
  MNetworkAddress& GetRemoteAddress() { return remoteAddress_; }
  MNetworkAddress& GetTargetAddress() { return targetAddress_; }

 private:
  MNetworkAddress localAddress_;
  MSocketHandle socket_ = kInvalidSocket;
  int protocol_ = 0;
  MNetworkAddress targetAddress_;  // for datagrams
  bool datagram_ = false;
  bool disconnected_ = false;
  MNetworkAddress remoteAddress_;
};

}  // namespace kx
