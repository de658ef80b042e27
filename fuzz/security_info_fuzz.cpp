// The security info reader on any bytes, and a block check against the result:
// a clear refusal or an answer, never a crash.
#include <cstddef>
#include <cstdint>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/security_info.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MSecurityInfo info;
  try {
    info.Read(input);
    info.MatchesBlock(info.ExpectedBlockCount() - 1, data, static_cast<int64_t>(size));
    info.MatchesFile(kx::DigestHex(data, static_cast<int64_t>(size)));
  } catch (const kx::MException&) {
  }
  return 0;
}
