// MXMLItemBuilder: the parser handler that fills an MXMLItem tree.
//
// The first element names the root itself and gives it its attributes; later
// ones become new last subitems of the current item. An end tag must name the
// current item (without regard to case), else "Invalid file contents. Invalid
// closing element name." (256); closing the root stops the parse, so whatever
// follows it is never read. Text is trimmed and joined to the current value by
// one blank; text before the root throws "Text outside of any element. '{0}'"
// with its first 32 units.
#pragma once

#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_parser.h"

namespace kx {

class MXMLItemBuilder : public MXMLHandler {
 public:
  explicit MXMLItemBuilder(MXMLItem& root) : root_(root) {}

  bool OnElement(const MString& name, const MXMLParsedAttributes* attributes, bool closing) override;
  bool OnText(const MString& text) override;

  // True once the first element arrived.
  bool HasRoot() const { return started_; }

 private:
  // The key for an attribute name. Files repeat a few names element after
  // element: recent ones are kept with their hash and reused as they are.
  const MXMLName& AttributeName(const MString& text);

  static constexpr int kKnownNames = 8;
  MXMLName known_[kKnownNames];
  int knownCount_ = 0;  // slots in use
  int nextKnown_ = 0;   // the slot a new name takes
  int lastKnown_ = -1;  // the slot found last
  MXMLItem& root_;
  MXMLItem* current_ = nullptr;
  bool started_ = false;
};

}  // namespace kx
