// Writing a tree as text XML: the line `<?xml version="1.0" encoding="utf-8"?>`,
// then the items through MTextWriter with the codec "utf-8".
//
// Pretty form: one tag per line, indented by tabs (depth capped at 32); an item
// without subitems and value is `<name .../>`; a value stands on its own lines one
// level deeper, cut at the first blank at or after 60 units of each line.
// Compact form: no tabs, no value breaking, and a line end only after items of
// depth 0 and 1, so that a large tree is a few long lines; an item with an empty
// name throws "XML entity cannot have empty name.".
// Values and attribute values are escaped by the entity table (xml_entities.h)
// and written in their string form (MVariant::AsString). The walk is iterative.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;
class MStream;
class MTextWriter;

class MXMLWriter {
 public:
  static constexpr int32_t kMaxIndent = 32;
  static constexpr int32_t kLineUnits = 60;

  MXMLWriter(MTextWriter& writer, bool compact) : writer_(writer), compact_(compact) {}

  // The header line and the tree; the writer is not flushed.
  void WriteDocument(const MXMLItem& root);
  void WriteTree(const MXMLItem& root);

 private:
  void WriteOpening(const MXMLItem& item, int32_t depth);
  void WriteClosing(const MXMLItem& item, int32_t depth);
  void WriteValue(const MString& text, int32_t depth);
  void WriteIndent(int32_t depth);
  void EndLine();

  // Starts the next line in `line_`, keeping its buffer from the last one.
  MString& NewLine();

  MTextWriter& writer_;
  bool compact_;
  MString line_;
};

// The whole document to `stream` in UTF-8, flushed.
void WriteXMLDocument(const MXMLItem& root, MStream& stream, bool compact);

}  // namespace kx
