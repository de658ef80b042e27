// ReadMBX on any bytes: a clean MException or a tree, never a crash. What loads
// must write and load again. (Not to the same bytes: item names read one byte a
// unit are written as UTF-8, an asymmetry of the format.)
#include <cstddef>
#include <cstdint>

#include "foundation/core/exception.h"
#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MXMLItem tree;
  try {
    tree.ReadMBX(input);
  } catch (const kx::MException&) {
    return 0;
  }
  kx::MMemoryStream first;
  tree.SaveMBX(first);
  first.Seek(0, kx::kSeekBegin);
  kx::MXMLItem again;
  again.ReadMBX(first);  // a failure here escapes and is reported as a crash
  return 0;
}
