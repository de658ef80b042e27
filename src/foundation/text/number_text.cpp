#include "foundation/text/number_text.h"

#include <cmath>
#include <cstdio>

#include "foundation/core/exception.h"

namespace kx {
namespace {

// Digits and padding are produced from the right end of a work area; the field
// is 62 units wide at most, so a wider width is cut to it. Only base 2 of a
// value of 63 or 64 bits has more digits than that, and the area holds them.
constexpr int kFieldWidth = 62;
constexpr int kWorkArea = 64;

MString FormatMagnitude(uint64_t magnitude, bool negative, int base, int width, MChar padUnit) {
  if (base < 2 || base > 16) base = 10;
  if (width > kFieldWidth) width = kFieldWidth;
  MChar area[kWorkArea];
  int start = kWorkArea;
  // Decimal is nearly every call: a constant divisor becomes a multiplication.
  if (base == 10) {
    do {
      area[--start] = static_cast<MChar>('0' + magnitude % 10);
      magnitude /= 10;
    } while (magnitude != 0);
  } else {
    do {
      area[--start] = static_cast<MChar>(HexDigit(static_cast<unsigned>(magnitude % static_cast<unsigned>(base))));
      magnitude /= static_cast<unsigned>(base);
    } while (magnitude != 0);
  }
  while (kWorkArea - start < width) area[--start] = padUnit;
  // The sign stands before the padding and is not counted in the width.
  MString result;
  MChar* units = result.Reserve(kWorkArea - start + 1);
  int32_t length = 0;
  if (negative) units[length++] = '-';
  for (int i = start; i < kWorkArea; ++i) units[length++] = area[i];
  result.SetLength(length);
  return result;
}

MString FromPrinted(const char* text, int length) {
  if (length < 0) return MString();
  return MString::FromBytes(text, length);
}

}  // namespace

MString FormatInt(int64_t value, int base, int width, MChar padUnit) {
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  return FormatMagnitude(magnitude, value < 0, base, width, padUnit);
}

MString FormatUnsigned(uint64_t value, int base, int width, MChar padUnit) {
  return FormatMagnitude(value, false, base, width, padUnit);
}

MString FormatReal(double value, int decimals) {
  // Large enough for "%.9f" of the largest double (309 integer digits) and for
  // "%.99g".
  char text[512];
  if (decimals <= 0) {
    double rounded = std::round(value);
    if (rounded == 0) rounded = 0;  // no "-0" from a small negative value
    return FromPrinted(text, std::snprintf(text, sizeof text, "%.0f", rounded));
  }
  if (decimals <= 9) {
    // Below 1e-6 the value is exact zero, so that "-0.0000" cannot appear.
    if (std::fabs(value) < 1e-6) value = 0;
    char pattern[] = "%.0Nf";
    pattern[3] = static_cast<char>('0' + decimals);
    return FromPrinted(text, std::snprintf(text, sizeof text, pattern, value));
  }
  if (decimals > 99) decimals = 99;
  char pattern[] = "%.0NNg";
  pattern[3] = static_cast<char>('0' + decimals / 10);
  pattern[4] = static_cast<char>('0' + decimals % 10);
  return FromPrinted(text, std::snprintf(text, sizeof text, pattern, value));
}

int HexDigitValue(MChar unit) {
  if (unit >= '0' && unit <= '9') return unit - '0';
  if (unit >= 'A' && unit <= 'F') return unit - 'A' + 10;
  if (unit >= 'a' && unit <= 'f') return unit - 'a' + 10;
  throw MException("Invalid character to be converted to a number.");
}

}  // namespace kx
