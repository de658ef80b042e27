// The HTTP reply header reader on any bytes, as a server would send them: a
// stream whose socket is replaced by the input (writes vanish). Send ends in a
// clear refusal or a status, and the header lookup and the body read after it
// hold; the same bytes as a URL split or are refused.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "foundation/core/exception.h"
#include "transfer/http_stream.h"

namespace {

class ReplayedStream : public kx::MHTTPStream {
 public:
  ReplayedStream(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  void Write(const void*, int64_t) override {}
  int64_t Read(void* data, int64_t size) override {
    size_t count = std::min(size_ - at_, static_cast<size_t>(size));
    if (count == 0) return -1;
    std::memcpy(data, data_ + at_, count);
    at_ += count;
    return static_cast<int64_t>(count);
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ReplayedStream stream(data, size);
  try {
    stream.Send(0);  // no redirects: nothing may connect
    kx::MString value;
    stream.GetHeader("Location", value);
  } catch (const kx::MException&) {
  }
  char body[256];
  while (stream.Read(body, sizeof(body)) > 0) {
  }

  kx::MString host, path;
  uint16_t port = 0;
  try {
    kx::MHTTPStream::SplitURL(
        kx::MString::FromUTF8(std::string_view(reinterpret_cast<const char*>(data), size)), host, path,
        port);
  } catch (const kx::MException&) {
  }
  return 0;
}
