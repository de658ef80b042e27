#include "foundation/text/text_searcher.h"

#include <cstring>

#include "foundation/text/char_folding.h"

namespace kx {
namespace {

bool IsHigh(MChar unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLow(MChar unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// UTF-8 of the units from `from` on, with surrogate pairs joined and a lone
// surrogate kept as its own three bytes. Unlike the codec, which drops lone
// surrogates, this keeps one unit per sequence (two for a four-byte one), so a
// byte match maps back to a unit match: every sequence starts with a
// non-continuation byte, and the pattern is a whole number of sequences.
std::string EncodeUnits(const MString& text, int32_t from, bool fold) {
  std::string out;
  out.reserve(static_cast<size_t>(text.Length() - from) + 16);
  for (int32_t i = from; i < text.Length(); ++i) {
    uint32_t cp = fold ? FoldUnit(text[i]) : text[i];
    if (IsHigh(static_cast<MChar>(cp)) && i + 1 < text.Length() && IsLow(text[i + 1])) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
      ++i;
    }
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (cp >> 18));
      out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  return out;
}

// Number of units that the first `offset` bytes of EncodeUnits' output stand for.
int32_t UnitsBefore(const std::string& bytes, int64_t offset) {
  int32_t units = 0;
  for (int64_t i = 0; i < offset; ++i) {
    unsigned char b = static_cast<unsigned char>(bytes[static_cast<size_t>(i)]);
    if ((b & 0xC0) != 0x80) units += b >= 0xF0 ? 2 : 1;
  }
  return units;
}

}  // namespace

MTextSearcher::MTextSearcher(const MString& pattern, bool ignoreCase)
    : original_(pattern), ignoreCase_(ignoreCase) {
  int32_t n = pattern.Length();
  // A pattern that starts with a low or ends with a high surrogate can match
  // half of a pair in the text, which the joined bytes cannot express.
  unitsOnly_ = n > 0 && (IsLow(pattern[0]) || IsHigh(pattern[n - 1]));
  pattern_ = EncodeUnits(pattern, 0, ignoreCase);
  int32_t length = static_cast<int32_t>(pattern_.size());
  for (int32_t& entry : shift_) entry = length + 1;
  for (int32_t i = 0; i < length; ++i) shift_[static_cast<unsigned char>(pattern_[i])] = length - i;
  for (int b = 0; b < 256; ++b)
    byteFold_[b] = static_cast<unsigned char>(ignoreCase && b >= 'A' && b <= 'Z' ? b + 32 : b);
}

namespace {

// The quick-search loop; `fold` maps a text byte to its comparison form.
template <typename Fold>
int64_t QuickSearch(const unsigned char* text, int64_t size, int64_t from, const std::string& pattern,
                    const int32_t* shift, Fold fold) {
  const auto* wanted = reinterpret_cast<const unsigned char*>(pattern.data());
  const int64_t m = static_cast<int64_t>(pattern.size());
  const unsigned char last = wanted[m - 1];
  int64_t position = from;
  while (position + m <= size) {
    // The window's last byte first: it rejects most windows at once.
    if (fold(text[position + m - 1]) == last) {
      int64_t k = 0;
      while (k < m - 1 && fold(text[position + k]) == wanted[k]) ++k;
      if (k == m - 1) return position;
    }
    if (position + m >= size) break;
    // The byte just past the window decides how far the window may jump.
    position += shift[fold(text[position + m])];
  }
  return -1;
}

constexpr int64_t kNone = INT64_MAX;

// Next offset of `byte` in [from, end), or kNone. The C library's scan is
// vectorised, which a byte-at-a-time loop cannot match on long texts.
int64_t NextByte(const unsigned char* text, int64_t from, int64_t end, unsigned char byte) {
  if (from >= end) return kNone;
  const void* hit = std::memchr(text + from, byte, static_cast<size_t>(end - from));
  return hit ? static_cast<const unsigned char*>(hit) - text : kNone;
}

// Quick search led by a vectorised scan for the window's first byte (in both
// cases when folding). Only windows that start with it are tested, and a failed
// one still jumps by the shift table. Where the first byte is common and the
// scan keeps stopping, the plain loop takes over, so no text is much slower than
// with the loop alone.
template <typename Fold>
int64_t ScanSearch(const unsigned char* text, int64_t size, int64_t from, const std::string& pattern,
                   const int32_t* shift, bool bothCases, Fold fold) {
  const auto* wanted = reinterpret_cast<const unsigned char*>(pattern.data());
  const int64_t m = static_cast<int64_t>(pattern.size());
  const int64_t end = size - m + 1;  // one past the last window start
  const unsigned char first = wanted[0];
  const unsigned char upper = bothCases && first >= 'a' && first <= 'z' ? first - 32 : first;
  int64_t nextFirst = -1, nextUpper = upper == first ? kNone : -1;
  int64_t stops = 0;
  int64_t position = from;
  while (position < end) {
    if (nextFirst != kNone && nextFirst < position) nextFirst = NextByte(text, position, end, first);
    if (nextUpper != kNone && nextUpper < position) nextUpper = NextByte(text, position, end, upper);
    const int64_t at = nextFirst < nextUpper ? nextFirst : nextUpper;
    if (at == kNone) return -1;
    if (fold(text[at + m - 1]) == wanted[m - 1]) {
      int64_t k = 1;
      while (k < m - 1 && fold(text[at + k]) == wanted[k]) ++k;
      if (k >= m - 1) return at;
    }
    if (at + m >= size) return -1;
    position = at + shift[fold(text[at + m])];
    // A scan that stops every few bytes costs more than it saves.
    if (++stops >= 16 && stops * 32 > position - from)
      return QuickSearch(text, size, position, pattern, shift, fold);
  }
  return -1;
}

}  // namespace

int64_t MTextSearcher::FindInBytes(const char* bytes, int64_t size, int64_t from) const {
  if (from < 0) from = 0;
  if (pattern_.empty()) return from <= size ? from : -1;
  const auto* text = reinterpret_cast<const unsigned char*>(bytes);
  if (!ignoreCase_)
    return ScanSearch(text, size, from, pattern_, shift_, false, [](unsigned char b) { return b; });
  return ScanSearch(text, size, from, pattern_, shift_, true,
                    [this](unsigned char b) { return byteFold_[b]; });
}

int32_t MTextSearcher::Find(const MString& text, int32_t from) const {
  if (from < 0) from = 0;
  if (unitsOnly_ || original_.IsEmpty() || from >= text.Length())
    return ignoreCase_ ? text.FindNoCase(original_, from) : text.Find(original_, from);
  std::string bytes = EncodeUnits(text, from, ignoreCase_);
  int64_t at = FindInBytes(bytes.data(), static_cast<int64_t>(bytes.size()));
  return at < 0 ? -1 : from + UnitsBefore(bytes, at);
}

}  // namespace kx
