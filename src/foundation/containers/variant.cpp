#include "foundation/containers/variant.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "foundation/text/base64.h"
#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/number_text.h"
#include "foundation/streams/stream.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {
namespace {

// A real cut toward zero and held within [low, high]; NaN gives 0. A plain
// cast would be undefined outside the target's range.
int64_t RealToInteger(double value, int64_t low, int64_t high) {
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(low)) return low;
  if (value >= static_cast<double>(high)) return high;
  return static_cast<int64_t>(value);
}

template <typename Real>
MString ShortestText(Real value) {
  char text[64];
  auto result = std::to_chars(text, text + sizeof text, value);
  return MString::FromBytes(text, static_cast<int32_t>(result.ptr - text));
}

void* AllocateBytes(int64_t size) {
  void* data = std::malloc(static_cast<size_t>(size > 0 ? size : 1));
  if (!data) throw std::bad_alloc();
  return data;
}

// Writes the bytes that pairs of hexadecimal digits stand for, from unit
// `start` on; a digit left over at the end is ignored.
void WriteHexText(const MShortString& text, int32_t start, MStream& stream) {
  unsigned char block[4096];
  int32_t filled = 0;
  for (int32_t i = start; i + 1 < text.Length(); i += 2) {
    block[filled++] = static_cast<unsigned char>(HexDigitValue(text[i]) * 16 + HexDigitValue(text[i + 1]));
    if (filled == static_cast<int32_t>(sizeof block)) {
      stream.Write(block, filled);
      filled = 0;
    }
  }
  if (filled) stream.Write(block, filled);
}

}  // namespace

// ---------------------------------------------------------------- lifetime

MVariant::MVariant(const MVariant& other) { CopyFrom(other); }

MVariant::MVariant(MVariant&& other) noexcept { MoveFrom(other); }

MVariant& MVariant::operator=(const MVariant& other) {
  if (this != &other) {
    MVariant copy(other);  // may allocate: keep our value until it succeeded
    FreeBuffer();
    MoveFrom(copy);
  }
  return *this;
}

MVariant& MVariant::operator=(MVariant&& other) noexcept {
  if (this != &other) {
    FreeBuffer();
    MoveFrom(other);
  }
  return *this;
}

void MVariant::FreeBuffer() {
  if (type_ != kBuffer) return;
  Buffer* buffer = value_.buffer;
  if (!buffer->ownedExternally) std::free(buffer->data);
  delete buffer;
  type_ = kString;
  compressed_ = false;
  value_.i64 = 0;
}

void MVariant::CopyFrom(const MVariant& other) {
  text_ = other.text_;
  compressed_ = other.compressed_;
  if (other.type_ != kBuffer) {
    type_ = other.type_;
    value_ = other.value_;
    return;
  }
  // Owned bytes are copied; bytes owned elsewhere stay referred to.
  const Buffer* source = other.value_.buffer;
  auto* buffer = new Buffer(*source);
  if (!source->ownedExternally) {
    try {
      buffer->data = AllocateBytes(source->size);
    } catch (...) {
      delete buffer;
      throw;
    }
    if (source->size > 0) std::memcpy(buffer->data, source->data, static_cast<size_t>(source->size));
  }
  type_ = kBuffer;
  value_.buffer = buffer;
}

void MVariant::MoveFrom(MVariant& other) noexcept {
  type_ = other.type_;
  compressed_ = other.compressed_;
  value_ = other.value_;
  text_ = std::move(other.text_);
  other.type_ = kString;
  other.compressed_ = false;
  other.value_.i64 = 0;
}

// ---------------------------------------------------------------- setters

void MVariant::SetInt64(int64_t value) {
  Clear();
  type_ = kInt64;
  value_.i64 = value;
}

void MVariant::SetInt32(int32_t value) {
  Clear();
  type_ = kInt32;
  value_.i32 = value;
}

void MVariant::SetInt16(int16_t value) {
  Clear();
  type_ = kInt16;
  value_.i16 = value;
}

void MVariant::SetInt8(int8_t value) {
  Clear();
  type_ = kInt8;
  value_.i8 = value;
}

void MVariant::SetFloat(float value) {
  Clear();
  type_ = kFloat;
  value_.f32 = value;
}

void MVariant::SetDouble(double value) {
  Clear();
  type_ = kDouble;
  value_.f64 = value;
}

void MVariant::SetString(const MShortString& text) {
  MShortString copy(text);  // `text` may be our own
  Clear();
  text_ = std::move(copy);
}

void MVariant::SetString(MShortString&& text) {
  MShortString taken(std::move(text));  // `text` may be our own
  Clear();
  text_ = std::move(taken);
}

void MVariant::AppendText(const MShortString& text) {
  if (type_ != kString) SetString(AsString());
  text_.Append(text);
}

void MVariant::SetBuffer(const void* data, int64_t size, bool compressed) {
  if (size < 0) size = 0;
  void* bytes = AllocateBytes(size);
  if (size > 0) std::memcpy(bytes, data, static_cast<size_t>(size));
  Buffer* buffer;
  try {
    buffer = new Buffer{bytes, size, false};
  } catch (...) {
    std::free(bytes);
    throw;
  }
  Clear();
  type_ = kBuffer;
  compressed_ = compressed;
  value_.buffer = buffer;
}

void MVariant::ReferBuffer(void* data, int64_t size, bool compressed) {
  auto* buffer = new Buffer{data, size < 0 ? 0 : size, true};
  Clear();
  type_ = kBuffer;
  compressed_ = compressed;
  value_.buffer = buffer;
}

void MVariant::Clear() {
  FreeBuffer();
  type_ = kString;
  value_.i64 = 0;
  text_.Clear();
}

// ---------------------------------------------------------------- conversions

bool MVariant::IsEmpty() const {
  if (type_ == kString) return text_.IsEmpty();
  if (type_ == kBuffer) return value_.buffer->size == 0;
  return false;
}

int64_t MVariant::AsInt64() const {
  switch (type_) {
    case kInt64: return value_.i64;
    case kInt32: return value_.i32;
    case kInt16: return value_.i16;
    case kInt8: return value_.i8;
    case kFloat:
      return RealToInteger(value_.f32, std::numeric_limits<int64_t>::min(),
                           std::numeric_limits<int64_t>::max());
    case kDouble:
      return RealToInteger(value_.f64, std::numeric_limits<int64_t>::min(),
                           std::numeric_limits<int64_t>::max());
    case kString: return text_.ToInt64();
    case kBuffer: return 0;
  }
  return 0;
}

int32_t MVariant::AsInt() const {
  if (type_ == kFloat || type_ == kDouble)
    return static_cast<int32_t>(RealToInteger(AsReal(), std::numeric_limits<int32_t>::min(),
                                              std::numeric_limits<int32_t>::max()));
  return static_cast<int32_t>(AsInt64());
}

bool MVariant::AsBool() const {
  if (type_ == kFloat || type_ == kDouble) return AsReal() != 0;
  return AsInt64() != 0;
}

double MVariant::AsReal() const {
  switch (type_) {
    case kFloat: return value_.f32;
    case kDouble: return value_.f64;
    case kString: return text_.ToReal();
    case kBuffer: return 0;
    default: return static_cast<double>(AsInt64());
  }
}

MString MVariant::AsString() const {
  switch (type_) {
    case kFloat: return ShortestText(value_.f32);
    case kDouble: return ShortestText(value_.f64);
    case kString: return text_;
    case kBuffer: return BufferText();
    default: return FormatInt(AsInt64());
  }
}

// ---------------------------------------------------------------- bytes

MString MVariant::BufferText() const {
  MMemoryStream bytes;
  WriteBuffer(bytes);
  MString text("$");
  text.Append(EncodeBase64(bytes.Data(), bytes.Size()));
  return text;
}

void MVariant::WriteBuffer(MStream& stream) const {
  if (type_ == kString) {
    if (!text_.IsEmpty() && text_[0] == '$') {
      if (const char* bytes = text_.ExternalBytes())
        DecodeBase64(bytes + 1, text_.Length() - 1, stream);
      else
        DecodeBase64(text_.UnitsOrNull() + 1, text_.Length() - 1, stream);
    } else {
      WriteHexText(text_, 0, stream);
    }
    return;
  }
  if (type_ != kBuffer) throw MException("Not a buffer variant.");
  const Buffer* buffer = value_.buffer;
  if (!compressed_) {
    if (buffer->size > 0) stream.Write(buffer->data, buffer->size);
    return;
  }
  MConstMemoryStream source(buffer->data, buffer->size);
  MZLIBStream inflater;
  inflater.Init(&source, false);
  char block[16384];
  for (;;) {
    int64_t got = inflater.Read(block, sizeof block);
    if (got <= 0) break;
    stream.Write(block, got);
  }
  inflater.Terminate();
}

}  // namespace kx
