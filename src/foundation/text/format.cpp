// The template engine. Parsing lays the literal text into the result once and
// remembers where each placeholder stood; every Add then inserts its text at its
// slot and pushes later slots along, so arguments can arrive in index order while
// the template names them in any order.
#include "foundation/text/format.h"

#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/text/number_text.h"

namespace kx {
namespace {

constexpr uint8_t kFlagHex = 1;
constexpr uint8_t kFlagPlus = 2;
constexpr uint8_t kDefaultDecimals = 4;

// What one placeholder says, shared by MFormat and MScan.
struct PlaceholderOptions {
  int index = 0;
  uint8_t flags = 0;
  uint8_t width = 0;
  MChar pad = ' ';
  uint8_t decimals = kDefaultDecimals;
};

// Templates are mostly 8-bit literals; walking their bytes directly spares widening
// the whole template first.
inline MChar Widen(char unit) { return static_cast<MChar>(static_cast<unsigned char>(unit)); }
inline MChar Widen(MChar unit) { return unit; }

inline bool IsBlankClass(MChar unit) { return unit < 33; }

inline bool IsHexDigit(MChar unit) {
  return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'F') ||
         (unit >= 'a' && unit <= 'f');
}

[[noreturn, gnu::cold, gnu::noinline]] void ThrowEndsInside() {
  throw MException("Formatting string ends in an argument specification.");
}

// Nothing in the system writes such an index; refusing it keeps the slot arrays in
// bounds. Out of line, so that composing the message stays off the parsing path.
[[noreturn, gnu::cold, gnu::noinline]] void ThrowIndexTooHigh(int index) {
  throw MException(
      MFormat("Formatting string names argument {0}; the highest allowed is 31.").Add(index));
}

[[noreturn, gnu::cold, gnu::noinline]] void ThrowTooManyArguments(int slotCount) {
  throw MException(
      MFormat("Too many arguments for a formatting string with {0} placeholders.").Add(slotCount));
}

// Up to `maxDigits` decimal digits from `at`; none read gives 0.
template <typename Unit>
int ReadDigits(const Unit* text, int32_t length, int32_t& at, int maxDigits) {
  int value = 0;
  for (int n = 0; n < maxDigits && at < length; ++n, ++at) {
    MChar unit = Widen(text[at]);
    if (unit < '0' || unit > '9') break;
    value = value * 10 + (unit - '0');
  }
  return value;
}

// Reads a placeholder from just after its '{' to just after its '}'. The index is
// greedy (up to three digits, so "{008}" is 8); options follow in any order and
// unknown characters among them are skipped.
// Returns the place after the '}'. `options` is filled in place and the position goes
// by value: a struct returned by value was reloaded in one wide read over narrow
// stores, and a position passed by reference kept the caller's loop in memory.
template <typename Unit>
int32_t ReadPlaceholder(const Unit* text, int32_t length, int32_t at, PlaceholderOptions& options) {
  options.index = ReadDigits(text, length, at, 3);
  if (options.index >= MFormat::kMaxSlots) ThrowIndexTooHigh(options.index);
  for (;;) {
    if (at >= length) ThrowEndsInside();
    switch (Widen(text[at++])) {
      case '}':
        return at;
      case '+':
        options.flags |= kFlagPlus;
        break;
      case 'x':
        options.flags |= kFlagHex;
        break;
      case '.':
        options.decimals = static_cast<uint8_t>(ReadDigits(text, length, at, 2));
        break;
      case ' ':
        options.width = static_cast<uint8_t>(ReadDigits(text, length, at, 2));
        options.pad = ' ';
        break;
      case '0':
        options.width = static_cast<uint8_t>(ReadDigits(text, length, at, 2));
        options.pad = '0';
        break;
      default:
        break;
    }
  }
}

}  // namespace

// ---------------------------------------------------------------- MFormat

MFormat::MFormat(const MString& templateText) {
  int32_t length = templateText.Length();
  // A long template lands on the heap anyway: size the buffer once for the literal
  // text and typical arguments instead of growing it piece by piece.
  if (length >= MString::kInlineUnits) result_.Reserve(length + 64);
  if (const char* bytes = templateText.ExternalBytes())
    Parse(bytes, length);
  else
    Parse(templateText.UnitsOrNull(), length);
}

template <typename Unit>
void MFormat::Parse(const Unit* text, int32_t length) {
  // Literal text is gathered here and appended in blocks, not unit by unit.
  constexpr int kBlock = 64;
  MChar block[kBlock];
  int used = 0;
  auto flush = [&] {
    if (used) result_.Append(block, used);
    used = 0;
  };

  int32_t at = 0;
  while (at < length) {
    // Runs of plain text go straight into the block.
    while (at < length && used < kBlock) {
      MChar unit = Widen(text[at]);
      if (unit == '{' || unit == '}') break;
      block[used++] = unit;
      ++at;
    }
    if (at >= length) break;
    MChar unit = Widen(text[at++]);
    if (unit == '{') {
      if (at < length && Widen(text[at]) == '{') {
        ++at;  // "{{": a literal brace, stored below
      } else {
        PlaceholderOptions options;
        at = ReadPlaceholder(text, length, at, options);
        flush();
        Slot slot;
        slot.position = result_.Length();
        slot.flags = options.flags;
        slot.width = options.width;
        slot.pad = options.pad;
        slot.decimals = options.decimals;
        SetSlot(options.index, slot);
        continue;
      }
    } else if (unit == '}' && at < length) {
      unit = Widen(text[at++]);  // the brace drops out, the next unit stands as it is
    }
    if (used == kBlock) flush();
    block[used++] = unit;
  }
  flush();
}

void MFormat::SetSlot(int index, const Slot& slot) {
  // Slots are set up only as far as a template reaches: indexes it skipped
  // become unset slots here instead of every slot being cleared up front.
  for (int k = slotCount_; k < index; ++k) slots_[k] = Slot();
  Slot& target = slots_[index];
  target = slot;
  // Placeholders at one place keep their template order: each later one ranks
  // behind every slot already standing there (slots from slotCount_ on are unset).
  target.order = 0;
  for (int k = 0; k < slotCount_; ++k)
    if (k != index && slots_[k].position == slot.position) ++target.order;
  if (index + 1 > slotCount_) slotCount_ = index + 1;
}

MFormat::Slot& MFormat::NextSlot() {
  if (next_ >= slotCount_) ThrowTooManyArguments(slotCount_);
  return slots_[next_];
}

template <typename Unit>
void MFormat::Insert(const Unit* text, int32_t textLength, bool plus) {
  const Slot& slot = slots_[next_];
  int32_t add = textLength + (plus ? 1 : 0);
  // An unset slot is a template that skipped an index: its argument is dropped.
  if (slot.position >= 0 && add > 0) {
    int32_t length = result_.Length();
    int32_t position = slot.position <= length ? slot.position : length;
    MChar* units = result_.Reserve(length + add);
    std::memmove(units + position + add, units + position, sizeof(MChar) * (length - position));
    MChar* out = units + position;
    if (plus) *out++ = '+';
    if constexpr (sizeof(Unit) == 1) {
      for (int32_t i = 0; i < textLength; ++i) out[i] = Widen(text[i]);
    } else {
      std::memcpy(out, text, sizeof(MChar) * textLength);
    }
    result_.SetLength(length + add);
    // Slots filled later that stand behind this one move on; those at the same
    // place but ranked before it stay in front of the inserted text.
    for (int k = next_ + 1; k < slotCount_; ++k) {
      Slot& other = slots_[k];
      if (other.position > slot.position ||
          (other.position == slot.position && other.order > slot.order))
        other.position += add;
    }
  }
  ++next_;
}

// Numbers are written into a field on the stack and inserted from there.
MFormat& MFormat::Add(int64_t value) {
  const Slot& slot = NextSlot();
  MChar field[kNumberFieldUnits];
  int32_t length = FormatIntInto(field, value, (slot.flags & kFlagHex) ? 16 : 10, slot.width, slot.pad);
  Insert(field, length, (slot.flags & kFlagPlus) && value > 0);
  return *this;
}

MFormat& MFormat::Add(uint64_t value) {
  const Slot& slot = NextSlot();
  MChar field[kNumberFieldUnits];
  int32_t length =
      FormatUnsignedInto(field, value, (slot.flags & kFlagHex) ? 16 : 10, slot.width, slot.pad);
  Insert(field, length, (slot.flags & kFlagPlus) && value > 0);
  return *this;
}

MFormat& MFormat::Add(double value) {
  const Slot& slot = NextSlot();
  char field[kRealFieldBytes];
  int32_t length = FormatRealInto(field, value, slot.decimals);
  // The threshold keeps rounding noise around zero from getting a sign.
  Insert(field, length, (slot.flags & kFlagPlus) && value > 1e-10);
  return *this;
}

MFormat& MFormat::Add(const MString& value) {
  NextSlot();
  if (const char* bytes = value.ExternalBytes())
    Insert(bytes, value.Length(), false);
  else
    Insert(value.UnitsOrNull(), value.Length(), false);
  return *this;
}

MFormat& MFormat::Add(const char* value) {
  NextSlot();
  Insert(value ? value : "", value ? static_cast<int32_t>(std::strlen(value)) : 0, false);
  return *this;
}

MFormat& MFormat::AddChar(MChar value) {
  NextSlot();
  // A zero unit would end the text for every reader that stops at a terminator.
  MChar unit = value ? value : MChar(' ');
  Insert(&unit, 1, false);
  return *this;
}

MString FormatDuration(int64_t seconds) {
  if (seconds < 3600) return MFormat("{0} min, {1} sec").Add(seconds / 60).Add(seconds % 60);
  if (seconds < 86400)
    return MFormat("{0} hours, {1} min").Add(seconds / 3600).Add(seconds % 3600 / 60);
  return MFormat("{0} days, {1} hours").Add(seconds / 86400).Add(seconds % 86400 / 3600);
}

// ---------------------------------------------------------------- MScan

MScan::MScan(const MString& templateText, const MString& input) {
  if (const char* bytes = templateText.ExternalBytes())
    Walk(bytes, templateText.Length(), input);
  else
    Walk(templateText.UnitsOrNull(), templateText.Length(), input);
}

template <typename Unit>
void MScan::Walk(const Unit* text, int32_t length, const MString& input) {
  const int32_t inputLength = input.Length();
  int32_t at = 0;
  int32_t in = 0;
  while (at < length) {
    MChar unit = Widen(text[at]);
    if (IsBlankClass(unit)) {
      // Any run of blanks matches any run of blanks, or the end of the input.
      if (in < inputLength && !IsBlankClass(input[in])) return;
      while (at < length && IsBlankClass(Widen(text[at]))) ++at;
      while (in < inputLength && IsBlankClass(input[in])) ++in;
      continue;
    }
    ++at;
    if (unit == '{' && !(at < length && Widen(text[at]) == '{')) {
      PlaceholderOptions options;
      at = ReadPlaceholder(text, length, at, options);
      // The capture runs up to the unit the template expects next.
      int32_t end = inputLength;
      if (at < length) {
        MChar stop = Widen(text[at]);
        // "}x" stands for x; "{{" for a brace.
        if (at + 1 < length && (stop == '}' || (stop == '{' && Widen(text[at + 1]) == '{')))
          stop = Widen(text[at + 1]);
        end = in;
        if (IsBlankClass(stop)) {
          while (end < inputLength && !IsBlankClass(input[end])) ++end;
        } else {
          while (end < inputLength && input[end] != stop) ++end;
        }
      }
      captures_[options.index] = input.Mid(in, end - in);
      flags_[options.index] = options.flags;
      if (options.index + 1 > count_) count_ = options.index + 1;
      in = end;
      continue;
    }
    if ((unit == '{' || unit == '}') && at < length) unit = Widen(text[at++]);
    if (in >= inputLength || input[in] != unit) return;
    ++in;
  }
}

bool MScan::NextInteger(int64_t& value) {
  if (next_ >= count_) return false;
  const MString& text = captures_[next_];
  int64_t parsed = 0;
  bool found = false;
  if (flags_[next_] & kFlagHex) {
    int32_t i = 0;
    bool negative = text.Length() > 0 && text[0] == '-';
    if (negative) i = 1;
    uint64_t magnitude = 0;
    for (; i < text.Length() && IsHexDigit(text[i]); ++i) {
      magnitude = magnitude * 16 + static_cast<uint64_t>(HexDigitValue(text[i]));
      found = true;
    }
    parsed = static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
  } else {
    int32_t consumed = 0;
    parsed = text.ToInt64(&consumed);
    found = consumed > 0;
  }
  if (!found) {
    // Later captures are out of step with their targets now: stop converting.
    count_ = next_;
    return false;
  }
  ++next_;
  value = parsed;
  return true;
}

MScan& MScan::operator>>(int64_t& value) {
  NextInteger(value);
  return *this;
}

MScan& MScan::operator>>(int32_t& value) {
  int64_t wide;
  if (NextInteger(wide)) value = static_cast<int32_t>(wide);
  return *this;
}

MScan& MScan::operator>>(int16_t& value) {
  int64_t wide;
  if (NextInteger(wide)) value = static_cast<int16_t>(wide);
  return *this;
}

MScan& MScan::operator>>(int8_t& value) {
  int64_t wide;
  if (NextInteger(wide)) value = static_cast<int8_t>(wide);
  return *this;
}

MScan& MScan::operator>>(MString& value) {
  if (next_ < count_) value = captures_[next_++];
  return *this;
}

}  // namespace kx
