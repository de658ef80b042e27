#include "foundation/xml/xml_name.h"

namespace kx {

namespace {
inline MChar FoldCase(MChar unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<MChar>(unit + 32) : unit; }
}  // namespace

// Item names are MString and carry no hash. Equal hashes already demand equal
// texts up to A-Z case, so comparing with that folding alone gives the same
// answers as the hashed comparison of attribute names, without the hash.
bool MXMLName::MatchesText(const MString& name) const {
  int32_t length = text.Length();
  if (name.Length() != length) return false;
  for (int32_t i = 0; i < length; ++i) {
    MChar a = text[i];
    MChar b = name[i];
    if (a != b && FoldCase(a) != FoldCase(b)) return false;
  }
  return true;
}

}  // namespace kx
