// The UTF-8 and UTF-16 codecs.
//
// UTF-8 writing joins surrogate pairs, drops an unpaired low surrogate, and drops
// a high surrogate that no low one follows together with the unit after it. Code
// points 0x10FE01 to 0x10FEFF are the raw-byte pass-through: they leave as the one
// byte of their low 8 bits.
//
// Decode is the other half of that pass-through. Names of files and arguments on
// this system are bytes, not always UTF-8, and must survive a trip through a
// string: every byte that is not part of a well-formed sequence becomes the code
// point 0x10FE00 + byte (a surrogate pair), so Decode followed by Encode gives
// back the very bytes. A missing continuation byte ends the sequence there; no
// code point is formed from the partial sequence, its bytes pass through raw, and
// the byte that broke it starts the next sequence. Overlong forms, surrogates,
// values above 0x10FFFF and sequences of the pass-through range itself count as
// not well-formed; so a decoded string holds that range only for raw bytes, and
// no zero or line end hides inside an overlong form.
//
// ReadLine, which serves text formats, turns every sequence that is not
// well-formed into the unit 1 instead, by the same test.
#include <algorithm>
#include <cstring>

#include "foundation/text/codec_line_builder.h"
#include "foundation/text/codecs.h"
#include "foundation/core/exception.h"
#include "foundation/text/text_io.h"

namespace kx {
namespace {

constexpr uint32_t kPassThroughFirst = 0x10FE01;
constexpr uint32_t kPassThroughLast = 0x10FEFF;
constexpr MChar kBadSequenceUnit = 1;
constexpr MChar kByteOrderMark = 0xFEFF;

inline bool IsHighSurrogate(uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
inline bool IsLowSurrogate(uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Units of a string at one of its two storage widths.
struct MUnitView {
  const char* bytes = nullptr;  // external 8-bit text, or
  const MChar* units = nullptr;
  int32_t length = 0;
};

MUnitView ViewOf(const MString& text) {
  MUnitView view;
  view.length = text.Length();
  view.bytes = text.ExternalBytes();
  if (!view.bytes) view.units = text.UnitsOrNull();
  return view;
}

// Encodes units [index, stop) of `units` (length `length`) into `out`; a high
// surrogate at stop - 1 may take its partner at stop. Needs 3 bytes a unit plus
// one. Advances `index`; returns the bytes written.
int64_t EncodeUTF8(const MChar* units, int32_t& index, int32_t stop, int32_t length, uint8_t* out) {
  uint8_t* start = out;
  int32_t i = index;
  while (i < stop) {
    // Four ASCII units at a time while they last.
    while (stop - i >= 4) {
      uint64_t four;
      std::memcpy(&four, units + i, sizeof four);
      if (four & 0xFF80FF80FF80FF80ULL) break;
      out[0] = static_cast<uint8_t>(four);
      out[1] = static_cast<uint8_t>(four >> 16);
      out[2] = static_cast<uint8_t>(four >> 32);
      out[3] = static_cast<uint8_t>(four >> 48);
      out += 4;
      i += 4;
    }
    if (i == stop) break;
    uint32_t cp = units[i++];
    if (cp < 0x80) {
      *out++ = static_cast<uint8_t>(cp);
      continue;
    }
    if (IsLowSurrogate(cp)) continue;  // unpaired
    if (IsHighSurrogate(cp)) {
      uint32_t low = i < length ? units[i] : 0;
      ++i;  // the unit after a high surrogate goes with it either way
      if (!IsLowSurrogate(low)) continue;
      cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
      if (cp >= kPassThroughFirst && cp <= kPassThroughLast) {
        *out++ = static_cast<uint8_t>(cp & 0xFF);
        continue;
      }
      *out++ = static_cast<uint8_t>(0xF0 | (cp >> 18));
      *out++ = static_cast<uint8_t>(0x80 | ((cp >> 12) & 0x3F));
      *out++ = static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F));
      *out++ = static_cast<uint8_t>(0x80 | (cp & 0x3F));
      continue;
    }
    if (cp < 0x800) {
      *out++ = static_cast<uint8_t>(0xC0 | (cp >> 6));
      *out++ = static_cast<uint8_t>(0x80 | (cp & 0x3F));
    } else {
      *out++ = static_cast<uint8_t>(0xE0 | (cp >> 12));
      *out++ = static_cast<uint8_t>(0x80 | ((cp >> 6) & 0x3F));
      *out++ = static_cast<uint8_t>(0x80 | (cp & 0x3F));
    }
  }
  index = i;
  return out - start;
}

// External text holds bytes that stand for units 0 to 255: at most two bytes each.
int64_t EncodeUTF8(const char* bytes, int32_t begin, int32_t stop, uint8_t* out) {
  uint8_t* start = out;
  for (int32_t i = begin; i < stop; ++i) {
    uint8_t b = static_cast<uint8_t>(bytes[i]);
    if (b < 0x80) {
      *out++ = b;
    } else {
      *out++ = static_cast<uint8_t>(0xC0 | (b >> 6));
      *out++ = static_cast<uint8_t>(0x80 | (b & 0x3F));
    }
  }
  return out - start;
}

// Non-zero when one of the eight bytes is zero (exactly: no false alarms).
inline uint64_t HasZeroByte(uint64_t word) {
  return (word - 0x0101010101010101ULL) & ~word & 0x8080808080808080ULL;
}

// Length and payload bits of a lead byte; 0 for a byte that cannot start a sequence.
inline int SequenceLength(uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0) return 0;  // a continuation byte out of place
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  return 0;
}

inline uint32_t LeadBits(uint8_t lead, int length) {
  static constexpr uint8_t kMask[5] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  return lead & kMask[length];
}

// The smallest code point each length may carry; below it the form is overlong.
constexpr uint32_t kMinimum[5] = {0, 0, 0x80, 0x800, 0x10000};

inline bool Acceptable(uint32_t cp, int length) {
  if (cp < kMinimum[length] || cp > 0x10FFFF) return false;
  if (cp >= 0xD800 && cp <= 0xDFFF) return false;
  return cp < kPassThroughFirst || cp > kPassThroughLast;
}

// The length of the well-formed sequence at p (of `left` bytes, left >= 1) and its
// code point, or 0.
inline int WellFormed(const uint8_t* p, size_t left, uint32_t& cp) {
  int length = SequenceLength(p[0]);
  if (length == 0 || static_cast<size_t>(length) > left) return 0;
  cp = LeadBits(p[0], length);
  for (int k = 1; k < length; ++k) {
    if ((p[k] & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (p[k] & 0x3F);
  }
  return Acceptable(cp, length) ? length : 0;
}

inline MChar* PutCodePoint(uint32_t cp, MChar* out) {
  if (cp < 0x10000) {
    *out++ = static_cast<MChar>(cp);
  } else {
    cp -= 0x10000;
    *out++ = static_cast<MChar>(0xD800 + (cp >> 10));
    *out++ = static_cast<MChar>(0xDC00 + (cp & 0x3FF));
  }
  return out;
}

int32_t DecodableLength(size_t size) {
  // Each byte gives at most one unit (four bytes give two).
  if (size > static_cast<size_t>(MStringBuffer::kMaxUnits))
    throw MException("Text is too long for a string.");
  return static_cast<int32_t>(size);
}

class MUTF8Codec final : public MCodec {
 public:
  const char* GetName() const override { return "utf-8"; }

  void Decode(std::string_view bytes, MString& result) const override {
    result.Clear();
    int32_t size = DecodableLength(bytes.size());
    if (size == 0) return;
    const uint8_t* p = reinterpret_cast<const uint8_t*>(bytes.data());
    // One unit a byte is enough: a sequence of k bytes gives at most k units.
    // Only a raw byte gives two, and grows the room for the rest when needed.
    int32_t capacity = size;
    MChar* units = result.Reserve(capacity);
    int32_t n = 0;
    for (int32_t i = 0; i < size;) {
      uint8_t lead = p[i];
      if (lead < 0x80) {
        units[n++] = lead;
        ++i;
        continue;
      }
      uint32_t cp;
      int length = WellFormed(p + i, static_cast<size_t>(size - i), cp);
      if (length == 0) {
        int64_t need = static_cast<int64_t>(n) + 2 + (size - i - 1);
        if (need > capacity) {
          result.SetLength(n);
          int64_t grown = std::max<int64_t>(need, 2 * static_cast<int64_t>(capacity));
          if (grown > MStringBuffer::kMaxUnits) grown = need;  // beyond the limit, Reserve throws
          capacity = static_cast<int32_t>(std::min<int64_t>(grown, 0x7fffffff));
          units = result.Reserve(capacity);
        }
        cp = 0x10FE00 + lead;  // a raw byte
        length = 1;
      }
      n = static_cast<int32_t>(PutCodePoint(cp, units + n) - units);
      i += length;
    }
    result.SetLength(n);
  }

  void Encode(const MString& text, bool addTerminator, MByteBuffer& result) const override {
    MUnitView view = ViewOf(text);
    uint8_t* out =
        reinterpret_cast<uint8_t*>(result.Allocate(3 * static_cast<int64_t>(view.length) + 1));
    int64_t size;
    if (view.bytes) {
      size = EncodeUTF8(view.bytes, 0, view.length, out);
    } else {
      int32_t index = 0;
      size = EncodeUTF8(view.units, index, view.length, view.length, out);
    }
    if (addTerminator) out[size] = 0;
    result.SetSize(size);
  }

  bool ReadLine(MTextReader& reader, MString& line) const override {
    MLineBuilder builder(line);
    bool any = false;
    for (;;) {
      int32_t available = reader.Require(1);
      if (available == 0) break;
      any = true;
      // Plain ASCII straight from the buffer.
      const uint8_t* p = reader.Data();
      int32_t i = 0;
      while (i < available && p[i] < 0x80) {
        // A run without line ends, zeros and carriage returns goes in one piece;
        // eight bytes are tested at once while none of them ends the run.
        int32_t start = i;
        for (; available - i >= 8; i += 8) {
          uint64_t word;
          std::memcpy(&word, p + i, sizeof word);
          if ((word & 0x8080808080808080ULL) | HasZeroByte(word) |
              HasZeroByte(word ^ 0x0A0A0A0A0A0A0A0AULL) | HasZeroByte(word ^ 0x0D0D0D0D0D0D0D0DULL))
            break;
        }
        while (i < available && p[i] < 0x80 && p[i] != '\n' && p[i] != '\r' && p[i] != 0) ++i;
        if (i > start) builder.PutASCII(p + start, i - start);
        if (i == available || p[i] >= 0x80) break;
        uint8_t b = p[i++];
        if (b == '\n' || b == 0) {
          reader.Skip(i);
          builder.Flush();
          return true;
        }
      }
      reader.Skip(i);
      if (i == available) continue;
      // One multi-byte sequence: from the buffer when it holds all of it, else a
      // byte at a time (a buffer smaller than the sequence, or the end of input).
      uint8_t lead = p[i];
      int length = SequenceLength(lead);
      if (length == 0) {
        reader.Skip(1);
        builder.Put(kBadSequenceUnit);
        continue;
      }
      uint32_t cp = LeadBits(lead, length);
      int k = 1;
      if (reader.Require(length) >= length) {
        const uint8_t* q = reader.Data();
        for (; k < length && (q[k] & 0xC0) == 0x80; ++k) cp = (cp << 6) | (q[k] & 0x3F);
        reader.Skip(k);  // a byte that broke the sequence is left for the next round
      } else {
        reader.Skip(1);
        for (; k < length; ++k) {
          int next = reader.PeekByte();
          if (next < 0 || (next & 0xC0) != 0x80) break;
          reader.Skip(1);
          cp = (cp << 6) | (next & 0x3F);
        }
      }
      if (k < length || !Acceptable(cp, length)) {
        builder.Put(kBadSequenceUnit);
      } else if (cp == kByteOrderMark) {
        // dropped wherever it stands: this is how a byte order mark is skipped
      } else if (cp < 0x10000) {
        builder.Put(static_cast<MChar>(cp));
      } else {
        cp -= 0x10000;
        builder.Put(static_cast<MChar>(0xD800 + (cp >> 10)));
        builder.Put(static_cast<MChar>(0xDC00 + (cp & 0x3FF)));
      }
    }
    builder.Flush();
    return any;
  }

  void Write(MTextWriter& writer, const MString& text) const override {
    // In pieces that fit a writer's buffer; the bound of 3 bytes a unit (plus one
    // for a pair split at the end of a piece) holds for every piece.
    MUnitView view = ViewOf(text);
    int32_t index = 0;
    while (index < view.length) {
      int32_t piece = std::max<int32_t>(1, (writer.Free() - 1) / 3);
      piece = std::min(piece, std::min<int32_t>(view.length - index, 4096));
      uint8_t* out = writer.Space(3 * piece + 1);
      int64_t size;
      if (view.bytes) {
        size = EncodeUTF8(view.bytes, index, index + piece, out);
        index += piece;
      } else {
        size = EncodeUTF8(view.units, index, index + piece, view.length, out);
      }
      writer.Commit(static_cast<int32_t>(size));
    }
  }
};

class MUTF16Codec final : public MCodec {
 public:
  const char* GetName() const override { return "utf-16"; }

  // Units little-endian, no byte order mark (that is the header's business). A
  // trailing odd byte becomes a unit of its own rather than vanishing.
  void Decode(std::string_view bytes, MString& result) const override {
    result.Clear();
    int32_t size = DecodableLength((bytes.size() + 1) / 2);
    if (size == 0) return;
    const uint8_t* p = reinterpret_cast<const uint8_t*>(bytes.data());
    MChar* units = result.Reserve(size);
    size_t pairs = bytes.size() / 2;
    for (size_t i = 0; i < pairs; ++i)
      units[i] = static_cast<MChar>(p[2 * i] | (p[2 * i + 1] << 8));
    if (bytes.size() & 1) units[pairs] = p[bytes.size() - 1];
    result.SetLength(size);
  }

  void Encode(const MString& text, bool addTerminator, MByteBuffer& result) const override {
    int64_t size = 2 * static_cast<int64_t>(text.Length());
    uint8_t* out = reinterpret_cast<uint8_t*>(result.Allocate(size + (addTerminator ? 2 : 0)));
    for (int32_t i = 0; i < text.Length(); ++i) {
      MChar unit = text[i];
      out[2 * i] = static_cast<uint8_t>(unit & 0xFF);
      out[2 * i + 1] = static_cast<uint8_t>(unit >> 8);
    }
    if (addTerminator) out[size] = out[size + 1] = 0;
    result.SetSize(size);
  }

  void ReadHeader(MTextReader& reader) const override {
    int first = reader.ReadByte();
    int second = first < 0 ? -1 : reader.ReadByte();
    if (second < 0) throw MException("Could not read the required data from stream.", kErrorIO);
    if (first != 0xFF || second != 0xFE) throw MException("Invalid UTF8 header.", kErrorIO);
  }

  void WriteHeader(MTextWriter& writer) const override {
    uint8_t* out = writer.Space(2);
    out[0] = 0xFF;
    out[1] = 0xFE;
    writer.Commit(2);
  }

  // A line ends at the unit 10 or 0 and drops the unit 13. When the stream ends
  // inside a unit, its low byte alone is taken as the unit and judged the same way.
  // Whole units are judged, never the low byte of a complete unit: that would cut
  // lines at letters such as U+010A and swallow U+010D.
  bool ReadLine(MTextReader& reader, MString& line) const override {
    MLineBuilder builder(line);
    bool any = false;
    for (;;) {
      int32_t available = reader.Require(2);
      if (available == 0) break;
      any = true;
      if (available == 1) {
        // A one-byte buffer, or the last byte of the input.
        int low = reader.ReadByte();
        int high = reader.ReadByte();
        MChar unit = static_cast<MChar>(high < 0 ? low : (low | (high << 8)));
        if (unit == '\n' || unit == 0) break;
        if (unit != '\r') builder.Put(unit);
        continue;
      }
      const uint8_t* p = reader.Data();
      int32_t i = 0;
      for (; i + 1 < available; i += 2) {
        MChar unit = static_cast<MChar>(p[i] | (p[i + 1] << 8));
        if (unit == '\n' || unit == 0) {
          reader.Skip(i + 2);
          builder.Flush();
          return true;
        }
        if (unit != '\r') builder.Put(unit);
      }
      reader.Skip(i);
    }
    builder.Flush();
    return any;
  }

  void Write(MTextWriter& writer, const MString& text) const override {
    int32_t index = 0;
    while (index < text.Length()) {
      int32_t piece = std::max<int32_t>(1, writer.Free() / 2);
      piece = std::min(piece, std::min<int32_t>(text.Length() - index, 4096));
      uint8_t* out = writer.Space(2 * piece);
      for (int32_t i = 0; i < piece; ++i) {
        MChar unit = text[index + i];
        out[2 * i] = static_cast<uint8_t>(unit & 0xFF);
        out[2 * i + 1] = static_cast<uint8_t>(unit >> 8);
      }
      writer.Commit(2 * piece);
      index += piece;
    }
  }
};

}  // namespace

MCodec& GetUTF8Codec() {
  static MUTF8Codec codec;
  return codec;
}

MCodec& GetUTF16Codec() {
  static MUTF16Codec codec;
  return codec;
}

}  // namespace kx
