// LoadAny on any bytes: every form is tried in turn (compressed MBX, MBX, text
// XML, a base64 line); whatever the outcome, nothing may crash.
#include <cstddef>
#include <cstdint>

#include "foundation/exception.h"
#include "foundation/mbx.h"
#include "foundation/memory_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MXMLItem tree;
  try {
    tree.LoadAny(input);
  } catch (const kx::MException&) {
  }
  return 0;
}
