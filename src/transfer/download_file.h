// DownloadFile: the plain fetch of one file, used for every transfer that needs
// no block proof (catalogues, security info, setups).
//
//   MString error;
//   DownloadFile(endpoints, error, "/download/PRODUCTSX.xml", memory, true);
//   if (!error.IsEmpty()) ... the transfer failed, `error` says why
//
// With DownloadOverrideFolder set and `remotePath` below "/download/" (the prefix
// compared without case), the file is copied from that folder, and no network is
// used. Otherwise the path goes to MainServer (`useMainServer`) or AddonServer with
// up to 5 redirects. `rangeFrom` of 0 or more asks for "bytes={from}-", or
// "bytes={from}-{to}" when `rangeTo` is 0 or more. The body is written to `target`
// and, when given, to `progress` as well (a hash or a counter).
//
// Every failure ends up in `error`, nothing is thrown: a reply other than 2xx gives
// its status line, a failure of the exchange or of the target its message.
// Log: "\nDownloading file <url>", "  range <from> to <to>", then "  success" or
// "  error <text>".
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "transfer/server_host.h"

namespace kx {

class MHTTPStream;
class MStream;

void DownloadFile(const TransferEndpoints& endpoints, MString& error, const MString& remotePath,
                  MStream& target, bool useMainServer, MStream* progress = nullptr,
                  int64_t rangeFrom = -1, int64_t rangeTo = -1);

// The text for a reply that Send refused: its status line, or "No HTTP reply."
// when none came.
MString HTTPErrorText(const MHTTPStream& stream);

// The part of `remotePath` behind a leading "/download/" (compared without case);
// false when it does not start so.
bool StripDownloadPrefix(const MString& remotePath, MString& rest);

}  // namespace kx
