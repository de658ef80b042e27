#include "foundation/xml/xml_iterator.h"

namespace kx {

MXMLItem* MXMLIterator::Begin(MXMLItem& root) {
  stack_.Clear(false);
  stack_.Add(&root);
  return &root;
}

// The stack holds the position at each level; the root's level is never left
// sideways, so the walk stays inside the subtree it began on.
MXMLItem* MXMLIterator::Next(bool descend) {
  if (stack_.count == 0) return nullptr;
  MXMLItem* item = stack_.data[stack_.count - 1];
  if (descend && item->firstSubItem) {
    stack_.Add(item->firstSubItem);
    return item->firstSubItem;
  }
  while (stack_.count > 1) {
    MXMLItem* position = stack_.data[stack_.count - 1];
    if (position->next) {
      stack_.data[stack_.count - 1] = position->next;
      return position->next;
    }
    --stack_.count;
  }
  stack_.Clear(false);
  return nullptr;
}

}  // namespace kx
