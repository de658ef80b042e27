// Inputs that once broke a loader (kept in fuzz/corpus/regressions/) load again
// through LoadAny: a failure may be reported, nothing may crash.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"
#include "support/sandbox.h"

namespace kx {
namespace {

TEST(FuzzRegressionTest, KnownInputsLoadWithoutCrashing) {
  std::filesystem::path folder =
      std::filesystem::path(KESTRIX_SOURCE_DIR) / "fuzz/corpus/regressions";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (!entry.is_regular_file() || entry.path().filename().string().front() == '.') continue;
    std::string bytes = ReadFileBytes(entry.path());
    MMemoryStream stream;
    stream.Write(bytes.data(), static_cast<int64_t>(bytes.size()));
    stream.Seek(0, kSeekBegin);
    MXMLItem tree;
    try {
      tree.LoadAny(stream);
    } catch (const MException&) {
      // A clear refusal is a good outcome.
    }
    ++count;
  }
  RecordProperty("inputs", count);
}

}  // namespace
}  // namespace kx
