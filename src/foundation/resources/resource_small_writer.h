// MSmallLibraryWriter: composes a small resource library (the layout is told in
// resource_library.h): a style, an `mrf` file, the block that is compiled in.
//
//   MSmallLibraryWriter writer("mstyle");
//   writer.Root().SetAttribute("colour", ...);     // the container's own keys
//   writer.Add("fontRobotoRegular", data, size, false);
//   writer.Add("bitmapyes", data, size, true);      // stored as one zlib stream
//   writer.Write(target, true);                     // definition compressed
//
// Entries are items named `resource` with `id`, `offset`, `size` and, when
// compressed, `compressed` 1; their bytes follow each other in the data block.
// Both sizes of the header are signed 32-bit: a library that does not fit throws
// "Resource library is too large.".
#pragma once

#include <cstdint>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"

namespace kx {

class MSmallLibraryWriter {
 public:
  explicit MSmallLibraryWriter(const MString& rootName = MString("library"));

  // The definition's root; `resources` is its first subitem.
  MXMLItem& Root() { return root_; }
  // Appends one entry; `compress` deflates the bytes at quality 100.
  void Add(const MString& id, const void* data, int64_t size, bool compress);
  // Header, definition (as compressed MBX when `compressDefinition`), data block.
  void Write(MStream& target, bool compressDefinition) const;

 private:
  MXMLItem root_;
  MXMLItem* resources_;
  MMemoryStream data_;
};

}  // namespace kx
