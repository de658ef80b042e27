#include "foundation/resources/resource_compiled_in.h"

#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/resources/resource_library.h"
#include "foundation/xml/xml_name.h"

namespace kx {

namespace {

// Filled by registrations before main, read afterwards: plain values, set by
// functions so that their order of initialisation cannot matter.
struct MCompiledInTables {
  const void* block = nullptr;
  int64_t blockSize = 0;
  const MCompiledInPair* pairs = nullptr;
  int32_t pairCount = 0;
  const void* flatBlock = nullptr;
  int64_t flatBlockSize = 0;
};

MCompiledInTables& Tables() {
  static MCompiledInTables tables;
  return tables;
}

}  // namespace

void RegisterCompiledInBlock(const void* data, int64_t size) {
  Tables().block = size > 0 ? data : nullptr;
  Tables().blockSize = data ? size : 0;
}

void RegisterCompiledInPairs(const MCompiledInPair* pairs, int32_t count) {
  Tables().pairs = count > 0 ? pairs : nullptr;
  Tables().pairCount = pairs ? count : 0;
}

void RegisterCompiledInFlatBlock(const void* data, int64_t size) {
  Tables().flatBlock = size > 0 ? data : nullptr;
  Tables().flatBlockSize = data ? size : 0;
}

bool HasCompiledInResources() { return Tables().block != nullptr && Tables().blockSize > 0; }

bool AttachCompiledInResources(MResourceLibrary& library) {
  if (!HasCompiledInResources()) return false;
  // In place: the library's entries point into the program's data.
  MConstMemoryStream block(Tables().block, Tables().blockSize);
  library.AttachSmall(block);
  return true;
}

bool AttachResourcesBesideProgram(MResourceLibrary& library, const MString& modulePath) {
  if (HasCompiledInResources()) return false;
  MString path = ChangeExtension(modulePath, MString(kLibraryFileExtension));
  if (!MFile::IsFile(path)) return false;
  MFileStream file(path, MFileStream::kModeRead);
  library.AttachSmall(file);
  return true;
}

bool OpenCompiledInStream(const MString& name, MConstMemoryStream& stream) {
  MXMLName key(name);
  const MCompiledInTables& tables = Tables();
  for (int32_t i = 0; i < tables.pairCount; ++i) {
    if (key.Matches(MXMLName(tables.pairs[i].name))) {
      stream.Attach(tables.pairs[i].data, tables.pairs[i].size);
      return true;
    }
  }
  return false;
}

bool OpenCompiledInFlatBlock(MConstMemoryStream& stream) {
  if (!Tables().flatBlock) return false;
  stream.Attach(Tables().flatBlock, Tables().flatBlockSize);
  return true;
}

}  // namespace kx
