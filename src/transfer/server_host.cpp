#include "transfer/server_host.h"

#include <string>

#include "foundation/files/path_text.h"
#include "transfer/platform/environment.h"

namespace kx {

bool ParseServerHost(const MString& text, MString& host, uint16_t& port) {
  int32_t colon = text.FindChar(':');
  host = colon >= 0 ? text.Left(colon) : text;
  port = 80;
  if (host.IsEmpty()) return false;
  for (int32_t i = 0; i < host.Length(); ++i) {
    MChar unit = host[i];
    if (unit <= ' ' || unit == '/' || unit == '@' || unit == '?' || unit == '#') return false;
  }
  if (colon < 0) return true;
  MString digits = text.Mid(colon + 1);
  if (digits.IsEmpty() || digits.Length() > 5) return false;
  int32_t value = 0;
  for (int32_t i = 0; i < digits.Length(); ++i) {
    if (digits[i] < '0' || digits[i] > '9') return false;
    value = value * 10 + (digits[i] - '0');
  }
  if (value < 1 || value > 65535) return false;
  port = static_cast<uint16_t>(value);
  return true;
}

const MString& StartupServerHost() {
  // Read once: the value must not change under a running transfer.
  static const MString* server = [] {
    std::string value;
    if (ReadEnvironmentVariable(kServerHostVariable, value)) {
      MString text = FromSystem(value);
      if (IsServerHostText(text)) return new MString(text);
    }
    return new MString(kBuiltInServerHost);
  }();
  return *server;
}

MString ServerUrl(const MString& server, const MString& remotePath) {
  MString url("http://");
  url.Append(server);
  url.Append(remotePath);
  return url;
}

}  // namespace kx
