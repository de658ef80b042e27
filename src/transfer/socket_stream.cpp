#include "transfer/socket_stream.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {
namespace {

[[noreturn]] void ThrowNetwork(const char* message) {
  throw MException(MString(message), kErrorNetwork);
}

}  // namespace

void StartNetworking() {
  if (!StartSocketLibrary()) ThrowNetwork("WinSock could not be initialized.");
}

void EndNetworking() {
  EndSocketLibrary();
}

MSocketStream::~MSocketStream() {
  Close();
}

void MSocketStream::Create() {
  Close();  // a stream may be opened again: the earlier connection goes first
  if (!GetTCPProtocol(protocol_)) ThrowNetwork("Could not retrieve TCP protocol info.");
  socket_ = CreateTCPSocket(protocol_);
  if (socket_ == kInvalidSocket) ThrowNetwork("Could not create TCP socket.");
  localAddress_.ResolveLocalHost();
}

void MSocketStream::Connect(uint16_t port) {
  if (port != 0) remoteAddress_.SetPort(port);
  if (!ConnectSocket(socket_, remoteAddress_.GetAddress(), remoteAddress_.GetPort())) {
    // The code is the call's own failure result, not the system's error number.
    throw MException(MFormat("Could not connect to a TCP server (host {0}, port {1}, code {2}).")
                         .Add(remoteAddress_.GetDottedText())
                         .Add(remoteAddress_.GetPort())
                         .Add(-1),
                     kErrorNetwork);
  }
  disconnected_ = false;
}

void MSocketStream::Close() {
  if (socket_ == kInvalidSocket) return;
  CloseSocket(socket_);
  socket_ = kInvalidSocket;
}

void MSocketStream::Interrupt() {
  ShutdownSocket(socket_);
}

void MSocketStream::SetBlocking(bool blocking) {
  // A socket that refuses the mode keeps its old one; the reads and writes cope
  // with both.
  if (socket_ != kInvalidSocket) SetSocketBlocking(socket_, blocking);
}

void MSocketStream::Write(const void* data, int64_t size) {
  if (socket_ == kInvalidSocket) ThrowNetwork("Could not write to socket stream.");
  const char* bytes = static_cast<const char*>(data);
  int64_t sent = 0;
  while (sent < size) {
    int64_t result = datagram_ ? SendSocketTo(socket_, bytes + sent, size - sent,
                                              targetAddress_.GetAddress(), targetAddress_.GetPort())
                               : SendSocket(socket_, bytes + sent, size - sent);
    // A full send buffer of a non-blocking socket counts as nothing sent: the
    // peer takes nothing in, which is treated as the peer being gone.
    if (result == kSocketWouldBlock) result = 0;
    if (result <= 0) {
      disconnected_ = true;
      if (sent == 0) ThrowNetwork("All data were not sent before target disconnected.");
      break;
    }
    sent += result;
    if (datagram_) break;  // one datagram is one send
  }
  if (sent < size) ThrowNetwork("Not all data have been sent.");
}

int64_t MSocketStream::Read(void* data, int64_t size) {
  if (socket_ == kInvalidSocket) ThrowNetwork("The network socket stream has not been initialized.");
  char* bytes = static_cast<char*>(data);
  int64_t received = 0;
  while (received < size) {
    int64_t result = ReceiveSocket(socket_, bytes + received, size - received);
    if (result == kSocketWouldBlock) return received;
    if (result <= 0) {
      // The end of an HTTP body is the peer's close, so this is the normal end.
      disconnected_ = true;
      return received > 0 ? received : -1;
    }
    received += result;
  }
  return received;
}

}  // namespace kx
