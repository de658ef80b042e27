#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/containers/variant.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "stream_test_support.h"

namespace kx {

inline MVariant::Type NarrowestType(int64_t value) {
  if (value >= INT8_MIN && value <= INT8_MAX) return MVariant::kInt8;
  if (value >= INT16_MIN && value <= INT16_MAX) return MVariant::kInt16;
  if (value >= INT32_MIN && value <= INT32_MAX) return MVariant::kInt32;
  return MVariant::kInt64;
}

// Type and content; integers by value in the narrowest type that holds them
// (which is what the binary form keeps); buffers by their bytes and compressed flag. With
// `textOnly` (a trip through text XML, which keeps strings only) the string
// forms are compared.
inline bool SameValue(const MVariant& a, const MVariant& b, bool textOnly) {
  if (textOnly) return a.AsString() == b.AsString();
  if (a.GetType() <= MVariant::kInt8)
    return b.GetType() == NarrowestType(a.AsInt64()) && a.AsInt64() == b.AsInt64();
  if (a.GetType() != b.GetType()) return false;
  switch (a.GetType()) {
    case MVariant::kString:
      return a.Text() == b.Text();
    case MVariant::kBuffer:
      return a.IsCompressed() == b.IsCompressed() && a.GetBuffer()->size == b.GetBuffer()->size &&
             std::string_view(static_cast<const char*>(a.GetBuffer()->data), a.GetBuffer()->size) ==
                 std::string_view(static_cast<const char*>(b.GetBuffer()->data),
                                  b.GetBuffer()->size);
    default:
      return a.AsString() == b.AsString();
  }
}

// Empty when the trees are equal, else where they first differ; walks without
// recursion, as the trees may be very deep.
inline std::string TreeDifference(const MXMLItem& a, const MXMLItem& b, bool textOnly = false) {
  const MXMLItem* x = &a;
  const MXMLItem* y = &b;
  for (;;) {
    std::string at = ToStd(x->name);
    if (!(x->name == y->name)) return "name " + at + " / " + ToStd(y->name);
    if (!SameValue(x->value, y->value, textOnly)) return "value of " + at;
    if (x->attributeCount != y->attributeCount || x->subItemCount != y->subItemCount)
      return "counts of " + at;
    for (auto *p = x->firstAttribute, *q = y->firstAttribute; p; p = p->next, q = q->next) {
      if (!(p->name.text == q->name.text)) return "attribute name in " + at;
      if (!SameValue(p->value, q->value, textOnly))
        return "attribute " + ToStd(p->name.text) + " of " + at;
    }
    if (x->firstSubItem) {
      x = x->firstSubItem;
      y = y->firstSubItem;
      continue;
    }
    while (x != &a && !x->next) {
      x = x->parent;
      y = y->parent;
    }
    if (x == &a) return std::string();
    x = x->next;
    y = y->next;
  }
}

}  // namespace kx
