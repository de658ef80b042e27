// Host names and IPv4 addresses through the system's resolver. Only the files of
// this folder call it. Addresses are 32-bit in network byte order; names are UTF-8.
// Every lookup is safe to run on several threads at once.
#pragma once

#include <cstdint>
#include <string>

namespace kx {

// The first address of `name` and its canonical name; false when it has none.
bool LookupHostByName(const std::string& name, uint32_t& address, std::string& canonicalName);
// The name of an address; false when the resolver knows none.
bool LookupHostByAddress(uint32_t address, std::string& name);
// This machine's own host name.
bool GetLocalHostName(std::string& name);

// Dotted text ("127.0.0.1", also the short forms such as "127.1") to an address;
// false when the text is not an address.
bool ParseDottedAddress(const std::string& text, uint32_t& address);
// The address as four decimal numbers with dots.
std::string FormatDottedAddress(uint32_t address);

}  // namespace kx
