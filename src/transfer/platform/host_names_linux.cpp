#include "transfer/platform/host_names.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

namespace kx {
namespace {

// The re-entrant lookups want a work buffer of unknown size: grow it while they
// answer ERANGE. The plain gethostbyname() shares one static result between all
// threads, and the download thread resolves while the main thread may too.
template <typename Call>
bool WithHostBuffer(Call&& call) {
  std::vector<char> buffer(1024);
  for (;;) {
    hostent entry{};
    hostent* found = nullptr;
    int resolverError = 0;
    int result = call(entry, buffer, found, resolverError);
    if (result == ERANGE && buffer.size() < (1u << 20)) {
      buffer.resize(buffer.size() * 2);
      continue;
    }
    return result == 0 && found != nullptr;
  }
}

}  // namespace

bool LookupHostByName(const std::string& name, uint32_t& address, std::string& canonicalName) {
  bool ok = WithHostBuffer([&](hostent& entry, std::vector<char>& buffer, hostent*& found,
                               int& resolverError) {
    int result = ::gethostbyname_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found,
                                   &resolverError);
    if (result == 0 && found) {
      if (found->h_addrtype != AF_INET || found->h_length != 4 || !found->h_addr_list[0]) {
        found = nullptr;
      } else {
        std::memcpy(&address, found->h_addr_list[0], 4);
        canonicalName = found->h_name ? found->h_name : name;
      }
    }
    return result;
  });
  return ok;
}

bool LookupHostByAddress(uint32_t address, std::string& name) {
  return WithHostBuffer([&](hostent& entry, std::vector<char>& buffer, hostent*& found,
                            int& resolverError) {
    int result = ::gethostbyaddr_r(&address, sizeof(address), AF_INET, &entry, buffer.data(),
                                   buffer.size(), &found, &resolverError);
    if (result == 0 && found) {
      if (found->h_name)
        name = found->h_name;
      else
        found = nullptr;
    }
    return result;
  });
}

bool GetLocalHostName(std::string& name) {
  char buffer[HOST_NAME_MAX + 1] = {};
  if (::gethostname(buffer, sizeof(buffer) - 1) != 0) return false;
  name = buffer;
  return true;
}

bool ParseDottedAddress(const std::string& text, uint32_t& address) {
  // inet_aton takes the same forms as inet_addr but can tell 255.255.255.255
  // apart from a failure.
  in_addr parsed{};
  if (::inet_aton(text.c_str(), &parsed) == 0) return false;
  address = parsed.s_addr;
  return true;
}

std::string FormatDottedAddress(uint32_t address) {
  in_addr value{};
  value.s_addr = address;
  char buffer[INET_ADDRSTRLEN] = {};
  if (!::inet_ntop(AF_INET, &value, buffer, sizeof(buffer))) return "0.0.0.0";
  return buffer;
}

}  // namespace kx
