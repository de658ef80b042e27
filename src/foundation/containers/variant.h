// MVariant: the tagged value of the XML tree and the MBX format.
//
//   type 0 int64, 1 int32, 2 int16, 3 int8, 4 float, 5 double,
//        6 string (MShortString), 7 buffer (record of data, size, owned-externally
//        flag; plus the `compressed` flag beside it).
// A new variant is type 6, empty. It counts as empty when it is type 6 of
// length 0 or type 7 of size 0.
//
// AsInt, AsInt64, AsBool, AsReal and AsString convert between types: numbers
// are formatted, strings parsed (MString::ToInt64, ToReal; a real is cut toward
// zero and held within the target's range). WriteBuffer streams the bytes of a
// type 6 or 7 value: a string that begins with '$' is base64 of what follows,
// any other string pairs of hexadecimal digits; a compressed buffer is inflated
// on the way. Other types throw "Not a buffer variant.".
#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MStream;

class MVariant {
 public:
  enum Type : uint8_t {
    kInt64 = 0,
    kInt32 = 1,
    kInt16 = 2,
    kInt8 = 3,
    kFloat = 4,
    kDouble = 5,
    kString = 6,
    kBuffer = 7,
  };

  // The record a type 7 value points to. Unless `ownedExternally`, the bytes
  // were allocated by the variant (malloc) and are freed with it.
  struct Buffer {
    void* data = nullptr;
    int64_t size = 0;
    bool ownedExternally = false;
    // Records come from a free-list pool (xml_pool.cpp): trees hold many.
    static void* operator new(size_t size);
    static void operator delete(void* record, size_t size) noexcept;
  };

  MVariant() = default;
  MVariant(int64_t value) { SetInt64(value); }  // NOLINT: values convert implicitly
  MVariant(int32_t value) { SetInt32(value); }  // NOLINT
  MVariant(int16_t value) { SetInt16(value); }  // NOLINT
  MVariant(int8_t value) { SetInt8(value); }    // NOLINT
  MVariant(float value) { SetFloat(value); }    // NOLINT
  MVariant(double value) { SetDouble(value); }  // NOLINT
  MVariant(const MShortString& text) { SetString(text); }  // NOLINT
  MVariant(const MString& text) { SetString(text); }       // NOLINT
  MVariant(const char* literal) { SetString(literal); }    // NOLINT
  MVariant(const MVariant& other);
  MVariant(MVariant&& other) noexcept;
  MVariant& operator=(const MVariant& other);
  MVariant& operator=(MVariant&& other) noexcept;
  ~MVariant() {
    if (type_ == kBuffer) FreeBuffer();  // the test inline: trees free many variants
  }

  Type GetType() const { return type_; }
  bool IsEmpty() const;
  bool IsCompressed() const { return type_ == kBuffer && compressed_; }

  void SetInt64(int64_t value);
  void SetInt32(int32_t value);
  void SetInt16(int16_t value);
  void SetInt8(int8_t value);
  void SetFloat(float value);
  void SetDouble(double value);
  void SetString(const MShortString& text);
  void SetString(MShortString&& text);
  // A string value copied from `length` units, or from bytes widened one a unit,
  // into the storage the value already has when it is big enough.
  void SetStringUnits(const MChar* units, int32_t length) {
    if (type_ == kBuffer) FreeBuffer();
    type_ = kString;
    value_.i64 = 0;
    text_.Assign(units, length);
  }
  void SetStringBytes(const char* bytes, int32_t length) {
    if (type_ == kBuffer) FreeBuffer();
    type_ = kString;
    value_.i64 = 0;
    text_.AssignBytes(bytes, length);
  }
  // The same for text below 24 bytes where the 24 bytes at `bytes` may all be
  // read (MMBXReader); false, with nothing changed, when it takes the long way.
  bool SetShortStringBytes(const unsigned char* bytes, int32_t length) {
    if (type_ == kBuffer || !text_.AssignShortBytes(bytes, length)) return false;
    type_ = kString;
    value_.i64 = 0;
    return true;
  }
  // Appends to a string value in place, so that a value built from many pieces
  // grows in amortised steps (any other type first becomes its AsString form).
  void AppendText(const MShortString& text);
  // Type 7 holding a copy of the bytes.
  void SetBuffer(const void* data, int64_t size, bool compressed);
  // Type 7 referring to bytes that the caller keeps alive and frees.
  void ReferBuffer(void* data, int64_t size, bool compressed);
  // Back to a new variant: type 6, empty.
  void Clear();

  // The raw fields, for writers that keep the type (MBX). Reading the wrong
  // one gives whatever the value field holds.
  int64_t Int64() const { return value_.i64; }
  int32_t Int32() const { return value_.i32; }
  int16_t Int16() const { return value_.i16; }
  int8_t Int8() const { return value_.i8; }
  float Float() const { return value_.f32; }
  double Double() const { return value_.f64; }
  const MShortString& Text() const { return text_; }
  // The buffer record of a type 7 value, else null.
  const Buffer* GetBuffer() const { return type_ == kBuffer ? value_.buffer : nullptr; }

  int64_t AsInt64() const;
  int32_t AsInt() const;
  bool AsBool() const;
  double AsReal() const;
  // Numbers in decimal (reals in their shortest exact form), strings as they
  // are, buffers as '$' and the base64 of their (inflated) bytes.
  MString AsString() const;

  void WriteBuffer(MStream& stream) const;

 private:
  MString BufferText() const;  // '$' + base64 of the bytes WriteBuffer gives
  void FreeBuffer();
  void CopyFrom(const MVariant& other);
  void MoveFrom(MVariant& other) noexcept;

  Type type_ = kString;
  bool compressed_ = false;
  union {
    int64_t i64;
    int32_t i32;
    int16_t i16;
    int8_t i8;
    float f32;
    double f64;
    Buffer* buffer;
  } value_ = {0};
  MShortString text_;
};

}  // namespace kx
