#include "transfer/network_address.h"

#include <string>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "transfer/platform/host_names.h"

namespace kx {
void MNetworkAddress::Resolve(const MString& name) {
  uint32_t address = 0;
  std::string canonical;
  if (!LookupHostByName(name.ToUTF8String(), address, canonical)) {
    throw MException(MFormat("Could not resolve network name \"{0}\".").Add(name), kErrorNetwork);
  }
  address_ = address;
  name_ = MString::FromUTF8(canonical);
  valid_ = true;
}

void MNetworkAddress::ResolveLocalHost() {
  std::string hostName;
  if (!GetLocalHostName(hostName)) {
    throw MException(MString("Could not resolve host network name."), kErrorNetwork);
  }
  uint32_t address = 0;
  std::string canonical;
  if (LookupHostByName(hostName, address, canonical)) {
    address_ = address;
    name_ = MString::FromUTF8(canonical);
  } else {
    // Many Linux machines (containers above all) cannot resolve their own name.
    // The local address only describes this end and never takes part in a
    // connection, so such a machine still connects: it is loopback by its name.
    uint32_t loopback = 0;
    ParseDottedAddress("127.0.0.1", loopback);
    address_ = loopback;
    name_ = MString::FromUTF8(hostName);
  }
  valid_ = true;
}

bool MNetworkAddress::LookupName() {
  std::string name;
  if (!LookupHostByAddress(address_, name)) return false;
  name_ = MString::FromUTF8(name);
  return true;
}

bool MNetworkAddress::SetDottedText(const MString& text) {
  uint32_t address = 0;
  if (!ParseDottedAddress(text.ToUTF8String(), address)) return false;
  address_ = address;
  name_ = text;
  valid_ = true;
  return true;
}

MString MNetworkAddress::GetDottedText() const {
  return MString::FromBytes(FormatDottedAddress(address_));
}

}  // namespace kx
