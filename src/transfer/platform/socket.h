// The system's TCP sockets, reduced to what the socket stream needs. Only the
// files of this folder call the socket interface.
//
// A handle is the system's descriptor; kInvalidSocket (-1) when there is none.
// Addresses are IPv4 in network byte order, ports in host order.
// Send and receive answer a count above 0 for bytes moved, kSocketClosed (0) when
// the peer closed, kSocketWouldBlock when a non-blocking socket had nothing to
// move, kSocketFailed for any other failure. Calls interrupted by a signal are
// repeated here, and a write to a peer that has gone never raises a signal.
#pragma once

#include <cstdint>

namespace kx {

using MSocketHandle = int;
inline constexpr MSocketHandle kInvalidSocket = -1;

inline constexpr int64_t kSocketClosed = 0;
inline constexpr int64_t kSocketFailed = -1;
inline constexpr int64_t kSocketWouldBlock = -2;

// Start-up and clean-up of the socket library: nothing to do on Linux.
bool StartSocketLibrary();
void EndSocketLibrary();

// The protocol number of "tcp" from the protocol database.
bool GetTCPProtocol(int& protocol);
// An IPv4 stream socket, not inherited by programs this process starts.
MSocketHandle CreateTCPSocket(int protocol);
void CloseSocket(MSocketHandle handle);
// Ends both directions: a call blocked on the socket in another thread returns.
void ShutdownSocket(MSocketHandle handle);

bool ConnectSocket(MSocketHandle handle, uint32_t address, uint16_t port);
bool SetSocketBlocking(MSocketHandle handle, bool blocking);

int64_t SendSocket(MSocketHandle handle, const void* data, int64_t size);
int64_t SendSocketTo(MSocketHandle handle, const void* data, int64_t size, uint32_t address,
                     uint16_t port);
int64_t ReceiveSocket(MSocketHandle handle, void* data, int64_t size);

}  // namespace kx
