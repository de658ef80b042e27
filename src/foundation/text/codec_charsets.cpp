// Single-byte codecs: the system default (byte = unit) and the 29 single-byte
// charsets of the generated table; and the lookup by name over those and the
// double-byte charsets (codec_double_byte.h).
//
// Reading maps each byte through the table; a byte the charset leaves undefined
// reads as U+FFFD, so the reader sees that something was there. Writing maps
// each unit back through a sorted reverse table; a unit the charset cannot
// represent (U+FFFD included, and a surrogate pair as a whole) is written as '?'.
// The system default writes units above 255 through NarrowUnit instead, the same
// narrowing as MString::ToASCII.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "foundation/text/char_folding.h"
#include "foundation/text/codec_double_byte.h"
#include "foundation/text/codec_line_builder.h"
#include "foundation/text/codecs.h"
#include "foundation/text/text_io.h"

namespace kx {
namespace {

#include "foundation/text/charset_tables.inc"

constexpr int32_t kCharsetCount = static_cast<int32_t>(std::size(kCharsetDefinitions));
constexpr int32_t kDoubleByteCharsetCount =
    static_cast<int32_t>(std::size(kDoubleByteCharsetDefinitions));
static_assert(kCharsetCount == 29 && kDoubleByteCharsetCount == 4);

// The registered name or one of the aliases, without regard to case.
bool NamesCharset(const MCharsetDefinition& definition, const MString& name) {
  if (name.EqualsNoCase(MString(definition.name))) return true;
  for (const char* const* alias = definition.aliases; *alias; ++alias)
    if (name.EqualsNoCase(MString(*alias))) return true;
  return false;
}

class MSingleByteCodec : public MCodec {
 public:
  // `pairsAsOne`: a surrogate (pair) is one unmappable character; otherwise every
  // unit goes through ByteOf on its own.
  MSingleByteCodec(const char16_t* units, bool pairsAsOne)
      : units_(units), pairsAsOne_(pairsAsOne) {}

  void Decode(std::string_view bytes, MString& result) const override {
    MChar* out = ReserveUnitPerByte(bytes, result);
    if (!out) return;
    int32_t size = static_cast<int32_t>(bytes.size());
    const uint8_t* p = reinterpret_cast<const uint8_t*>(bytes.data());
    for (int32_t i = 0; i < size; ++i) out[i] = units_[p[i]];
    result.SetLength(size);
  }

  void Encode(const MString& text, bool addTerminator, MByteBuffer& result) const override {
    uint8_t* out = reinterpret_cast<uint8_t*>(result.Allocate(text.Length() + 1));
    int32_t index = 0;
    int32_t size = EncodeUnits(text, index, text.Length(), out);
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
      const uint8_t* p = reader.Data();
      for (int32_t i = 0; i < available; ++i) {
        uint8_t b = p[i];
        if (b == '\n' || b == 0) {
          reader.Skip(i + 1);
          builder.Flush();
          return true;
        }
        if (b != '\r') builder.Put(units_[b]);
      }
      reader.Skip(available);
    }
    builder.Flush();
    return any;
  }

  void Write(MTextWriter& writer, const MString& text) const override {
    int32_t index = 0;
    while (index < text.Length()) {
      int32_t piece = std::clamp<int32_t>(writer.Free(), 1, 4096);
      piece = std::min(piece, text.Length() - index);
      uint8_t* out = writer.Space(piece);
      writer.Commit(EncodeUnits(text, index, index + piece, out));
    }
  }

 protected:
  // The byte of a unit that is not a surrogate.
  virtual uint8_t ByteOf(MChar unit) const = 0;

 private:
  // Units [index, stop) into at most one byte each; a high surrogate at stop - 1
  // takes its partner along. Advances index; returns the bytes written.
  int32_t EncodeUnits(const MString& text, int32_t& index, int32_t stop, uint8_t* out) const {
    int32_t n = 0;
    if (const char* bytes = text.ExternalBytes()) {
      for (; index < stop; ++index) out[n++] = ByteOf(static_cast<uint8_t>(bytes[index]));
      return n;
    }
    const MChar* units = text.UnitsOrNull();
    while (index < stop) {
      MChar unit = units[index++];
      if (pairsAsOne_ && unit >= 0xD800 && unit <= 0xDFFF) {
        if (unit <= 0xDBFF && index < text.Length() && units[index] >= 0xDC00 &&
            units[index] <= 0xDFFF)
          ++index;
        out[n++] = kUnmappableByte;
        continue;
      }
      out[n++] = ByteOf(unit);
    }
    return n;
  }

  const char16_t* units_;
  bool pairsAsOne_;
};

// The system default: bytes are units 0 to 255; other units are narrowed one by
// one, as MString::ToASCII does.
class MSystemCodec final : public MSingleByteCodec {
 public:
  MSystemCodec() : MSingleByteCodec(IdentityTable(), false) {}
  const char* GetName() const override { return ""; }

 protected:
  uint8_t ByteOf(MChar unit) const override { return NarrowUnit(unit); }

 private:
  // Bytes are their own units; built once, before the base refers to it.
  static const char16_t* IdentityTable() {
    static const std::array<char16_t, 256> table = [] {
      std::array<char16_t, 256> units{};
      for (int i = 0; i < 256; ++i) units[i] = static_cast<char16_t>(i);
      return units;
    }();
    return table.data();
  }
};

class MCharsetCodec final : public MSingleByteCodec {
 public:
  explicit MCharsetCodec(const MCharsetDefinition& definition)
      : MSingleByteCodec(definition.units, true), definition_(definition) {
    for (int b = 0; b < 256; ++b) {
      MChar unit = definition.units[b];
      if (unit == b && b < 128) continue;  // the common ASCII half needs no search
      if (unit != kUndefinedUnit) reverse_.push_back({unit, static_cast<uint8_t>(b)});
    }
    std::sort(reverse_.begin(), reverse_.end(), [](const Pair& a, const Pair& b) {
      return a.unit < b.unit || (a.unit == b.unit && a.byte < b.byte);
    });
  }
  const char* GetName() const override { return definition_.name; }
  const MCharsetDefinition& Definition() const { return definition_; }

 protected:
  uint8_t ByteOf(MChar unit) const override {
    if (unit < 128 && definition_.units[unit] == unit) return static_cast<uint8_t>(unit);
    auto at = std::lower_bound(reverse_.begin(), reverse_.end(), unit,
                               [](const Pair& pair, MChar value) { return pair.unit < value; });
    return at != reverse_.end() && at->unit == unit ? at->byte : kUnmappableByte;
  }

 private:
  struct Pair {
    MChar unit;
    uint8_t byte;
  };
  const MCharsetDefinition& definition_;
  std::vector<Pair> reverse_;  // units of bytes outside the ASCII half, sorted
};

// Built on the first lookup and kept for the run.
struct MCharsetCodecs {
  std::vector<std::unique_ptr<MCharsetCodec>> single;
  std::vector<std::unique_ptr<MDoubleByteCodec>> doubleByte;
};

const MCharsetCodecs& CharsetCodecs() {
  static const MCharsetCodecs codecs = [] {
    MCharsetCodecs made;
    made.single.reserve(kCharsetCount);
    for (const MCharsetDefinition& definition : kCharsetDefinitions)
      made.single.push_back(std::make_unique<MCharsetCodec>(definition));
    for (const MDoubleByteCharsetDefinition& definition : kDoubleByteCharsetDefinitions)
      made.doubleByte.push_back(std::make_unique<MDoubleByteCodec>(definition));
    return made;
  }();
  return codecs;
}

}  // namespace

MCodec& GetSystemCodec() {
  static MSystemCodec codec;
  return codec;
}

int32_t CharsetCount() {
  return kCharsetCount;
}

const MCharsetDefinition& CharsetDefinition(int32_t index) {
  return kCharsetDefinitions[index];
}

int32_t DoubleByteCharsetCount() {
  return kDoubleByteCharsetCount;
}

const MDoubleByteCharsetDefinition& DoubleByteCharsetDefinition(int32_t index) {
  return kDoubleByteCharsetDefinitions[index];
}

MCodec* FindCharsetCodec(const MString& name) {
  for (const auto& codec : CharsetCodecs().single)
    if (NamesCharset(codec->Definition(), name)) return codec.get();
  for (const auto& codec : CharsetCodecs().doubleByte)
    if (NamesCharset(codec->Definition(), name)) return codec.get();
  return nullptr;
}

}  // namespace kx
