#include "foundation/xml/xml_builder.h"

#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {

namespace {

// Unit-exact equality of a parsed name and a kept one.
bool SameText(const MShortString& kept, const MString& text) {
  int32_t length = text.Length();
  if (kept.Length() != length) return false;
  const MChar* a = kept.UnitsOrNull();
  const MChar* b = text.UnitsOrNull();
  if (a && b) return std::memcmp(a, b, sizeof(MChar) * static_cast<size_t>(length)) == 0;
  for (int32_t i = 0; i < length; ++i)
    if (kept[i] != text[i]) return false;
  return true;
}

}  // namespace

const MXMLName& MXMLItemBuilder::AttributeName(const MString& text) {
  // Names come back in the same order element after element: look from the
  // slot after the last one found.
  int slot = lastKnown_;
  for (int i = 0; i < knownCount_; ++i) {
    if (++slot == knownCount_) slot = 0;
    if (SameText(known_[slot].text, text)) {
      lastKnown_ = slot;
      return known_[slot];
    }
  }
  lastKnown_ = nextKnown_;
  MXMLName& entry = known_[nextKnown_];
  nextKnown_ = (nextKnown_ + 1) % kKnownNames;
  if (knownCount_ < kKnownNames) ++knownCount_;
  entry.Set(text);
  return entry;
}

bool MXMLItemBuilder::OnElement(const MString& name, const MXMLParsedAttributes* attributes, bool closing) {
  if (closing) {
    if (!current_ || (current_->name != name && !current_->name.EqualsNoCase(name)))
      throw MException("Invalid file contents. Invalid closing element name.", kErrorIO);
    current_ = current_->parent;
    return current_ == nullptr;
  }
  MXMLItem* item;
  if (!started_) {
    started_ = true;
    item = &root_;
    item->name = name;
  } else if (current_) {
    item = &current_->AddSubItem(name);
  } else {
    // Unreachable through the parser, which stops at the root's end tag.
    return true;
  }
  if (attributes)
    for (const MXMLParsedAttribute& attribute : *attributes) {
      MVariant& value = item->AppendAttribute(AttributeName(attribute.name)).value;
      if (const MChar* units = attribute.value.UnitsOrNull())
        value.SetStringUnits(units, attribute.value.Length());
      else
        value.SetString(MShortString(attribute.value));
    }
  current_ = item;
  return false;
}

bool MXMLItemBuilder::OnText(const MString& text) {
  MString trimmed = text;
  trimmed.Trim();
  if (trimmed.IsEmpty()) return false;
  if (!current_) throw MException(MFormat("Text outside of any element. '{0}'").Add(trimmed.Left(32)), kErrorIO);
  if (current_->value.IsEmpty()) {
    current_->value.SetString(trimmed);
  } else {
    // In place: text cut into many pieces by child elements must not copy the
    // whole value for each piece.
    current_->value.AppendText(MShortString(" "));
    current_->value.AppendText(trimmed);
  }
  return false;
}

}  // namespace kx
