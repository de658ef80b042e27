#include "transfer/download_file.h"

#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "transfer/http_stream.h"

namespace kx {
namespace {

constexpr int32_t kRedirects = 5;
constexpr int64_t kPiece = 65536;

void CopyBody(MStream& source, MStream& target, MStream* progress) {
  char piece[kPiece];
  for (;;) {
    int64_t got = source.Read(piece, kPiece);
    if (got <= 0) return;
    target.Write(piece, got);
    if (progress) progress->Write(piece, got);
  }
}

void CopyFromOverride(const TransferEndpoints& endpoints, const MString& rest, MStream& target,
                      MStream* progress) {
  MFileStream source(JoinPath(endpoints.DownloadOverrideFolder, rest), MFileStream::kModeRead);
  CopyBody(source, target, progress);
}

}  // namespace

bool StripDownloadPrefix(const MString& remotePath, MString& rest) {
  static const MString kPrefix("/download/");
  if (remotePath.Length() < kPrefix.Length() ||
      !remotePath.Left(kPrefix.Length()).EqualsNoCase(kPrefix))
    return false;
  rest = remotePath.Mid(kPrefix.Length());
  return true;
}

MString HTTPErrorText(const MHTTPStream& stream) {
  if (stream.GetStatusLine().IsEmpty()) return MString("No HTTP reply.");
  return stream.GetStatusLine();
}

void DownloadFile(const TransferEndpoints& endpoints, MString& error, const MString& remotePath,
                  MStream& target, bool useMainServer, MStream* progress, int64_t rangeFrom,
                  int64_t rangeTo) {
  error.Clear();
  MString rest;
  if (!endpoints.DownloadOverrideFolder.IsEmpty() && StripDownloadPrefix(remotePath, rest)) {
    try {
      CopyFromOverride(endpoints, rest, target, progress);
    } catch (const MException& failure) {
      error = failure.message;
    }
    return;
  }

  MString url = ServerUrl(useMainServer ? endpoints.MainServer : endpoints.AddonServer, remotePath);
  MLog::Line(MString("\nDownloading file ") + url);
  try {
    MHTTPStream stream;
    stream.Open(url);
    if (rangeFrom >= 0) {
      MLog::Line(MFormat("  range {0} to {1}").Add(rangeFrom).Add(rangeTo));
      stream.AddHeader("Range",
                       rangeTo < 0 ? MString(MFormat("bytes={0}-").Add(rangeFrom))
                                   : MString(MFormat("bytes={0}-{1}").Add(rangeFrom).Add(rangeTo)));
    }
    if (!stream.Send(kRedirects)) {
      error = HTTPErrorText(stream);
    } else {
      CopyBody(stream, target, progress);
      stream.Close();
    }
  } catch (const MException& failure) {
    error = failure.message;
  }
  if (error.IsEmpty())
    MLog::Line(MString("  success"));
  else
    MLog::Line(MString("  error ") + error);
}

}  // namespace kx
