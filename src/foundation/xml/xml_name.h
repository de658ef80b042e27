// MXMLName: an attribute or lookup key of the tree: the folded hash of the text
// (MString::Hash, blind to A-Z case) computed once, then the text itself.
//
// Two names match when their hashes are equal and their texts are equal without
// regard to case (MString::EqualsNoCase). Keys the program uses often are built
// once as constants; a key built from a literal on the fly costs one hash.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MXMLName {
 public:
  uint32_t hash = 0;
  MShortString text;

  MXMLName() = default;
  MXMLName(const char* literal) : hash(0), text(literal) { hash = text.Hash(); }  // NOLINT
  MXMLName(const MShortString& name) : hash(name.Hash()), text(name) {}           // NOLINT
  MXMLName(const MString& name) : text(name) { hash = text.Hash(); }              // NOLINT

  void Set(const MShortString& name) {
    text = name;
    hash = text.Hash();
  }

  // Hash first, then the text case-insensitively.
  bool Matches(const MXMLName& other) const {
    return hash == other.hash && text.EqualsNoCase(other.text);
  }
  // An item name (which carries no hash) against this key.
  bool MatchesText(const MString& name) const;
};

}  // namespace kx
