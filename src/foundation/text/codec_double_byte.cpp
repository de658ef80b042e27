// Double-byte charsets: a byte below the lead range (or any byte that is no lead)
// stands for itself through the table; a lead byte and the byte after it look up
// the grid. Writing searches a sorted list of every unit's bytes.
#include "foundation/text/codec_double_byte.h"

#include <algorithm>
#include <cstring>

#include "foundation/compression/zlib_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/text/base64.h"
#include "foundation/text/codec_line_builder.h"
#include "foundation/text/text_io.h"

namespace kx {

void MDoubleByteCodec::Unpack() const {
  std::call_once(unpacked_, [this] {
    // base64, then zlib, then one base-128 number a cell: 0 for an undefined
    // pair, else the zigzag distance from the previous defined unit plus one.
    MMemoryStream deflated;
    DecodeBase64(definition_.packedGrid, static_cast<int64_t>(std::strlen(definition_.packedGrid)),
                 deflated);
    deflated.Seek(0, kSeekBegin);
    MZLIBStream inflater;
    inflater.Init(&deflated, false);
    MMemoryStream cells;
    CopyStream(inflater, cells);

    grid_.assign(static_cast<size_t>(definition_.cellCount), kUndefinedUnit);
    const auto* at = reinterpret_cast<const uint8_t*>(cells.Data());
    const uint8_t* end = at + cells.Size();
    int32_t unit = 0;
    for (int32_t cell = 0; cell < definition_.cellCount && at < end; ++cell) {
      uint32_t number = 0;
      int shift = 0;
      uint8_t byte;
      do {
        byte = *at++;
        number |= static_cast<uint32_t>(byte & 0x7F) << shift;
        shift += 7;
      } while ((byte & 0x80) && at < end);
      if (number == 0) continue;
      --number;
      unit += (number & 1) ? -static_cast<int32_t>((number + 1) >> 1)
                           : static_cast<int32_t>(number >> 1);
      grid_[static_cast<size_t>(cell)] = static_cast<char16_t>(unit);
    }

    // A unit with more than one way to be written takes its single byte, else its
    // lowest pair that is not only read, as the system's converter does.
    const char16_t* units = definition_.bytes.units;
    for (int b = 0; b < 256; ++b)
      if (units[b] != kUndefinedUnit && units[b] != kLeadUnit)
        encodings_.push_back({units[b], static_cast<uint16_t>(b), false});
    int32_t width = definition_.lastTrail - definition_.firstTrail + 1;
    for (int32_t cell = 0; cell < definition_.cellCount; ++cell) {
      if (grid_[static_cast<size_t>(cell)] == kUndefinedUnit) continue;
      auto code = static_cast<uint16_t>((definition_.firstLead + cell / width) * 256 +
                                        definition_.firstTrail + cell % width);
      bool readOnly = false;
      for (const uint16_t* listed = definition_.readOnly; *listed && !readOnly; ++listed)
        readOnly = *listed == code;
      if (!readOnly) encodings_.push_back({grid_[static_cast<size_t>(cell)], code, true});
    }
    std::sort(encodings_.begin(), encodings_.end(), [](const Encoding& a, const Encoding& b) {
      if (a.unit != b.unit) return a.unit < b.unit;
      if (a.pair != b.pair) return !a.pair;
      return a.code < b.code;
    });
  });
}

MChar MDoubleByteCodec::PairUnit(uint8_t lead, int trail) const {
  if (trail < definition_.firstTrail || trail > definition_.lastTrail ||
      lead < definition_.firstLead || lead > definition_.lastLead)
    return kUndefinedUnit;
  int32_t width = definition_.lastTrail - definition_.firstTrail + 1;
  return grid_[static_cast<size_t>((lead - definition_.firstLead) * width +
                                   (trail - definition_.firstTrail))];
}

void MDoubleByteCodec::Decode(std::string_view bytes, MString& result) const {
  Unpack();
  MChar* out = ReserveUnitPerByte(bytes, result);
  if (!out) return;
  int32_t size = static_cast<int32_t>(bytes.size());
  const auto* p = reinterpret_cast<const uint8_t*>(bytes.data());
  const char16_t* units = definition_.bytes.units;
  int32_t n = 0;
  for (int32_t i = 0; i < size;) {
    uint8_t b = p[i++];
    MChar unit = units[b];
    if (unit == kLeadUnit) {
      unit = PairUnit(b, i < size ? p[i] : -1);
      if (unit != kUndefinedUnit) ++i;
    }
    out[n++] = unit;
  }
  result.SetLength(n);
}

int32_t MDoubleByteCodec::EncodeUnits(const MString& text, int32_t& index, int32_t stop,
                                      uint8_t* out) const {
  const char* bytes = text.ExternalBytes();
  const MChar* units = text.UnitsOrNull();
  int32_t n = 0;
  while (index < stop) {
    MChar unit = bytes ? static_cast<uint8_t>(bytes[index]) : units[index];
    ++index;
    if (unit >= 0xD800 && unit <= 0xDFFF) {
      // A surrogate (pair) is one character that no such charset holds.
      if (!bytes && unit <= 0xDBFF && index < text.Length() && units[index] >= 0xDC00 &&
          units[index] <= 0xDFFF)
        ++index;
      out[n++] = kUnmappableByte;
      continue;
    }
    auto at = std::lower_bound(
        encodings_.begin(), encodings_.end(), unit,
        [](const Encoding& encoding, MChar value) { return encoding.unit < value; });
    if (at == encodings_.end() || at->unit != unit) {
      out[n++] = kUnmappableByte;
    } else if (at->pair) {
      out[n++] = static_cast<uint8_t>(at->code >> 8);
      out[n++] = static_cast<uint8_t>(at->code & 0xFF);
    } else {
      out[n++] = static_cast<uint8_t>(at->code);
    }
  }
  return n;
}

void MDoubleByteCodec::Encode(const MString& text, bool addTerminator, MByteBuffer& result) const {
  Unpack();
  auto* out = reinterpret_cast<uint8_t*>(result.Allocate(2 * text.Length() + 1));
  int32_t index = 0;
  int32_t size = EncodeUnits(text, index, text.Length(), out);
  if (addTerminator) out[size] = 0;
  result.SetSize(size);
}

bool MDoubleByteCodec::ReadLine(MTextReader& reader, MString& line) const {
  Unpack();
  MLineBuilder builder(line);
  const char16_t* units = definition_.bytes.units;
  bool any = false;
  for (int b; (b = reader.ReadByte()) >= 0;) {
    any = true;
    if (b == '\n' || b == 0) break;
    if (b == '\r') continue;
    MChar unit = units[b];
    if (unit == kLeadUnit) {
      // A line end after a lead byte still ends the line: it is no trail byte.
      unit = PairUnit(static_cast<uint8_t>(b), reader.PeekByte());
      if (unit != kUndefinedUnit) reader.Skip(1);
    }
    builder.Put(unit);
  }
  builder.Flush();
  return any;
}

void MDoubleByteCodec::Write(MTextWriter& writer, const MString& text) const {
  Unpack();
  int32_t index = 0;
  while (index < text.Length()) {
    int32_t piece = std::clamp<int32_t>(writer.Free() / 2, 1, 4096);
    piece = std::min(piece, text.Length() - index);
    uint8_t* out = writer.Space(2 * piece);
    writer.Commit(EncodeUnits(text, index, index + piece, out));
  }
}

}  // namespace kx
