// LoadAny on any bytes: every form is tried in turn (compressed MBX, MBX, text
// XML, a base64 line); whatever the outcome, nothing may crash.
#include <cstddef>
#include <cstdint>

#include "foundation/core/exception.h"
#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MXMLItem tree;
  try {
    tree.LoadAny(input);
  } catch (const kx::MException&) {
  }
  return 0;
}
