#include "foundation/text/text_string.h"

#include <bit>
#include <cstdlib>
#include <new>

#include "foundation/text/char_folding.h"
#include "foundation/core/exception.h"

namespace kx {
namespace {

inline bool IsBlankUnit(MChar unit) { return unit < 33; }

// One unit from each byte. Eight at a time: each half of a word spread into
// four 16-bit lanes (little-endian, so the units come out in order).
inline uint64_t SpreadBytes(uint64_t four) {
  four = (four | (four << 16)) & 0x0000FFFF0000FFFFULL;
  return (four | (four << 8)) & 0x00FF00FF00FF00FFULL;
}

[[gnu::always_inline]] inline void WidenBytes(MChar* __restrict out, const unsigned char* __restrict in,
                                              int32_t length) {
  int32_t i = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; length - i >= 8; i += 8) {
      uint64_t word;
      std::memcpy(&word, in + i, sizeof word);
      uint64_t low = SpreadBytes(word & 0xFFFFFFFFULL);
      uint64_t high = SpreadBytes(word >> 32);
      std::memcpy(out + i, &low, sizeof low);
      std::memcpy(out + i + 4, &high, sizeof high);
    }
    if (length - i >= 4) {
      uint32_t four;
      std::memcpy(&four, in + i, sizeof four);
      uint64_t units = SpreadBytes(four);
      std::memcpy(out + i, &units, sizeof units);
      i += 4;
    }
    // At most three left: spelt out, so that no loop machinery is built for them.
    switch (length - i) {
      case 3:
        out[i + 2] = in[i + 2];
        [[fallthrough]];
      case 2:
        out[i + 1] = in[i + 1];
        [[fallthrough]];
      case 1:
        out[i] = in[i];
        [[fallthrough]];
      default:
        return;
    }
  }
  for (; i < length; ++i) out[i] = in[i];
}

// A length beyond what a 32-bit capacity can hold is refused before any size
// arithmetic could wrap around.
[[noreturn]] void ThrowTooLong() { throw MException("Text is too long for a string."); }

}  // namespace

// ---------------------------------------------------------------- MStringBuffer

int32_t MStringBuffer::SizeFor(int32_t units) {
  if (units < 0 || units > kMaxUnits) ThrowTooLong();
  uint32_t wanted = 2u * static_cast<uint32_t>(units) + 10u;
  return static_cast<int32_t>(std::bit_ceil(wanted));
}

MStringBuffer* MStringBuffer::Allocate(int32_t units) {
  int32_t size = SizeFor(units);
  void* memory = std::malloc(static_cast<size_t>(size));
  if (!memory) throw std::bad_alloc();
  auto* buffer = new (memory) MStringBuffer;
  buffer->capacity = size;
  buffer->references.store(1, std::memory_order_relaxed);
  buffer->Units()[0] = 0;
  return buffer;
}

void MStringBuffer::Release(MStringBuffer* buffer) {
  if (buffer->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    buffer->~MStringBuffer();
    std::free(buffer);
  }
}

// ---------------------------------------------------------------- MByteBuffer

MByteBuffer& MByteBuffer::operator=(MByteBuffer&& other) noexcept {
  if (this != &other) {
    Clear();
    data_ = other.data_;
    size_ = other.size_;
    owned_ = other.owned_;
    other.data_ = nullptr;
    other.size_ = 0;
    other.owned_ = false;
  }
  return *this;
}

void MByteBuffer::Refer(const char* data, int64_t size) {
  Clear();
  data_ = const_cast<char*>(data);
  size_ = size;
}

char* MByteBuffer::Allocate(int64_t size) {
  Clear();
  data_ = static_cast<char*>(std::malloc(static_cast<size_t>(size > 0 ? size : 1)));
  if (!data_) throw std::bad_alloc();
  size_ = size;
  owned_ = true;
  return data_;
}

void MByteBuffer::Clear() {
  if (owned_) std::free(data_);
  data_ = nullptr;
  size_ = 0;
  owned_ = false;
}

// ---------------------------------------------------------------- storage

template <int N>
void MStringT<N>::SetExternal(const char* text, size_t length) {
  if (!text) {
    SetEmpty();
    return;
  }
  length_ = static_cast<int32_t>(length);
  kind_ = kExternal;
  u_.external = text;
}

template <int N>
void MStringT<N>::MoveFrom(MStringT& other) noexcept {
  length_ = other.length_;
  kind_ = other.kind_;
  if (kind_ == kInline) {
    CopyInlineUnits(u_.inline_units, other.u_.inline_units, length_);
  } else {
    u_ = other.u_;
  }
  other.SetEmpty();
}

template <int N>
void MStringT<N>::ReleaseStorage() {
  if (kind_ == kShared) MStringBuffer::Release(MStringBuffer::FromUnits(u_.shared));
}

template <int N>
void MStringT<N>::AssignUnits(const MChar* units, int32_t length) {
  if (length < N) {
    kind_ = kInline;
    std::memcpy(u_.inline_units, units, sizeof(MChar) * length);
    u_.inline_units[length] = 0;
  } else {
    MStringBuffer* buffer = MStringBuffer::Allocate(length);
    std::memcpy(buffer->Units(), units, sizeof(MChar) * length);
    buffer->Units()[length] = 0;
    kind_ = kShared;
    u_.shared = buffer->Units();
  }
  length_ = length;
}

template <int N>
MStringT<N>::MStringT(const char* text, int32_t length, bool copy) {
  if (length < 0) length = 0;
  if (!copy) {
    SetExternal(text, static_cast<size_t>(length));
    return;
  }
  SetEmpty();
  Append(text, length);
}

template <int N>
MStringT<N>::MStringT(const MChar* text) {
  int32_t length = 0;
  if (text)
    while (text[length]) ++length;
  SetEmpty();
  if (length) AssignUnits(text, length);
}

template <int N>
MStringT<N>::MStringT(const MChar* text, int32_t length) {
  SetEmpty();
  if (length > 0) AssignUnits(text, length);
}

template <int N>
int32_t MStringT<N>::GrownLength(int64_t add) const {
  int64_t total = static_cast<int64_t>(length_) + add;
  if (total > MStringBuffer::kMaxUnits) ThrowTooLong();
  return static_cast<int32_t>(total);
}

template <int N>
MChar* MStringT<N>::ReserveSlow(int32_t units) {
  if (units < length_) units = length_;
  if (units > MStringBuffer::kMaxUnits) ThrowTooLong();
  if (kind_ == kExternal) {
    // Widen the referred bytes into private storage.
    const char* bytes = u_.external;
    int32_t length = length_;
    MChar* target;
    if (units < N) {
      kind_ = kInline;
      target = u_.inline_units;
    } else {
      MStringBuffer* buffer = MStringBuffer::Allocate(units);
      kind_ = kShared;
      u_.shared = target = buffer->Units();
    }
    WidenBytes(target, reinterpret_cast<const unsigned char*>(bytes), length);
    target[length] = 0;
    return target;
  }
  if (kind_ == kInline) {
    if (units < N) return u_.inline_units;
    MStringBuffer* buffer = MStringBuffer::Allocate(units);
    std::memcpy(buffer->Units(), u_.inline_units, sizeof(MChar) * (length_ + 1));
    kind_ = kShared;
    u_.shared = buffer->Units();
    return u_.shared;
  }
  MStringBuffer* buffer = MStringBuffer::FromUnits(u_.shared);
  bool sole = buffer->references.load(std::memory_order_acquire) == 1;
  if (sole && MStringBuffer::SizeFor(units) <= buffer->capacity) return u_.shared;
  if (sole) {
    int32_t size = MStringBuffer::SizeFor(units);
    void* memory = std::realloc(buffer, static_cast<size_t>(size));
    if (!memory) throw std::bad_alloc();
    buffer = static_cast<MStringBuffer*>(memory);
    buffer->capacity = size;
    u_.shared = buffer->Units();
    return u_.shared;
  }
  // Shared with others: copy, then drop our reference. Text that fits goes
  // inline, so a short private string never holds a buffer.
  const MChar* old = u_.shared;
  if (units < N) {
    std::memcpy(u_.inline_units, old, sizeof(MChar) * (length_ + 1));
    kind_ = kInline;
    MStringBuffer::Release(buffer);
    return u_.inline_units;
  }
  MStringBuffer* fresh = MStringBuffer::Allocate(units);
  std::memcpy(fresh->Units(), old, sizeof(MChar) * (length_ + 1));
  MStringBuffer::Release(buffer);
  u_.shared = fresh->Units();
  return u_.shared;
}

template <int N>
const MChar* MStringT<N>::c_str() {
  if (kind_ == kExternal) Reserve(length_);
  return Units();
}

// ---------------------------------------------------------------- mutation

template <int N>
MStringT<N>& MStringT<N>::Assign(const MChar* text, int32_t length) {
  if (length < 0) length = 0;
  if (MChar* units = ReuseStorage(length)) {
    // `text` may be our own units, at or after the start: a forward copy is safe.
    if (length <= 32) {
      for (int32_t i = 0; i < length; ++i) units[i] = text[i];
    } else {
      std::memmove(units, text, sizeof(MChar) * length);
    }
    SetLength(length);
    return *this;
  }
  if (length > MStringBuffer::kMaxUnits) ThrowTooLong();
  const MChar* own = UnitsOrNull();
  if (own && text >= own && text <= own + length_) {
    MStringT copy(text, length);  // our own units, which new storage would drop
    ReleaseStorage();
    MoveFrom(copy);
    return *this;
  }
  MChar* units = FreshStorage(length);
  if (length > 0) std::memcpy(units, text, sizeof(MChar) * length);
  units[length] = 0;
  return *this;
}

template <int N>
MStringT<N>& MStringT<N>::AssignBytes(const char* text, int32_t length) {
  if (length < 0) length = 0;
  if (kind_ != kShared && length < 16) {
    // The common case of readers: short text into a string that holds no buffer.
    kind_ = kInline;
    length_ = length;
    WidenBytes(u_.inline_units, reinterpret_cast<const unsigned char*>(text), length);
    u_.inline_units[length] = 0;
    return *this;
  }
  if (MChar* units = ReuseStorage(length)) {
    const auto* in = reinterpret_cast<const unsigned char*>(text);
    WidenBytes(units, in, length);
    SetLength(length);
    return *this;
  }
  if (length > MStringBuffer::kMaxUnits) ThrowTooLong();
  MChar* units = FreshStorage(length);
  const auto* in = reinterpret_cast<const unsigned char*>(text);
  WidenBytes(units, in, length);
  units[length] = 0;
  return *this;
}

// New private storage for `length` units in place of what the string holds; the
// buffer comes first, so a failing allocation leaves the string as it was. The
// caller fills the units and the terminator.
template <int N>
MChar* MStringT<N>::FreshStorage(int32_t length) {
  MChar* units;
  if (length < N) {
    ReleaseStorage();
    kind_ = kInline;
    units = u_.inline_units;
  } else {
    MStringBuffer* buffer = MStringBuffer::Allocate(length);
    ReleaseStorage();
    kind_ = kShared;
    units = u_.shared = buffer->Units();
  }
  length_ = length;
  return units;
}

template <int N>
MStringT<N>& MStringT<N>::Append(const char* text, int32_t length) {
  if (length <= 0) return *this;
  if (length > MStringBuffer::kMaxUnits - length_) ThrowTooLong();
  MChar* out = Reserve(length_ + length) + length_;
  const auto* in = reinterpret_cast<const unsigned char*>(text);
  WidenBytes(out, in, length);
  SetLength(length_ + length);
  return *this;
}

template <int N>
MStringT<N>& MStringT<N>::Append(const MChar* text, int32_t length) {
  if (length <= 0) return *this;
  // `text` may be our own units: Reserve can move them, so copy through a temporary then.
  const MChar* own = kind_ == kExternal ? nullptr : Units();
  if (own && text >= own && text < own + length_ + 1) {
    MStringT copy(text, length);
    return Append(copy.Units(), length);
  }
  MChar* units = Reserve(GrownLength(length));
  std::memcpy(units + length_, text, sizeof(MChar) * length);
  SetLength(length_ + length);
  return *this;
}

template <int N>
MStringT<N>& MStringT<N>::Insert(int32_t position, const MStringT& text) {
  if (text.length_ == 0) return *this;
  if (position < 0) position = 0;
  if (position > length_) position = length_;
  MStringT piece(text);  // `text` may be *this
  int32_t add = piece.length_;
  MChar* units = Reserve(GrownLength(add));
  std::memmove(units + position + add, units + position, sizeof(MChar) * (length_ - position));
  for (int32_t i = 0; i < add; ++i) units[position + i] = piece[i];
  SetLength(length_ + add);
  return *this;
}

template <int N>
MStringT<N>& MStringT<N>::Delete(int32_t position, int32_t count) {
  if (position < 0 || position >= length_ || count <= 0) return *this;
  if (count > length_ - position) count = length_ - position;
  MChar* units = Reserve(length_);
  std::memmove(units + position, units + position + count,
               sizeof(MChar) * (length_ - position - count));
  SetLength(length_ - count);
  return *this;
}

template <int N>
void MStringT<N>::Replace(MChar from, MChar to) {
  if (FindChar(from) < 0) return;
  MChar* units = Reserve(length_);
  for (int32_t i = 0; i < length_; ++i)
    if (units[i] == from) units[i] = to;
}

template <int N>
void MStringT<N>::TrimLeft() {
  int32_t skip = 0;
  while (skip < length_ && IsBlankUnit((*this)[skip])) ++skip;
  if (skip) Delete(0, skip);
}

template <int N>
void MStringT<N>::TrimRight() {
  int32_t end = length_;
  while (end > 0 && IsBlankUnit((*this)[end - 1])) --end;
  if (end < length_) Delete(end, length_ - end);
}

template <int N>
void MStringT<N>::Trim() {
  TrimLeft();
  TrimRight();
}

template <int N>
void MStringT<N>::RemoveWhitespace() {
  int32_t i = 0;
  while (i < length_ && !IsBlankUnit((*this)[i])) ++i;
  if (i == length_) return;
  MChar* units = Reserve(length_);
  int32_t out = i;
  for (; i < length_; ++i)
    if (!IsBlankUnit(units[i])) units[out++] = units[i];
  SetLength(out);
}

template <int N>
void MStringT<N>::ToLower() {
  int32_t first = 0;
  while (first < length_ && !((*this)[first] >= 'A' && (*this)[first] <= 'Z')) ++first;
  if (first == length_) return;  // nothing to change: no private copy
  MChar* units = Reserve(length_);
  for (int32_t i = 0; i < length_; ++i)
    if (units[i] >= 'A' && units[i] <= 'Z') units[i] = static_cast<MChar>(units[i] + 32);
}

template <int N>
void MStringT<N>::ToUpper() {
  int32_t first = 0;
  while (first < length_ && !((*this)[first] >= 'a' && (*this)[first] <= 'z')) ++first;
  if (first == length_) return;
  MChar* units = Reserve(length_);
  for (int32_t i = 0; i < length_; ++i)
    if (units[i] >= 'a' && units[i] <= 'z') units[i] = static_cast<MChar>(units[i] - 32);
}

// ---------------------------------------------------------------- pieces, search

template <int N>
MStringT<N> MStringT<N>::Mid(int32_t start, int32_t count) const {
  if (start < 0) start = 0;
  if (start >= length_ || count <= 0) return MStringT();
  if (count > length_ - start) count = length_ - start;
  if (start == 0 && count == length_) return *this;
  if (kind_ == kExternal) {
    // A tail of a literal is still a terminated literal: refer to it.
    bool tail = start + count == length_;
    return MStringT(u_.external + start, count, !tail);
  }
  return MStringT(Units() + start, count);
}

template <int N>
int32_t MStringT<N>::FindChar(MChar unit, int32_t from) const {
  if (from < 0) from = 0;
  if (from >= length_) return -1;
  if (kind_ == kExternal) {
    if (unit > 0xFF) return -1;
    const void* at = std::memchr(u_.external + from, unit, static_cast<size_t>(length_ - from));
    return at ? static_cast<int32_t>(static_cast<const char*>(at) - u_.external) : -1;
  }
  const MChar* units = Units();
  for (int32_t i = from; i < length_; ++i)
    if (units[i] == unit) return i;
  return -1;
}

template <int N>
int32_t MStringT<N>::FindLastChar(MChar unit) const {
  for (int32_t i = length_ - 1; i >= 0; --i)
    if ((*this)[i] == unit) return i;
  return -1;
}

template <int N>
int32_t MStringT<N>::Find(const MStringT& text, int32_t from) const {
  if (from < 0) from = 0;
  if (text.length_ == 0) return from <= length_ ? from : -1;
  for (int32_t i = from; i + text.length_ <= length_; ++i) {
    int32_t k = 0;
    while (k < text.length_ && (*this)[i + k] == text[k]) ++k;
    if (k == text.length_) return i;
  }
  return -1;
}

template <int N>
int32_t MStringT<N>::FindNoCase(const MStringT& text, int32_t from) const {
  if (from < 0) from = 0;
  if (text.length_ == 0) return from <= length_ ? from : -1;
  for (int32_t i = from; i + text.length_ <= length_; ++i) {
    int32_t k = 0;
    while (k < text.length_ && FoldUnit((*this)[i + k]) == FoldUnit(text[k])) ++k;
    if (k == text.length_) return i;
  }
  return -1;
}

template <int N>
bool MStringT<N>::SameUnits(int32_t start, const MStringT& other, int32_t count) const {
  if (start < 0 || count < 0 || start + count > length_ || count > other.length_) return false;
  if (kind_ != kExternal && other.kind_ != kExternal)
    return std::memcmp(Units() + start, other.Units(), sizeof(MChar) * count) == 0;
  if (kind_ == kExternal && other.kind_ == kExternal)
    return std::memcmp(u_.external + start, other.u_.external, static_cast<size_t>(count)) == 0;
  for (int32_t i = 0; i < count; ++i)
    if ((*this)[start + i] != other[i]) return false;
  return true;
}

namespace {
// Shared walk of both comparisons: units past either end count as 0, and the
// walk stops at the first difference or at a zero unit.
template <typename A, typename B, typename Fold>
int CompareWalk(const A& a, int32_t start, const B& b, int32_t otherStart, int32_t maxCount,
                Fold fold) {
  for (int32_t i = 0; i < maxCount; ++i) {
    int32_t ia = start + i, ib = otherStart + i;
    MChar ua = (ia >= 0 && ia < a.Length()) ? a[ia] : 0;
    MChar ub = (ib >= 0 && ib < b.Length()) ? b[ib] : 0;
    int diff = static_cast<int>(fold(ua)) - static_cast<int>(fold(ub));
    if (diff != 0) return diff;
    if (ua == 0) return 0;
  }
  return 0;
}
}  // namespace

template <int N>
int MStringT<N>::Compare(int32_t start, const MStringT& other, int32_t otherStart,
                         int32_t maxCount) const {
  return CompareWalk(*this, start, other, otherStart, maxCount, FoldUnit);
}

template <int N>
int MStringT<N>::CompareCase(int32_t start, const MStringT& other, int32_t otherStart,
                             int32_t maxCount) const {
  return CompareWalk(*this, start, other, otherStart, maxCount, [](MChar u) { return u; });
}

// ---------------------------------------------------------------- conversions

template <int N>
int64_t MStringT<N>::ToInt64(int32_t* consumed) const {
  int32_t i = 0;
  bool negative = false;
  if (length_ > 0 && (*this)[0] == '-') {
    negative = true;
    i = 1;
  }
  uint64_t value = 0;
  int32_t digits = 0;
  while (i < length_ && (*this)[i] >= '0' && (*this)[i] <= '9') {
    value = value * 10 + static_cast<uint64_t>((*this)[i] - '0');
    ++i;
    ++digits;
  }
  if (consumed) *consumed = digits ? i : 0;
  int64_t result = static_cast<int64_t>(value);
  return negative ? static_cast<int64_t>(0 - value) : result;
}

template <int N>
double MStringT<N>::ToReal() const {
  MByteBuffer bytes;
  ToASCII(bytes, true);
  std::string text(bytes.Data(), static_cast<size_t>(length_));
  for (char& c : text)
    if (c == ',') c = '.';
  return std::strtod(text.c_str(), nullptr);
}

template <int N>
void MStringT<N>::ToASCII(MByteBuffer& out, bool addTerminator) const {
  // External bytes are already one byte a unit; a literal also carries its
  // terminator, but a run cut out of a longer text does not.
  if (kind_ == kExternal && (!addTerminator || u_.external[length_] == 0)) {
    out.Refer(u_.external, length_);
    return;
  }
  char* bytes = out.Allocate(length_ + (addTerminator ? 1 : 0));
  for (int32_t i = 0; i < length_; ++i) bytes[i] = static_cast<char>(NarrowUnit((*this)[i]));
  if (addTerminator) bytes[length_] = 0;
  out.SetSize(length_);
}

template <int N>
void MStringT<N>::ToUTF8(MByteBuffer& out, bool addTerminator) const {
  // Same rules as the UTF-8 codec: surrogate pairs joined, lone surrogates dropped,
  // and 0x10FE01..0x10FEFF passed through as one raw byte.
  if (kind_ == kExternal) {
    // A plain ASCII literal already is its UTF-8 form: refer, do not copy.
    bool ascii = !addTerminator || u_.external[length_] == 0;
    for (int32_t i = 0; ascii && i < length_; ++i)
      ascii = static_cast<unsigned char>(u_.external[i]) < 0x80;
    if (ascii) {
      out.Refer(u_.external, length_);
      return;
    }
  }
  char* bytes = out.Allocate(3 * static_cast<int64_t>(length_) + 1);
  int64_t n = 0;
  for (int32_t i = 0; i < length_; ++i) {
    uint32_t cp = (*this)[i];
    if (cp >= 0xDC00 && cp <= 0xDFFF) continue;  // unpaired low surrogate
    if (cp >= 0xD800 && cp <= 0xDBFF) {
      MChar low = i + 1 < length_ ? (*this)[i + 1] : 0;
      ++i;  // the following unit is consumed either way
      if (low < 0xDC00 || low > 0xDFFF) continue;
      cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
      if (cp >= 0x10FE01 && cp <= 0x10FEFF) {
        bytes[n++] = static_cast<char>(cp & 0xff);
        continue;
      }
    }
    if (cp < 0x80) {
      bytes[n++] = static_cast<char>(cp);
    } else if (cp < 0x800) {
      bytes[n++] = static_cast<char>(0xC0 | (cp >> 6));
      bytes[n++] = static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      bytes[n++] = static_cast<char>(0xE0 | (cp >> 12));
      bytes[n++] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      bytes[n++] = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      bytes[n++] = static_cast<char>(0xF0 | (cp >> 18));
      bytes[n++] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      bytes[n++] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      bytes[n++] = static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  if (addTerminator) bytes[n] = 0;
  out.SetSize(n);
}

template <int N>
std::string MStringT<N>::ToUTF8String() const {
  MByteBuffer bytes;
  ToUTF8(bytes);
  return std::string(bytes.View());
}

template <int N>
std::u16string MStringT<N>::ToU16() const {
  std::u16string out(static_cast<size_t>(length_), u'\0');
  for (int32_t i = 0; i < length_; ++i) out[static_cast<size_t>(i)] = (*this)[i];
  return out;
}

template <int N>
uint32_t MStringT<N>::Hash() const {
  uint32_t h = 0;
  for (int32_t i = 0; i < length_; ++i) {
    uint32_t unit = (*this)[i];
    if (unit >= 'A' && unit <= 'Z') unit += 'a' - 'A';
    h = (h + unit) * 1025u;
    h ^= h >> 6;
  }
  if (length_ == 0) return 0;
  h *= 9u;
  h ^= h >> 11;
  h *= 32769u;
  return h;
}

template <int N>
MStringT<N> MStringT<N>::FromNumber(int64_t value) {
  char digits[24];
  int n = 0;
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  do {
    digits[n++] = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude);
  MStringT result;
  MChar* units = result.Reserve(n + 1);
  int32_t length = 0;
  if (value < 0) units[length++] = '-';
  while (n) units[length++] = static_cast<MChar>(digits[--n]);
  result.SetLength(length);
  return result;
}

template <int N>
MStringT<N> MStringT<N>::FromUTF8(std::string_view bytes) {
  // Minimal decoder for program-internal UTF-8 (the codec of the text layer is
  // the reference for outside data).
  MStringT result;
  result.Reserve(static_cast<int32_t>(bytes.size()));
  size_t i = 0;
  while (i < bytes.size()) {
    unsigned char b = static_cast<unsigned char>(bytes[i]);
    if ((b & 0xC0) == 0x80 || b >= 0xF8) {  // stray continuation or invalid lead
      ++i;
      continue;
    }
    int extra = b < 0x80 ? 0 : b < 0xE0 ? 1 : b < 0xF0 ? 2 : 3;
    uint32_t cp = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
    ++i;
    bool complete = true;
    for (int k = 0; k < extra; ++k, ++i) {
      if (i >= bytes.size() || (static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80) {
        complete = false;
        break;
      }
      cp = (cp << 6) | (static_cast<unsigned char>(bytes[i]) & 0x3F);
    }
    if (!complete) continue;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      result.Append(static_cast<MChar>(0xD800 + (cp >> 10)));
      result.Append(static_cast<MChar>(0xDC00 + (cp & 0x3FF)));
    } else {
      result.Append(static_cast<MChar>(cp));
    }
  }
  return result;
}

template class MStringT<60>;
template class MStringT<24>;

std::string ToStd(const MString& text) { return text.ToUTF8String(); }

}  // namespace kx
