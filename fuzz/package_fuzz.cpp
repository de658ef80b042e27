// Any bytes opened as a package, and every content of every `file` item read to
// its end: a clear refusal or the contents, never a crash.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "install/package_file.h"

namespace {

// Content sizes come from the input: stop reading a content after this much.
constexpr int64_t kReadLimit = int64_t{16} << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MPackageFile package;
  try {
    kx::MXMLItem& root = package.Attach(input);
    kx::MXMLIterator walk;
    const kx::MXMLName fileKey("file");
    for (kx::MXMLItem* item = walk.Begin(root); item; item = walk.Next()) {
      if (!fileKey.MatchesText(item->name)) continue;
      try {
        std::unique_ptr<kx::MStream> content = package.OpenContent(*item);
        char block[4096];
        int64_t total = 0;
        while (total < kReadLimit) {
          int64_t got = content->Read(block, sizeof block);
          if (got <= 0) break;
          total += got;
        }
        content->Seek(0, kx::kSeekBegin);
        content->Read(block, sizeof block);
      } catch (const kx::MException&) {
      }
    }
  } catch (const kx::MException&) {
  }
  return 0;
}
