// The library object and its small layout. The large layout is read in
// resource_large.cpp and written in resource_build.cpp.
#include "foundation/resources/resource_library.h"

#include <algorithm>
#include <new>

#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/streams/stream_helpers.h"

namespace kx {

namespace {

const MXMLName kResourcesKey("resources");
const MXMLName kIdKey("id");
const MXMLName kOffsetKey("offset");
const MXMLName kSizeKey("size");
const MXMLName kCompressedKey("compressed");

// What a small library's own block reserves at once; larger ones grow as read.
constexpr int64_t kReserveLimit = int64_t{16} << 20;

[[noreturn]] void ThrowShortData() {
  throw MException(MString("Could not read the required data from stream."), kErrorIO);
}

[[noreturn]] void ThrowCorrupt() { throw MException(MString("Resource library file is corrupt.")); }

}  // namespace

MResourceLibrary::MResourceLibrary() = default;

MResourceLibrary::~MResourceLibrary() noexcept = default;

void MResourceLibrary::Close() {
  entries_.clear();
  ownData_.Clear();
  definition_.Clear();
  definition_.name.Clear();
  stream_ = nullptr;
  ownStream_.reset();
  memoryBlock_ = nullptr;
  contentEnd_ = 0;
  cursor_ = -1;
  flags_ = 0;
  attached_ = false;
}

void MResourceLibrary::LoadDefinition(MStream& bytes) {
  // The plain loader would leave a half-read tree behind without a word; a
  // definition that no form reads is a damaged library.
  MString failure;
  if (!TryLoadAny(definition_, bytes, &failure)) throw MException(failure);
}

// ------------------------------------------------------------------- small layout

void MResourceLibrary::AttachSmall(MStream& stream) {
  Close();
  try {
    AttachSmallLayout(stream);
  } catch (const std::bad_alloc&) {
    Close();
    ThrowCorrupt();
  } catch (...) {
    Close();
    throw;
  }
  attached_ = true;
}

void MResourceLibrary::AttachSmallLayout(MStream& stream) {
  int32_t header[3];
  stream.ReadExact(header, sizeof header);
  int32_t definitionSize = header[1];
  int32_t dataSize = header[2];
  // Negative sizes promise bytes that no stream holds.
  if (definitionSize < 0 || dataSize < 0) ThrowShortData();
  if (int64_t{definitionSize} + dataSize > kMaxSmallLibrarySize) ThrowCorrupt();

  auto* constant = dynamic_cast<MConstMemoryStream*>(&stream);
  const char* block = nullptr;
  if (constant) {
    // Constant memory (compiled in, or a resource of another library) is read in
    // place: nothing is copied, not even the definition.
    int64_t at = constant->GetPosition();
    if (constant->Size() - at < int64_t{definitionSize} + dataSize) ThrowShortData();
    MConstMemoryStream definitionBytes(constant->Data() + at, definitionSize);
    LoadDefinition(definitionBytes);
    block = constant->Data() + at + definitionSize;
    constant->Seek(at + definitionSize + dataSize, kSeekBegin);
  } else {
    // Copied by blocks: memory grows with the bytes that are really there, not
    // with what a damaged header claims.
    MMemoryStream definitionBytes;
    if (CopyStream(stream, definitionBytes, definitionSize) != definitionSize) ThrowShortData();
    definitionBytes.Seek(0, kSeekBegin);
    LoadDefinition(definitionBytes);
    ownData_.Reserve(std::min<int64_t>(dataSize, kReserveLimit));
    if (CopyStream(stream, ownData_, dataSize) != dataSize) ThrowShortData();
    block = ownData_.Data();
  }

  MXMLItem& resources = definition_.GetSubItem(kResourcesKey);
  for (MXMLItem* item = resources.firstSubItem; item; item = item->next) {
    auto entry = std::make_unique<MResourceEntry>();
    entry->id = item->GetAttribute(kIdKey).AsString();
    entry->key = MXMLName(entry->id);
    int64_t offset = item->GetAttribute(kOffsetKey).AsInt64();
    int64_t size = item->GetAttribute(kSizeKey).AsInt64();
    if (offset < 0 || size < 0 || offset > dataSize || size > dataSize - offset) {
      throw MException(
          MFormat("Invalid resource library format (resource {0} lies outside the data block).")
              .Add(entry->id));
    }
    MXMLAttribute* compressed = item->FindAttribute(kCompressedKey);
    entry->compressed = compressed && compressed->value.AsInt64() != 0;
    entry->memory.Attach(block + offset, size);
    entry->item = item;
    entries_.push_back(std::move(entry));
  }
}

MResourceEntry* MResourceLibrary::FindEntry(const MString& id) const {
  MXMLName key(id);
  for (const std::unique_ptr<MResourceEntry>& entry : entries_) {
    if (entry->key.Matches(key)) return entry.get();
  }
  return nullptr;
}

MResourceEntry& MResourceLibrary::RequireEntry(const MString& id) const {
  MResourceEntry* entry = FindEntry(id);
  if (!entry) throw MException(MFormat("Cannot find requested resource ({0}).").Add(id));
  return *entry;
}

MStream& MResourceLibrary::GetResource(const MString& id) {
  MResourceEntry& entry = RequireEntry(id);
  entry.memory.Seek(0, kSeekBegin);
  if (!entry.compressed) return entry.memory;
  entry.zlib.Init(&entry.memory, false);
  return entry.zlib;
}

MConstMemoryStream& MResourceLibrary::GetResourceMemory(const MString& id) {
  MResourceEntry& entry = RequireEntry(id);
  if (entry.compressed)
    throw MException(MString("Attempt to attach compressed resource using memory-stream."));
  entry.memory.Seek(0, kSeekBegin);
  return entry.memory;
}

}  // namespace kx
