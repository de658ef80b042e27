#include "foundation/text/number_text.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "foundation/core/exception.h"

namespace kx {
namespace {

// Digits and padding are produced from the right end of a work area; the field
// is 62 units wide at most, so a wider width is cut to it. Only base 2 of a
// value of 63 or 64 bits has more digits than that, and the area holds them.
constexpr int kFieldWidth = 62;
constexpr int kWorkArea = 64;

// Writes the field into `out` (at least kNumberFieldUnits long); returns its length.
int32_t FormatMagnitudeInto(MChar* out, uint64_t magnitude, bool negative, int base, int width,
                            MChar padUnit) {
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
  int32_t length = 0;
  if (negative) out[length++] = '-';
  for (int i = start; i < kWorkArea; ++i) out[length++] = area[i];
  return length;
}

MString FromField(const MChar* units, int32_t length) {
  MString result;
  std::memcpy(result.Reserve(length), units, sizeof(MChar) * static_cast<size_t>(length));
  result.SetLength(length);
  return result;
}

MString FromPrinted(const char* text, int length) {
  if (length < 0) return MString();
  return MString::FromBytes(text, length);
}

}  // namespace

int32_t FormatIntInto(MChar* out, int64_t value, int base, int width, MChar padUnit) {
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  return FormatMagnitudeInto(out, magnitude, value < 0, base, width, padUnit);
}

int32_t FormatUnsignedInto(MChar* out, uint64_t value, int base, int width, MChar padUnit) {
  return FormatMagnitudeInto(out, value, false, base, width, padUnit);
}

MString FormatInt(int64_t value, int base, int width, MChar padUnit) {
  MChar field[kNumberFieldUnits];
  return FromField(field, FormatIntInto(field, value, base, width, padUnit));
}

MString FormatUnsigned(uint64_t value, int base, int width, MChar padUnit) {
  MChar field[kNumberFieldUnits];
  return FromField(field, FormatUnsignedInto(field, value, base, width, padUnit));
}

int32_t FormatRealInto(char* out, double value, int decimals) {
  // The shortest correctly rounded digits of the exact value, as the C library's
  // "%.Nf" and "%.Ng" print them, without parsing a pattern at every call.
  char* end = out + kRealFieldBytes;
  std::to_chars_result written;
  if (decimals <= 0) {
    double rounded = std::round(value);
    if (rounded == 0) rounded = 0;  // no "-0" from a small negative value
    written = std::to_chars(out, end, rounded, std::chars_format::fixed, 0);
  } else if (decimals <= 9) {
    // Below 1e-6 the value is exact zero, so that "-0.0000" cannot appear.
    if (std::fabs(value) < 1e-6) value = 0;
    written = std::to_chars(out, end, value, std::chars_format::fixed, decimals);
  } else {
    written = std::to_chars(out, end, value, std::chars_format::general, decimals > 99 ? 99 : decimals);
  }
  return written.ec == std::errc() ? static_cast<int32_t>(written.ptr - out) : 0;
}

MString FormatReal(double value, int decimals) {
  char text[kRealFieldBytes];
  return FromPrinted(text, FormatRealInto(text, value, decimals));
}

int HexDigitValue(MChar unit) {
  if (unit >= '0' && unit <= '9') return unit - '0';
  if (unit >= 'A' && unit <= 'F') return unit - 'A' + 10;
  if (unit >= 'a' && unit <= 'f') return unit - 'a' + 10;
  throw MException("Invalid character to be converted to a number.");
}

}  // namespace kx
