// The alpha mask reader on any bytes, plain and as the zlib stream a resource
// library holds: a clear refusal or a mask, never a crash. What loads is
// written in both byte orders and must load the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/compression/zlib_stream.h"
#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/alpha_mask.h"

namespace {

void CheckRoundTrip(const kx::MAlphaMask& mask, kx::MMaskByteOrder order) {
  kx::MMemoryStream bytes;
  mask.Save(bytes, order);
  bytes.Seek(0, kx::kSeekBegin);
  kx::MAlphaMask again;
  again.Load(bytes);
  int64_t count = static_cast<int64_t>(mask.Width()) * mask.Height();
  if (again.Width() != mask.Width() || again.Height() != mask.Height() || again.x != mask.x ||
      again.y != mask.y || (count && std::memcmp(again.Coverage(), mask.Coverage(), static_cast<size_t>(count))))
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MAlphaMask mask;
  try {
    mask.Load(input);
    CheckRoundTrip(mask, kx::MMaskByteOrder::kLittleEndian);
    CheckRoundTrip(mask, kx::MMaskByteOrder::kBigEndian);
  } catch (const kx::MException&) {
  }
  input.Seek(0, kx::kSeekBegin);
  kx::MZLIBStream inflate;
  inflate.Init(&input, false);
  try {
    mask.Load(inflate);
  } catch (const kx::MException&) {
  }
  return 0;
}
