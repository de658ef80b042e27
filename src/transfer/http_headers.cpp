#include "transfer/http_headers.h"

#include <vector>

namespace kx {
namespace {

// The sort key: hash first, so equal names meet whatever their case.
bool Before(const MXMLAttribute* a, const MXMLAttribute* b) {
  if (a->name.hash != b->name.hash) return a->name.hash < b->name.hash;
  return a->name.text.Compare(b->name.text) < 0;
}

}  // namespace

void MHTTPHeaderList::Add(const MString& name, const MString& value) {
  auto* header = new MXMLAttribute(MXMLName(name), MVariant(value));
  try {
    items_.Add(header);
  } catch (...) {
    delete header;
    throw;
  }
}

void MHTTPHeaderList::Clear() {
  for (MXMLAttribute* header : items_) delete header;
  items_.Clear();
}

void MHTTPHeaderList::Sort() {
  // Bottom-up: runs of width 1, 2, 4 ... merged pairwise into the other buffer.
  // Ties take the left run first, which keeps equal keys in arrival order.
  const int32_t count = items_.count;
  if (count < 2) return;
  std::vector<MXMLAttribute*> scratch(static_cast<size_t>(count));
  MXMLAttribute** from = items_.data;
  MXMLAttribute** to = scratch.data();
  for (int32_t width = 1; width < count; width *= 2) {
    for (int32_t start = 0; start < count; start += 2 * width) {
      int32_t middle = start + width < count ? start + width : count;
      int32_t end = start + 2 * width < count ? start + 2 * width : count;
      int32_t left = start;
      int32_t right = middle;
      int32_t out = start;
      while (left < middle && right < end)
        to[out++] = Before(from[right], from[left]) ? from[right++] : from[left++];
      while (left < middle) to[out++] = from[left++];
      while (right < end) to[out++] = from[right++];
    }
    MXMLAttribute** swap = from;
    from = to;
    to = swap;
  }
  if (from != items_.data)
    for (int32_t i = 0; i < count; ++i) items_.data[i] = from[i];
}

const MXMLAttribute* MHTTPHeaderList::Find(const MString& name) const {
  const MShortString key(name);
  int32_t low = 0;
  int32_t high = items_.count - 1;
  while (low <= high) {
    int32_t middle = low + (high - low) / 2;
    int difference = items_.data[middle]->name.text.Compare(key);
    if (difference == 0) return items_.data[middle];
    if (difference < 0)
      low = middle + 1;
    else
      high = middle - 1;
  }
  return nullptr;
}

}  // namespace kx
