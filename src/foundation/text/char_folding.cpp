#include "foundation/text/char_folding.h"

#include <algorithm>
#include <iterator>

namespace kx {
namespace {

const MFoldPair kFoldTable[] = {
#include "foundation/text/char_folding_table.inc"
};

}  // namespace

const MFoldPair* FoldTable() { return kFoldTable; }
int FoldTableSize() { return static_cast<int>(std::size(kFoldTable)); }

MChar FoldAccent(MChar unit) {
  const MFoldPair* end = kFoldTable + std::size(kFoldTable);
  const MFoldPair* it = std::lower_bound(kFoldTable, end, unit,
                                         [](const MFoldPair& p, MChar u) { return p.unit < u; });
  return (it != end && it->unit == unit) ? it->plain : unit;
}

unsigned char NarrowUnit(MChar unit) {
  if (unit < 256) return static_cast<unsigned char>(unit);
  MChar plain = FoldAccent(unit);
  return static_cast<unsigned char>(plain != unit ? plain : unit & 0xff);
}

}  // namespace kx
