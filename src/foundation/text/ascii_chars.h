// Character classes of ASCII, for keys and protocol text where letters outside
// ASCII must not count.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

inline bool IsAsciiDigit(MChar unit) {
  return unit >= '0' && unit <= '9';
}

inline bool IsAsciiLetterOrDigit(MChar unit) {
  return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') || IsAsciiDigit(unit);
}

}  // namespace kx
