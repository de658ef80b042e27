// MNetworkAddress: one IPv4 endpoint: a valid flag, a host name, the 32-bit
// address in network byte order and a port.
//
// Resolve(name) asks the resolver for the name (sent as UTF-8) and keeps its first
// address and its canonical name; it fails with "Could not resolve network name
// \"{0}\".". ResolveLocalHost() does the same for this machine's own name and fails
// with "Could not resolve host network name." when the system gives no name. Both
// failures carry code 512. LookupName() fills the name back from the address, and
// SetDottedText / GetDottedText convert the address from and to "a.b.c.d".
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MNetworkAddress {
 public:
  MNetworkAddress() = default;

  void Resolve(const MString& name);
  void ResolveLocalHost();
  // The resolver's name of the address; false (name unchanged) when it knows none.
  bool LookupName();
  // Takes dotted text as the address and as the name; false (nothing changed) when
  // the text is not an address.
  bool SetDottedText(const MString& text);
  MString GetDottedText() const;

  // Sets the address directly (network byte order) and marks it valid.
  void SetAddress(uint32_t address) {
    address_ = address;
    valid_ = true;
  }
  void SetPort(uint16_t port) { port_ = port; }

  bool IsValid() const { return valid_; }
  const MString& GetName() const { return name_; }
  uint32_t GetAddress() const { return address_; }
  uint16_t GetPort() const { return port_; }

 private:
  bool valid_ = false;
  MString name_;
  uint32_t address_ = 0;
  uint16_t port_ = 0;
};

}  // namespace kx
