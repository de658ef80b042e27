// MHTTPHeaderList: the named values of an HTTP request or reply, in the order they
// were added. Each is an MXMLAttribute: the name with its folded hash, the value
// as text.
//
// Sort() orders the list by a stable bottom-up merge sort on the key (hash of the
// name, then the name text without regard to case). Find() then searches by binary
// search on the name text alone, without regard to case. The two orders differ, so
// Find can miss a header that is present; the headers this program looks up are
// found in its server's replies, and the lookup stays this binary search.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/xml/xml_item.h"

namespace kx {

class MHTTPHeaderList {
 public:
  MHTTPHeaderList() = default;
  ~MHTTPHeaderList() { Clear(); }
  MHTTPHeaderList(const MHTTPHeaderList&) = delete;
  MHTTPHeaderList& operator=(const MHTTPHeaderList&) = delete;

  void Add(const MString& name, const MString& value);
  void Clear();
  int32_t Count() const { return items_.count; }
  const MXMLAttribute& operator[](int32_t index) const { return *items_[index]; }

  void Sort();
  // The header of that name, or null (see above for what "found" means).
  const MXMLAttribute* Find(const MString& name) const;

 private:
  MArray<MXMLAttribute*> items_;  // owned
};

}  // namespace kx
