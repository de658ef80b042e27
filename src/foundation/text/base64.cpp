#include "foundation/text/base64.h"

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>

#include "foundation/core/exception.h"

namespace kx {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr uint8_t kSkip = 0xFD;
constexpr uint8_t kEnd = 0xFE;
constexpr uint8_t kInvalid = 0xFF;

constexpr std::array<uint8_t, 256> MakeDecodeTable() {
  std::array<uint8_t, 256> table{};
  for (auto& entry : table) entry = kInvalid;
  for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
  for (unsigned char blank : {' ', '\t', '\r', '\n'}) table[blank] = kSkip;
  table['='] = kEnd;
  table[0] = kEnd;
  return table;
}
constexpr std::array<uint8_t, 256> kDecode = MakeDecodeTable();

// Encodes whole groups and the padded tail into `out`, which holds 4 per 3 bytes.
size_t EncodeInto(const unsigned char* bytes, int64_t size, char* out) {
  char* start = out;
  int64_t i = 0;
  for (; i + 3 <= size; i += 3) {
    uint32_t group = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    *out++ = kAlphabet[group >> 18];
    *out++ = kAlphabet[(group >> 12) & 63];
    *out++ = kAlphabet[(group >> 6) & 63];
    *out++ = kAlphabet[group & 63];
  }
  if (i < size) {
    uint32_t group = bytes[i] << 16;
    if (i + 1 < size) group |= bytes[i + 1] << 8;
    *out++ = kAlphabet[group >> 18];
    *out++ = kAlphabet[(group >> 12) & 63];
    *out++ = i + 1 < size ? kAlphabet[(group >> 6) & 63] : '=';
    *out++ = '=';
  }
  return static_cast<size_t>(out - start);
}

template <typename Unit>
int64_t Decode(const Unit* text, int64_t length, MStream& target) {
  unsigned char out[3072];
  int outFill = 0;
  int64_t written = 0;
  uint32_t group = 0;
  int symbols = 0;
  for (int64_t i = 0; i < length; ++i) {
    auto unit = static_cast<uint32_t>(static_cast<std::make_unsigned_t<Unit>>(text[i]));
    uint8_t value = unit < 256 ? kDecode[unit] : kInvalid;
    if (value == kSkip) continue;
    if (value == kEnd) break;
    if (value == kInvalid) {
      throw MException(MString("Invalid character in base64 text."), kErrorIO);
    }
    group = (group << 6) | value;
    if (++symbols == 4) {
      out[outFill++] = static_cast<unsigned char>(group >> 16);
      out[outFill++] = static_cast<unsigned char>(group >> 8);
      out[outFill++] = static_cast<unsigned char>(group);
      symbols = 0;
      group = 0;
      if (outFill == sizeof(out)) {
        target.Write(out, outFill);
        written += outFill;
        outFill = 0;
      }
    }
  }
  if (symbols == 2) {
    out[outFill++] = static_cast<unsigned char>(group >> 4);
  } else if (symbols == 3) {
    out[outFill++] = static_cast<unsigned char>(group >> 10);
    out[outFill++] = static_cast<unsigned char>(group >> 2);
  }
  if (outFill > 0) {
    target.Write(out, outFill);
    written += outFill;
  }
  return written;
}

}  // namespace

void WriteBase64(MStream& target, const void* data, int64_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  char text[4096];  // 3072 bytes a time
  while (size > 0) {
    int64_t piece = std::min<int64_t>(size, 3072);
    target.Write(text, static_cast<int64_t>(EncodeInto(bytes, piece, text)));
    bytes += piece;
    size -= piece;
  }
}

MString EncodeBase64(const void* data, int64_t size) {
  if (size <= 0) return MString();
  std::string text(static_cast<size_t>((size + 2) / 3 * 4), '\0');
  text.resize(EncodeInto(static_cast<const unsigned char*>(data), size, text.data()));
  return MString::FromBytes(text);
}

int64_t DecodeBase64(const char* text, int64_t length, MStream& target) {
  return Decode(text, length, target);
}

int64_t DecodeBase64(const MChar* text, int64_t length, MStream& target) {
  return Decode(text, length, target);
}

int64_t DecodeBase64(const MString& text, MStream& target) {
  if (const char* bytes = text.ExternalBytes()) return Decode(bytes, text.Length(), target);
  const MChar* units = text.UnitsOrNull();
  return Decode(units, text.Length(), target);
}

}  // namespace kx
