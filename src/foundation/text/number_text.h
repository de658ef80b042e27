// Number formatting and digit decoding shared by MFormat and the parsers.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

// Digits from HexDigit, padded on the left with padUnit to width; a minus
// sign goes in front of the padding and is not counted in width. Zero prints "0".
MString FormatInt(int64_t value, int base = 10, int width = 0, MChar padUnit = ' ');
MString FormatUnsigned(uint64_t value, int base = 10, int width = 0, MChar padUnit = ' ');

// decimals 0: rounded integer; 1..9: "%.0Nf" with |value| < 1e-6 printed as zero;
// 10 and above: "%.0NNg".
MString FormatReal(double value, int decimals);

// The same fields written into caller's storage, for composing without a
// temporary string; each returns the length written.
constexpr int kNumberFieldUnits = 66;  // sign, a 62-unit field, or 64 binary digits
constexpr int kRealFieldBytes = 512;   // "%.9f" of the largest double, or "%.99g"
int32_t FormatIntInto(MChar* out, int64_t value, int base, int width, MChar padUnit);
int32_t FormatUnsignedInto(MChar* out, uint64_t value, int base, int width, MChar padUnit);
int32_t FormatRealInto(char* out, double value, int decimals);

// The digit of a value 0 to 15: upper case, or lower case when asked.
inline char HexDigit(unsigned value, bool lowerCase = false) {
  return (lowerCase ? "0123456789abcdef" : "0123456789ABCDEF")[value & 15];
}

// 0-9, A-F, a-f; anything else throws "Invalid character to be converted to a number.".
int HexDigitValue(MChar unit);

}  // namespace kx
