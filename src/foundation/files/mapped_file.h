// MMappedFile: a read-only view of a whole file in memory.
//
// Open maps the file; the view stays valid until Close or destruction, which unmap
// and close in the reverse order. Failures throw MException (code 257) with the
// system's text as {1}:
//   "Could not open file {0} for mapping. Error: {1}"
//   "Could not retrieve size of file {0} for mapping. Error: {1}"
//   "Could not create file mapping for {0}. Error: {1}"   (not a regular file)
//   "Could not map file {0} to memory. Error: {1}"
// {0} is the name in the system's form. An empty file gives an empty view
// (Data() null, Size() 0). The view reflects the file: a file that another program
// shortens while it is mapped must not be read past its new end.
#pragma once

#include <cstdint>

#include "foundation/platform/memory_map.h"
#include "foundation/text/text_string.h"

namespace kx {

class MMappedFile {
 public:
  MMappedFile() = default;
  explicit MMappedFile(const MString& path) { Open(path); }
  ~MMappedFile() { Close(); }
  MMappedFile(const MMappedFile&) = delete;
  MMappedFile& operator=(const MMappedFile&) = delete;

  // Closes a view that is open, then maps `path`.
  void Open(const MString& path);
  void Close();

  bool IsOpen() const { return view_.handle >= 0; }
  const uint8_t* Data() const { return static_cast<const uint8_t*>(view_.data); }
  int64_t Size() const { return view_.size; }

 private:
  platform::MappedView view_;
};

}  // namespace kx
