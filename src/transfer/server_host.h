// The servers the transfers go to, and the folder that may stand in for them.
//
// A server is a "host[:port]" text: a host name or dotted address, and an optional
// decimal port from 1 to 65535 (80 without one). The program has a built-in host;
// the environment variable KESTRIX_SERVER, when it holds a valid server text,
// replaces it for both servers. The variable is read once (the main routine asks
// at start-up), and the value holds for the whole run, so every reader sees the
// same server.
//
// TransferEndpoints is what the download routines read: MainServer (catalogues and
// packages), AddonServer (add-on transfers; the add-on list may move it elsewhere)
// and DownloadOverrideFolder, a local folder that serves every path below
// "/download/" when it is not empty. The application fills them at start-up, before
// the download thread runs; afterwards they are only read.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

inline constexpr const char* kBuiltInServerHost = "www.vorlund.com";
inline constexpr const char* kServerHostVariable = "KESTRIX_SERVER";

// Splits a server text; false for an empty host, a blank, "/" or "@" in it, or a
// port that is not a decimal number from 1 to 65535.
bool ParseServerHost(const MString& text, MString& host, uint16_t& port);
inline bool IsServerHostText(const MString& text) {
  MString host;
  uint16_t port = 0;
  return ParseServerHost(text, host, port);
}

// KESTRIX_SERVER when it is set to a valid server text, else the built-in host.
const MString& StartupServerHost();

// "http://" + server + remote path (which starts with "/").
MString ServerUrl(const MString& server, const MString& remotePath);

struct TransferEndpoints {
  MString MainServer = StartupServerHost();
  MString AddonServer = StartupServerHost();
  MString DownloadOverrideFolder;
};

}  // namespace kx
