// kestrix_http_fetch URL FILE: fetches one URL with MHTTPStream into a file: the
// body is read in blocks of 64 KiB (the stream copy block) until the server
// closes, each block written to the file as it comes. Used by peer-http.sh
// against curl. Exit code 0 on a 2xx reply with the whole body,
// 1 otherwise; a failure's message goes to standard error.
#include <cstdio>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "transfer/http_stream.h"

namespace {

// Blocks of 1 MiB measured up to twice as slow into a file (though a little
// faster into /dev/null): the file writes, not the socket, set the pace.
constexpr int64_t kBlockSize = 64 * 1024;

int Fetch(const char* url, const char* file) {
  kx::MHTTPStream stream;
  stream.Open(kx::MString::FromUTF8(url));
  if (!stream.Send(5)) {
    std::fprintf(stderr, "kestrix_http_fetch: status %d\n", stream.GetStatusCode());
    return 1;
  }
  kx::MFileStream output(kx::MString::FromUTF8(file), kx::MFileStream::kModeCreate);
  std::vector<char> block(kBlockSize);
  int64_t total = 0;
  for (;;) {
    int64_t got = stream.Read(block.data(), kBlockSize);
    if (got <= 0) break;
    output.Write(block.data(), got);
    total += got;
  }
  output.Close();
  if (stream.GetSize() > 0 && total != stream.GetSize()) {
    std::fprintf(stderr, "kestrix_http_fetch: %lld of %lld bytes\n", static_cast<long long>(total),
                 static_cast<long long>(stream.GetSize()));
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: kestrix_http_fetch URL FILE\n");
    return 2;
  }
  try {
    return Fetch(argv[1], argv[2]);
  } catch (const kx::MException& e) {
    std::fprintf(stderr, "kestrix_http_fetch: %s\n", kx::ToStd(e.message).c_str());
    return 1;
  }
}
