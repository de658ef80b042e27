#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/text/text_string.h"
#include "transfer/http_stream.h"

namespace kx::testing {

inline MString Text(const std::string& utf8) { return MString::FromUTF8(utf8); }

// Reads in pieces of `piece` bytes until the server closes.
inline std::string ReadBody(MHTTPStream& stream, int64_t piece = 65536) {
  std::string body;
  std::vector<char> buffer(static_cast<size_t>(piece));
  for (;;) {
    int64_t got = stream.Read(buffer.data(), piece);
    if (got <= 0) return body;
    body.append(buffer.data(), static_cast<size_t>(got));
  }
}

}  // namespace kx::testing
