// Internal to the codecs: the codec of one double-byte charset of the generated
// table (codec_charsets.cpp holds the table and the lookup by name).
//
// The grid of the pairs is unpacked on the first use of the codec, not when the
// table of names is built: most runs never meet such a charset.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "foundation/text/codecs.h"

namespace kx {

class MDoubleByteCodec final : public MCodec {
 public:
  explicit MDoubleByteCodec(const MDoubleByteCharsetDefinition& definition)
      : definition_(definition) {}

  const MCharsetDefinition& Definition() const { return definition_.bytes; }

  const char* GetName() const override { return definition_.bytes.name; }
  void Decode(std::string_view bytes, MString& result) const override;
  void Encode(const MString& text, bool addTerminator, MByteBuffer& result) const override;
  bool ReadLine(MTextReader& reader, MString& line) const override;
  void Write(MTextWriter& writer, const MString& text) const override;

 private:
  // A unit and the one or two bytes that write it (a single byte in `code`, or
  // lead * 256 + trail with `pair`).
  struct Encoding {
    MChar unit;
    uint16_t code;
    bool pair;
  };

  void Unpack() const;
  // The unit of a lead byte and the byte after it (-1: none), U+FFFD when the
  // pair is undefined.
  MChar PairUnit(uint8_t lead, int trail) const;
  // Units [index, stop) into at most two bytes each; a high surrogate at
  // stop - 1 takes its partner along. Advances index; returns the bytes written.
  int32_t EncodeUnits(const MString& text, int32_t& index, int32_t stop, uint8_t* out) const;

  const MDoubleByteCharsetDefinition& definition_;
  mutable std::once_flag unpacked_;
  mutable std::vector<char16_t> grid_;       // the pairs' units, row by row
  mutable std::vector<Encoding> encodings_;  // by unit; the preferred one first
};

}  // namespace kx
