// MString and MShortString: the system's string of 16-bit code units.
//
// Three kinds share one object layout (length, kind, union):
//   0 external  points at 8-bit text the string does not own (literals, constants);
//   1 inline    units and terminator stand in the object (lengths below the limit);
//   2 shared    units live in a heap buffer with a capacity and an atomic
//               reference count just before them; copies share it until one mutates.
// Every mutation passes through Reserve(), which makes the string private first
// (copy on write). A string object is used by one thread at a time; copies of it
// may travel freely between threads.
//
// MString inlines lengths below 60, MShortString (XML names, variants) below 24;
// both share kinds 0 and 2 and their buffers, and copying by value converts.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace kx {

using MChar = char16_t;

// Header that stands just before the units of a shared buffer.
struct MStringBuffer {
  int32_t capacity;  // bytes, header included
  std::atomic<uint32_t> references;
  MChar* Units() { return reinterpret_cast<MChar*>(this + 1); }
  static MStringBuffer* FromUnits(const MChar* units) {
    return reinterpret_cast<MStringBuffer*>(const_cast<MChar*>(units)) - 1;
  }
  // Buffer for n units plus terminator: 2n + 10 bytes rounded up to a power of two.
  static int32_t SizeFor(int32_t units);
  // Longest text whose buffer size still fits the signed 32-bit capacity.
  static constexpr int32_t kMaxUnits = ((1 << 30) - 10) / 2;
  static MStringBuffer* Allocate(int32_t units);
  static void Release(MStringBuffer* buffer);
};
static_assert(sizeof(MStringBuffer) == 8);

// Owned or referred 8-bit bytes, as produced by ToUTF8 and ToASCII.
class MByteBuffer {
 public:
  MByteBuffer() = default;
  MByteBuffer(const MByteBuffer&) = delete;
  MByteBuffer& operator=(const MByteBuffer&) = delete;
  MByteBuffer(MByteBuffer&& other) noexcept { *this = std::move(other); }
  MByteBuffer& operator=(MByteBuffer&& other) noexcept;
  ~MByteBuffer() { Clear(); }

  void Refer(const char* data, int64_t size);
  char* Allocate(int64_t size);  // owned, uninitialised
  void SetSize(int64_t size) { size_ = size; }
  void Clear();

  const char* Data() const { return data_; }
  char* MutableData() { return owned_ ? data_ : nullptr; }
  int64_t Size() const { return size_; }
  std::string_view View() const { return {data_ ? data_ : "", static_cast<size_t>(size_)}; }

 private:
  char* data_ = nullptr;
  int64_t size_ = 0;
  bool owned_ = false;
};

enum MStringKind : uint32_t { kExternal = 0, kInline = 1, kShared = 2 };

// Copies `length` units and the terminator between two inline areas (both of at
// least 16 units). Short texts, most names and values, go as one fixed block of
// 16 units, which the compiler turns into two moves instead of a call.
inline void CopyInlineUnits(MChar* to, const MChar* from, int32_t length) {
  if (length < 16)
    std::memcpy(to, from, 16 * sizeof(MChar));
  else
    std::memcpy(to, from, sizeof(MChar) * (length + 1));
}

// Widens 16 bytes, or 8, to as many units in one block each (the compiler's
// vector unpacking): for short texts whose bytes may be read past their end.
inline void WidenBlock16(MChar* to, const unsigned char* from) {
  using Bytes = unsigned char __attribute__((vector_size(16)));
  using Units = uint16_t __attribute__((vector_size(32)));
  Bytes bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  Units units = __builtin_convertvector(bytes, Units);
  std::memcpy(to, &units, sizeof units);
}
inline void WidenBlock8(MChar* to, const unsigned char* from) {
  using Bytes = unsigned char __attribute__((vector_size(8)));
  using Units = uint16_t __attribute__((vector_size(16)));
  Bytes bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  Units units = __builtin_convertvector(bytes, Units);
  std::memcpy(to, &units, sizeof units);
}

template <int InlineUnits>
class MStringT {
  template <int>
  friend class MStringT;
  static_assert(InlineUnits >= 16, "inline areas take a block of 16 units");

 public:
  static constexpr int kInlineUnits = InlineUnits;  // inline for lengths below this
  static constexpr int32_t kToEnd = 0x7fffffff;

  MStringT() { SetEmpty(); }
  // A literal or a constant that outlives the string: referred to, not copied.
  MStringT(const char* literal) { SetExternal(literal, literal ? std::strlen(literal) : 0); }
  MStringT(const char* text, int32_t length, bool copy);
  MStringT(const MChar* text);  // zero-terminated, copied
  MStringT(const MChar* text, int32_t length);
  MStringT(std::u16string_view text) : MStringT(text.data(), static_cast<int32_t>(text.size())) {}

  MStringT(const MStringT& other) { CopyFrom(other); }
  template <int Other>
  MStringT(const MStringT<Other>& other) {
    CopyFrom(other);
  }
  MStringT(MStringT&& other) noexcept { MoveFrom(other); }
  ~MStringT() { ReleaseStorage(); }

  MStringT& operator=(const MStringT& other) {
    if (this != &other) {
      ReleaseStorage();
      CopyFrom(other);
    }
    return *this;
  }
  template <int Other>
  MStringT& operator=(const MStringT<Other>& other) {
    MStringT copy(other);  // may allocate: keep our storage until it succeeded
    ReleaseStorage();
    MoveFrom(copy);
    return *this;
  }
  MStringT& operator=(MStringT&& other) noexcept {
    if (this != &other) {
      ReleaseStorage();
      MoveFrom(other);
    }
    return *this;
  }
  MStringT& operator=(const char* literal) {
    ReleaseStorage();
    SetExternal(literal, literal ? std::strlen(literal) : 0);
    return *this;
  }

  static MStringT FromNumber(int64_t value);
  // Copies 8-bit text, widening each byte to one unit.
  static MStringT FromBytes(const char* text, int32_t length) { return MStringT(text, length, true); }
  static MStringT FromBytes(std::string_view text) {
    return MStringT(text.data(), static_cast<int32_t>(text.size()), true);
  }
  static MStringT FromUTF8(std::string_view bytes);

  // --- observers
  int32_t Length() const { return length_; }
  bool IsEmpty() const { return length_ == 0; }
  MStringKind Kind() const { return static_cast<MStringKind>(kind_); }
  MChar operator[](int32_t index) const {
    return kind_ == kExternal ? static_cast<MChar>(static_cast<unsigned char>(u_.external[index]))
                              : Units()[index];
  }
  // The 8-bit text of an external string, else null.
  const char* ExternalBytes() const { return kind_ == kExternal ? u_.external : nullptr; }
  // The units of an inline or shared string, else null.
  const MChar* UnitsOrNull() const { return kind_ == kExternal ? nullptr : Units(); }
  // Zero-terminated 16-bit units; an external string is widened in place first.
  const MChar* c_str();
  // Reference count of a shared buffer (0 for the other kinds); for tests and diagnostics.
  uint32_t References() const {
    return kind_ == kShared ? MStringBuffer::FromUnits(u_.shared)->references.load() : 0;
  }

  // --- the one door to mutation: private storage for at least `units` units,
  // current content kept. Returns the writable units; call SetLength afterwards.
  MChar* Reserve(int32_t units) {
    // Already private with room: inline text that stays short, or a buffer of
    // our own that is big enough (its capacity is a power of two, so comparing
    // the unrounded size is the same test).
    if (kind_ == kInline) {
      if (units < InlineUnits) return u_.inline_units;
    } else if (kind_ == kShared && units >= length_ && units <= MStringBuffer::kMaxUnits) {
      MStringBuffer* buffer = MStringBuffer::FromUnits(u_.shared);
      if (2 * units + 10 <= buffer->capacity &&
          buffer->references.load(std::memory_order_acquire) == 1)
        return u_.shared;
    }
    return ReserveSlow(units);
  }
  void SetLength(int32_t length) {  // writes the terminator too; needs private storage
    length_ = length;
    MutableUnits()[length] = 0;
  }

  // --- mutation
  MStringT& Append(MChar unit) {  // inline: the unit-by-unit builders of parsers call it
    // The two cases that need no new storage are tested first and alone; a
    // buffer holds length + 1 units while 2 * (length + 1) + 10 fit its capacity.
    // The length and the pointer are read once, before the acquire load of the
    // count: read after it, the compiler fetches them back from memory, and the
    // length just stored then makes a store-to-load chain through every unit,
    // whose cost depended on how the caller's loop was laid out.
    const int32_t length = length_;
    MChar* units;
    if (kind_ == kShared) {
      units = u_.shared;
      MStringBuffer* buffer = MStringBuffer::FromUnits(units);
      if (2 * length + 12 > buffer->capacity ||
          buffer->references.load(std::memory_order_acquire) != 1) [[unlikely]]
        units = ReserveSlow(GrownLength(1));
    } else if (kind_ == kInline && length + 1 < InlineUnits) [[likely]] {
      units = u_.inline_units;
    } else {
      units = ReserveSlow(GrownLength(1));
    }
    units[length] = unit;
    units[length + 1] = 0;
    length_ = length + 1;
    return *this;
  }
  // Replace the content by a copy of `length` units, or of bytes widened one a
  // unit. Private storage that is big enough is kept, so that a string refilled
  // token after token allocates nothing.
  MStringT& Assign(const MChar* text, int32_t length);
  MStringT& AssignBytes(const char* text, int32_t length);
  // The same for text below 24 units into a string that holds no buffer, in
  // whole blocks: the 24 bytes at `text` must all be readable (a reader's block).
  // False, with nothing changed, in any other case; AssignBytes takes those.
  bool AssignShortBytes(const unsigned char* text, int32_t length) {
    static_assert(InlineUnits >= 24);
    if (kind_ == kShared || static_cast<uint32_t>(length) >= 24) return false;
    WidenBlock16(u_.inline_units, text);
    if (length >= 16) WidenBlock8(u_.inline_units + 16, text + 16);
    u_.inline_units[length] = 0;
    kind_ = kInline;
    length_ = length;
    return true;
  }
  MStringT& Append(const char* text, int32_t length);
  MStringT& Append(const MChar* text, int32_t length);
  template <int Other>
  MStringT& Append(const MStringT<Other>& text) {
    if (text.kind_ == kExternal) return Append(text.u_.external, text.length_);
    return Append(text.Units(), text.length_);
  }
  MStringT& Append(const char* literal) {
    return literal ? Append(literal, static_cast<int32_t>(std::strlen(literal))) : *this;
  }
  MStringT& operator+=(const MStringT& text) { return Append(text); }
  MStringT& operator+=(const char* literal) { return Append(literal); }
  MStringT& operator+=(MChar unit) { return Append(unit); }
  void Clear() {
    ReleaseStorage();
    SetEmpty();
  }
  MStringT& Insert(int32_t position, const MStringT& text);
  MStringT& Delete(int32_t position, int32_t count);
  void Replace(MChar from, MChar to);
  void Trim();
  void TrimLeft();
  void TrimRight();
  void RemoveWhitespace();
  void ToLower();  // A-Z only
  void ToUpper();  // a-z only

  // --- pieces and search
  MStringT Mid(int32_t start, int32_t count = kToEnd) const;
  MStringT Left(int32_t count) const { return Mid(0, count); }
  MStringT Right(int32_t count) const {
    return count >= length_ ? *this : Mid(length_ - (count < 0 ? 0 : count));
  }
  int32_t FindChar(MChar unit, int32_t from = 0) const;
  int32_t FindLastChar(MChar unit) const;
  int32_t Find(const MStringT& text, int32_t from = 0) const;
  int32_t FindNoCase(const MStringT& text, int32_t from = 0) const;
  bool StartsWith(const MStringT& text) const {
    return length_ >= text.length_ && SameUnits(0, text, text.length_);
  }
  bool EndsWith(const MStringT& text) const {
    return length_ >= text.length_ && SameUnits(length_ - text.length_, text, text.length_);
  }

  // Case-insensitive (accents folded, then A-Z) comparison of up to maxCount units,
  // stopping at a zero unit; returns the difference of the first folded pair.
  int Compare(int32_t start, const MStringT& other, int32_t otherStart = 0,
              int32_t maxCount = kToEnd) const;
  int Compare(const MStringT& other) const { return Compare(0, other, 0, kToEnd); }
  int CompareCase(int32_t start, const MStringT& other, int32_t otherStart = 0,
                  int32_t maxCount = kToEnd) const;
  int CompareCase(const MStringT& other) const { return CompareCase(0, other, 0, kToEnd); }
  bool EqualsNoCase(const MStringT& other) const {
    return length_ == other.length_ && Compare(other) == 0;
  }

  // --- conversions
  // Optional leading '-', then decimal digits; '+' is not accepted. `consumed`
  // receives the number of units read (0 when no digit was found).
  int64_t ToInt64(int32_t* consumed = nullptr) const;
  int32_t ToInt(int32_t* consumed = nullptr) const { return static_cast<int32_t>(ToInt64(consumed)); }
  double ToReal() const;
  // UTF-8 by the codec's rules. An ASCII literal is referred to, not copied.
  void ToUTF8(MByteBuffer& out, bool addTerminator = false) const;
  std::string ToUTF8String() const;
  // One byte a unit: below 256 as it is, else the folding table's plain letter,
  // else the low 8 bits. An external string is referred to, not copied.
  void ToASCII(MByteBuffer& out, bool addTerminator = false) const;
  uint32_t Hash() const;
  std::u16string ToU16() const;

  // Splits at every `separator`; empty fields are kept.
  template <typename List>
  void Split(MChar separator, List& out) const {
    int32_t start = 0;
    for (;;) {
      int32_t at = FindChar(separator, start);
      if (at < 0) {
        out.Add(Mid(start));
        return;
      }
      out.Add(Mid(start, at - start));
      start = at + 1;
    }
  }

  // Unit-exact equality; unlike CompareCase it does not stop at a zero unit.
  friend bool operator==(const MStringT& a, const MStringT& b) {
    return a.length_ == b.length_ && a.SameUnits(0, b, b.length_);
  }
  friend bool operator==(const MStringT& a, const char* b) { return a == MStringT(b); }
  friend MStringT operator+(MStringT a, const MStringT& b) { return a.Append(b), a; }

 private:
  const MChar* Units() const { return kind_ == kInline ? u_.inline_units : u_.shared; }
  MChar* MutableUnits() { return kind_ == kInline ? u_.inline_units : u_.shared; }
  void SetEmpty() {  // inline: every new string and every move passes here
    length_ = 0;
    kind_ = kExternal;
    u_.external = "";
  }
  void SetExternal(const char* text, size_t length);
  // In line wherever a string is copied: the tree's names are copied once a node.
  template <int Other>
  [[gnu::always_inline]] void CopyFrom(const MStringT<Other>& other);
  void MoveFrom(MStringT& other) noexcept;
  void ReleaseStorage();
  MChar* ReserveSlow(int32_t units);  // the cases that widen, allocate or copy
  void AssignUnits(const MChar* units, int32_t length);  // into fresh storage
  // The units [start, start + count) equal the first `count` units of `other`.
  bool SameUnits(int32_t start, const MStringT& other, int32_t count) const;
  // Room for `length` units in private storage, discarding the content; null
  // when the storage held cannot take them.
  MChar* ReuseStorage(int32_t length) {
    if (kind_ == kInline) return length < InlineUnits ? u_.inline_units : nullptr;
    if (kind_ != kShared) return nullptr;
    MStringBuffer* buffer = MStringBuffer::FromUnits(u_.shared);
    return 2 * length + 10 <= buffer->capacity &&
                   buffer->references.load(std::memory_order_acquire) == 1
               ? u_.shared
               : nullptr;
  }
  MChar* FreshStorage(int32_t length);
  // length_ + add, refused when the result would not fit a buffer.
  int32_t GrownLength(int64_t add) const;

  int32_t length_;
  uint32_t kind_;
  union {
    const char* external;
    MChar* shared;
    MChar inline_units[InlineUnits];
  } u_;
};

using MString = MStringT<60>;
using MShortString = MStringT<24>;

extern template class MStringT<60>;
extern template class MStringT<24>;

// Copying between the two string classes (and within one) follows the copy rules:
// external stays external, short text goes inline, long shared text is shared.
template <int InlineUnits>
template <int Other>
[[gnu::always_inline]] inline void MStringT<InlineUnits>::CopyFrom(const MStringT<Other>& other) {
  length_ = other.length_;
  if (other.kind_ == kExternal) {
    kind_ = kExternal;
    u_.external = other.u_.external;
    return;
  }
  if (other.length_ < InlineUnits) {
    kind_ = kInline;
    if (other.kind_ == kInline) {
      CopyInlineUnits(u_.inline_units, other.u_.inline_units, other.length_);
      return;
    }
    std::memcpy(u_.inline_units, other.Units(), sizeof(MChar) * other.length_);
    u_.inline_units[other.length_] = 0;
    return;
  }
  if (other.kind_ == kShared) {
    kind_ = kShared;
    u_.shared = other.u_.shared;
    MStringBuffer::FromUnits(u_.shared)->references.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  AssignUnits(other.Units(), other.length_);  // long inline source: a new buffer
}

// Debug and test helper: the text as UTF-8.
std::string ToStd(const MString& text);

}  // namespace kx
