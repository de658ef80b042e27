// MResourceLibrary: named binary items kept beside an MXMLItem tree, their
// definition, in one of two byte layouts (all numbers little-endian).
//
// Small library (a style, what is compiled into the program, an `mrf` file),
// read whole into memory:
//   0: reserved (4 bytes, written 0) | 4: D (signed 4) | 8: S (signed 4)
//   12: definition, D bytes, any form LoadAny reads | 12 + D: data block, S bytes
// The definition's root (any name) has a subitem `resources`; each of its subitems
// is an entry with `id` (compared without case), `offset` and `size` in the data
// block, and optional `compressed` (non-zero: the bytes are one zlib stream).
//
// Large library (a package), which stays on disk:
//   stored files | definition, D bytes | MD5 of the definition after its
//   decompression (16) | D (8, signed) | flags (4)
// A `file` item of the definition names one stored file: `filestart` (from where
// the writer started), `filesize` (after decompression). Flags below; the files'
// codec takes the byte filter with both codecs, the definition's only with zlib.
//
// Sizes a library claims are bounded before anything is read by them: the small
// library's definition and data block together by kMaxSmallLibrarySize, the large
// library's definition by kMaxDefinitionSize as stored and kMaxUnfoldedDefinition
// once decompressed. A claim beyond them, and memory that runs out while a
// library is attached, are "Resource library file is corrupt.".
//
// Failures (MException): "Cannot find requested resource ({0}).", "Attempt to
// attach compressed resource using memory-stream.", "Could not read the required
// data from stream." (a header or trailer that is not all there), "Invalid large
// resource library format (incorrect definition size {0}).", "Resource library
// file is corrupt." (wrong digest, damaged compressed definition, or a `file` item
// outside the stored files), "Invalid resource library format (resource {0} lies
// outside the data block).", "Resource library is not open." (OpenFile without a
// large library); and the messages of the streams and of the tree loader.
//
// One library is used by one thread at a time. GetResource hands out the entry's
// own stream, and the content streams of a large library on a stream share its
// position (each one puts it back where it needs it): they must not be read by two
// threads at once. Streams handed out must not outlive the library.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {

class MFileStream;
class MTaskGroup;

// One resource of a small library.
struct MResourceEntry {
  MString id;
  MXMLName key;               // id as a lookup key (hash computed once)
  MConstMemoryStream memory;  // over the stored bytes, in the library's block
  MZLIBStream zlib;           // inflates `memory` for a compressed entry
  MXMLItem* item = nullptr;   // the entry in the definition
  bool compressed = false;
};

// Opens the source of a `file` item for Build, or answers null when there is no
// file for it now (the item is then skipped).
using MSourceOpener = std::function<std::unique_ptr<MStream>(MXMLItem& item)>;

class MResourceLibrary {
 public:
  enum Flags : uint32_t {
    kFilesCompressed = 1,          // the stored files are compressed
    kDefinitionCompressed = 2,     // the definition block is compressed
    kBZIP2 = 4,                    // bzip2 rather than zlib, files and definition
    kCompressOnCallingThread = 8,  // no parallel compression of the files
    kScramble = 16,                // the byte filter of the compressed streams
  };
  static constexpr int64_t kMaxDefinitionSize = 0x200000;  // 2,097,152
  // A compressed definition could unfold into any size before its digest is
  // known: past this it is no definition any more.
  static constexpr int64_t kMaxUnfoldedDefinition = int64_t{256} << 20;
  // Definition and data block of a small library together (styles and what is
  // compiled in are a few megabytes; one inside a compressed entry could claim
  // up to 4 GiB).
  static constexpr int64_t kMaxSmallLibrarySize = int64_t{256} << 20;
  static constexpr int64_t kTrailerSize = 28;
  static constexpr int64_t kSmallHeaderSize = 12;
  // Compressions of the parallel Build waiting to be written, at most.
  static constexpr int32_t kTasksInFlight = 64;

  MResourceLibrary();
  ~MResourceLibrary() noexcept;
  MResourceLibrary(const MResourceLibrary&) = delete;
  MResourceLibrary& operator=(const MResourceLibrary&) = delete;

  // Forgets whatever was attached; an attach does it first.
  void Close();
  bool IsAttached() const { return attached_; }
  // The definition: the small library's root, or the large library's tree.
  MXMLItem& GetDefinition() { return definition_; }

  // --- small library
  // Reads the header and the definition at the stream's position. The data block
  // stays where it is when the stream is an MConstMemoryStream (it must then
  // outlive the library), else it is read into a block of the library's own.
  void AttachSmall(MStream& stream);
  bool HasResource(const MString& id) const { return FindEntry(id) != nullptr; }
  // The entry's stream at position 0: the memory stream, or for a compressed
  // entry its MZLIBStream, started again.
  MStream& GetResource(const MString& id);
  // The memory stream at position 0; a compressed entry is refused.
  MConstMemoryStream& GetResourceMemory(const MString& id);
  int32_t GetResourceCount() const { return static_cast<int32_t>(entries_.size()); }
  MResourceEntry& GetEntry(int32_t index) { return *entries_.at(static_cast<size_t>(index)); }

  // --- large library
  // Reads trailer and definition; `stream` stays in use and must outlive the
  // library. Over an MConstMemoryStream or MMemoryStream the contents are read
  // from its block in place.
  void AttachLarge(MStream& stream);
  // AttachLarge on the file at `path`, which the library keeps open.
  void OpenLarge(const MString& path);
  uint32_t GetFlags() const { return flags_; }
  // A read stream over the content of one `file` item: GetSize is `filesize`,
  // Seek goes anywhere (backwards on a compressed content by starting again).
  std::unique_ptr<MStream> OpenFile(MXMLItem& item);

  // --- writing a large library
  // Stores the sources of the tree's `file` items (depth first) on `target`,
  // setting `filestart` and `filesize` on each (and removing them from an item
  // whose source is missing), then the definition and the trailer. With
  // kFilesCompressed and without kCompressOnCallingThread the files are
  // compressed by tasks on `group` (a group of this call's own when null), up to
  // kTasksInFlight ahead of the output; the bytes are the same as those of the
  // serial path. `opener` runs on the calling thread; the streams it gives are
  // then read by a worker, so they must not share a position with each other.
  // A failure leaves the target incomplete: the caller removes it.
  static void Build(MXMLItem& tree, MStream& target, uint32_t flags, const MSourceOpener& opener,
                    MTaskGroup* group = nullptr);
  // The default opener: the file at `srcpath`, else at `path`; null when none.
  static std::unique_ptr<MStream> OpenSourceFile(MXMLItem& item);
  // An opener that resolves a relative `srcpath` or `path` below `folder`.
  static MSourceOpener SourceFolderOpener(const MString& folder);

 private:
  friend class MStoredBytesStream;

  MResourceEntry* FindEntry(const MString& id) const;
  MResourceEntry& RequireEntry(const MString& id) const;
  void AttachSmallLayout(MStream& stream);
  void LoadDefinition(MStream& bytes);
  // Reads stored bytes of the large library at `position` (absolute), seeking
  // the shared stream only when it stands elsewhere.
  int64_t ReadStored(int64_t position, void* data, int64_t size);

  bool attached_ = false;
  MXMLItem definition_;

  // small library
  std::vector<std::unique_ptr<MResourceEntry>> entries_;
  MMemoryStream ownData_;  // the data block, unless it is read in place

  // large library
  MStream* stream_ = nullptr;
  std::unique_ptr<MFileStream> ownStream_;
  const char* memoryBlock_ = nullptr;  // set when the stream is a memory stream
  int64_t contentEnd_ = 0;             // where the definition begins
  int64_t cursor_ = -1;                // where stream_ stands, -1 unknown
  uint32_t flags_ = 0;
};

}  // namespace kx
