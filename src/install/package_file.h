// MPackageFile: a `.pkgm` package, the large resource library whose definition is
// the item tree that the install walk runs over.
//
// Layout (all numbers little-endian, offsets from the start of the file):
//   contents of the tree's `file` items, in depth-first order, each stored by
//   itself | definition, D bytes | MD5 of the definition after decompression (16)
//   | D (8) | flags (4)
// flags: 1 contents compressed, 2 definition compressed, 4 bzip2 rather than zlib,
// 8 compress on the calling thread, 16 the byte filter of the compressed streams.
// Each `file` item with a content carries `filestart` and `filesize`.
//
// Open checks the trailer, the definition size (at most 2,097,152) and the
// definition's digest, and parses the tree; the failures are those of
// MResourceLibrary::AttachLarge. The digest protects the definition only: the
// contents are proved block by block by the security info during the transfer
// and are not checked again when installed, so a changed content byte is not
// noticed here.
//
// OpenContent gives a stream over one `file` item's content: GetSize is
// `filesize`, Read delivers exactly that many bytes, Seek(0, kSeekBegin) starts again.
// A missing `filestart` or `filesize` throws "Could not find required attribute
// ({0}).". Content streams share the package's file: one thread at a time, and
// they must not outlive the package.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/resources/resource_library.h"
#include "foundation/text/text_string.h"

namespace kx {

class MStream;
class MTaskGroup;
class MXMLItem;

class MPackageFile {
 public:
  // What packages are built with unless told otherwise: compressed contents and
  // definition, zlib, contents compressed by the task pool.
  static constexpr uint32_t kDefaultFlags =
      MResourceLibrary::kFilesCompressed | MResourceLibrary::kDefinitionCompressed;

  // Opens the file and keeps it open; returns the root item.
  MXMLItem& Open(const MString& path);
  // The same over a stream that outlives the package (a memory block, a test).
  MXMLItem& Attach(MStream& stream);
  void Close() { library_.Close(); }
  bool IsOpen() const { return library_.IsAttached(); }

  MXMLItem& GetRoot() { return library_.GetDefinition(); }
  // The file Open was given; empty for an attached stream.
  const MString& GetPath() const { return path_; }
  uint32_t GetFlags() const { return library_.GetFlags(); }
  // Whether a `file` item has a stored content (a `delete` item has none).
  static bool HasContent(MXMLItem& item);
  std::unique_ptr<MStream> OpenContent(MXMLItem& item);

  // Writes a package: the contents that `opener` gives for the tree's `file`
  // items (an item without a source is stored without content), then the tree
  // with `filestart` and `filesize` set, and the trailer. A failure leaves
  // `output` incomplete; the caller removes it.
  static void Write(MXMLItem& sourceTree, MStream& output, uint32_t flags, const MSourceOpener& opener,
                    MTaskGroup* group = nullptr);

 private:
  MResourceLibrary library_;
  MString path_;
};

}  // namespace kx
