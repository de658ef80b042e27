// Text codecs: conversion between MString (16-bit units) and the bytes of an
// encoding, for whole buffers (Decode, Encode) and line by line through the
// buffered MTextReader and MTextWriter (text_io.h).
//
// GetCodec(name), case-insensitive:
//   ""               the system default, plain 8-bit (byte = unit; units above 255
//                    narrowed like MString::ToASCII)
//   "utf8", "utf-8"  UTF-8, no byte order mark written; code points 0x10FE01 to
//                    0x10FEFF are written as the one raw byte of their low 8 bits,
//                    and Decode gives a byte outside a well-formed sequence as
//                    0x10FE00 + byte, so any bytes survive Decode then Encode
//   "utf16","utf-16" UTF-16 little-endian, header FF FE
//   anything else    one of 29 single-byte charsets (US-ASCII among them) or 4
//                    double-byte ones (Shift_JIS, EUC-KR, GBK, Big5) by registered
//                    name or alias; unknown names throw "No codec found for
//                    encoding {0}.".
// A charset reads a byte (or pair) it leaves undefined as U+FFFD and writes a
// unit it cannot represent as '?'. In a double-byte charset a lead byte whose
// pair is undefined reads as U+FFFD, and the byte after it is read anew.
// Codecs are stateless objects that live for the whole run; they may be shared
// between threads. ReadLine answers false only when the input ended before any
// byte of a line; a line ends at a line feed or a zero byte, and carriage returns
// vanish.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/text/text_string.h"

namespace kx {

class MTextReader;
class MTextWriter;

class MCodec {
 public:
  virtual ~MCodec() = default;
  // The name by which GetCodec finds this codec ("" for the system default).
  virtual const char* GetName() const = 0;
  // Replaces `result` by the text of `bytes`.
  virtual void Decode(std::string_view bytes, MString& result) const = 0;
  // Replaces `result` by the owned bytes of `text`; with `addTerminator` a zero
  // unit follows them in the buffer (not counted in its size).
  virtual void Encode(const MString& text, bool addTerminator, MByteBuffer& result) const = 0;
  // Checks (and consumes) the byte order mark of an encoding that has one.
  virtual void ReadHeader(MTextReader& reader) const {}
  virtual void WriteHeader(MTextWriter& writer) const {}
  // Replaces `line` by the next line, without its end.
  virtual bool ReadLine(MTextReader& reader, MString& line) const = 0;
  virtual void Write(MTextWriter& writer, const MString& text) const = 0;
  // Write of the text, then one line feed in this encoding.
  virtual void WriteLine(MTextWriter& writer, const MString& text) const;
};

// The codec of an encoding name; the table of charsets is built on first need and
// kept for the run. Throws MException (code 257) for an unknown name.
MCodec& GetCodec(const MString& name);

MCodec& GetSystemCodec();
MCodec& GetUTF8Codec();
MCodec& GetUTF16Codec();

// One single-byte charset: its registered name, its aliases (null-terminated
// list) and the code unit of every byte; undefined bytes hold U+FFFD.
struct MCharsetDefinition {
  const char* name;
  const char* const* aliases;
  char16_t units[256];
};

// One double-byte charset: the units of the bytes that stand alone, where a byte
// that starts a pair holds kLeadUnit, and the grid of the pairs' units (lead
// bytes firstLead..lastLead by trail bytes firstTrail..lastTrail, row by row),
// packed as tools/generators/make_charset_tables.py describes. A unit that
// several pairs read is written as its single byte, else as its lowest pair
// that is not listed in `readOnly` (lead * 256 + trail, 0-terminated).
struct MDoubleByteCharsetDefinition {
  MCharsetDefinition bytes;
  uint8_t firstLead;
  uint8_t lastLead;
  uint8_t firstTrail;
  uint8_t lastTrail;
  int32_t cellCount;
  const uint16_t* readOnly;
  const char* packedGrid;
};

constexpr MChar kUndefinedUnit = 0xFFFD;
constexpr MChar kLeadUnit = 0xFFFF;
// What a charset writes for a unit (or surrogate pair) it cannot represent.
constexpr char kUnmappableByte = '?';

// The generated tables, in table order.
int32_t CharsetCount();
const MCharsetDefinition& CharsetDefinition(int32_t index);
int32_t DoubleByteCharsetCount();
const MDoubleByteCharsetDefinition& DoubleByteCharsetDefinition(int32_t index);
// The charset codec of a name or alias, or null.
MCodec* FindCharsetCodec(const MString& name);

}  // namespace kx
