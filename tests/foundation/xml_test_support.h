#pragma once

#include <string>
#include <string_view>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"

namespace kx {

// name{attribute=value,...}(value)[subitem;subitem], parts only when present.
// Recursive: for the small trees of the tests only.
inline std::string Picture(const MXMLItem& item) {
  std::string out = ToStd(item.name);
  if (item.firstAttribute) {
    out += '{';
    for (const MXMLAttribute* a = item.firstAttribute; a; a = a->next) {
      if (a != item.firstAttribute) out += ',';
      out += ToStd(a->name.text) + "=" + ToStd(a->value.AsString());
    }
    out += '}';
  }
  if (!item.value.IsEmpty()) out += "(" + ToStd(item.value.AsString()) + ")";
  if (item.firstSubItem) {
    out += '[';
    for (const MXMLItem* s = item.firstSubItem; s; s = s->next) {
      if (s != item.firstSubItem) out += ';';
      out += Picture(*s);
    }
    out += ']';
  }
  return out;
}

inline void LoadText(MXMLItem& item, std::string_view text) {
  MConstMemoryStream stream(text.data(), static_cast<int64_t>(text.size()));
  item.LoadXML(stream);
}

inline std::string ParseOrFailure(std::string_view text) {
  MXMLItem root;
  try {
    LoadText(root, text);
  } catch (const MException& failure) {
    return "!" + ToStd(failure.message);
  }
  return Picture(root);
}

inline std::string SavedText(const MXMLItem& item, bool compact) {
  MMemoryStream stream;
  item.SaveXML(stream, false, compact);
  return std::string(stream.View());
}

}  // namespace kx
