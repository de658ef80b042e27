#include "foundation/containers/variant.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

std::string Written(const MVariant& value) {
  MMemoryStream stream;
  value.WriteBuffer(stream);
  return std::string(stream.View());
}

TEST(MVariantTest, EmptyOnlyForEmptyStringAndBuffer) {
  MVariant zeroBuffer, fullBuffer, referred;
  zeroBuffer.SetBuffer(nullptr, 0, false);
  fullBuffer.SetBuffer("ab", 2, false);
  char external[1] = {0};
  referred.ReferBuffer(external, 0, true);
  const std::pair<MVariant, bool> cases[] = {
      {MVariant(), true},           {MVariant("x"), false}, {MVariant(int8_t{0}), false},
      {MVariant(0.0), false},       {zeroBuffer, true},     {fullBuffer, false},
      {referred, true},
  };
  for (const auto& [value, empty] : cases)
    EXPECT_EQ(value.IsEmpty(), empty) << static_cast<int>(value.GetType());
}

TEST(MVariantTest, ConvertsAmongTypes) {
  struct Case {
    MVariant value;
    MVariant::Type type;
    int64_t asInt64;
    int32_t asInt;
    bool asBool;
    double asReal;
    const char* asString;
  };
  const Case cases[] = {
      {MVariant(int64_t{-5000000000}), MVariant::kInt64, -5000000000, -705032704, true, -5e9, "-5000000000"},
      {MVariant(int32_t{300}), MVariant::kInt32, 300, 300, true, 300, "300"},
      {MVariant(int8_t{0}), MVariant::kInt8, 0, 0, false, 0, "0"},
      {MVariant(0.1f), MVariant::kFloat, 0, 0, true, 0.1f, "0.1"},
      {MVariant(-2.75), MVariant::kDouble, -2, -2, true, -2.75, "-2.75"},
      {MVariant(1e300), MVariant::kDouble, INT64_MAX, INT32_MAX, true, 1e300, "1e+300"},
      {MVariant("42abc"), MVariant::kString, 42, 42, true, 42, "42abc"},
      {MVariant("2,5"), MVariant::kString, 2, 2, true, 2.5, "2,5"},
      {MVariant("+1"), MVariant::kString, 0, 0, false, 1, "+1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.asString);
    EXPECT_EQ(c.value.GetType(), c.type);
    EXPECT_EQ(c.value.AsInt64(), c.asInt64);
    EXPECT_EQ(c.value.AsInt(), c.asInt);
    EXPECT_EQ(c.value.AsBool(), c.asBool);
    EXPECT_DOUBLE_EQ(c.value.AsReal(), c.asReal);
    EXPECT_EQ(ToStd(c.value.AsString()), c.asString);
  }
  EXPECT_EQ(MVariant(std::nan("")).AsInt64(), 0);
  // The shortest text of a real reads back to the same value.
  for (double real : {0.1, 1.0 / 3, -123456.789e-200, 5e-324})
    EXPECT_EQ(MVariant(real).AsString().ToReal(), real);
}

TEST(MVariantTest, WriteBufferDecodesTextAndInflates) {
  std::string payload;
  for (int i = 0; i < 5000; ++i) payload += static_cast<char>(i * 7 % 256);
  MVariant raw, compressed;
  raw.SetBuffer(payload.data(), static_cast<int64_t>(payload.size()), false);
  std::string deflated = ZlibDeflate(payload, 9);
  compressed.SetBuffer(deflated.data(), static_cast<int64_t>(deflated.size()), true);

  EXPECT_EQ(Written(MVariant("00ff7F10")), std::string("\x00\xff\x7f\x10", 4));
  EXPECT_EQ(Written(MVariant("ABC")), std::string("\xab", 1));  // a lone last digit is left
  EXPECT_EQ(Written(MVariant("$SGVsbG8sIHdvcmxkIQ==")), "Hello, world!");
  EXPECT_EQ(Written(MVariant(MString(u"$SGk="))), "Hi");  // 16-bit units, not a literal
  EXPECT_EQ(Written(raw), payload);
  EXPECT_EQ(Written(compressed), payload);
  // The string form of a buffer holds its (inflated) bytes.
  EXPECT_EQ(Written(MVariant(compressed.AsString())), payload);
  MVariant small;
  small.SetBuffer("Hi!", 3, false);
  EXPECT_EQ(ToStd(small.AsString()), "$SGkh");

  EXPECT_EQ(ToStd(Failure([] { Written(MVariant(1.0)); }).message), "Not a buffer variant.");
  EXPECT_THROW(Written(MVariant("0g")), MException);
  EXPECT_THROW(Written(MVariant("$SG@k")), MException);
  MVariant damaged;
  damaged.SetBuffer("not zlib", 8, true);
  EXPECT_THROW(Written(damaged), MException);
}

TEST(MVariantTest, CopiesOwnBytesAndShareReferredOnes) {
  char external[] = "outside";
  MVariant owned, referred;
  owned.SetBuffer("inside", 6, false);
  referred.ReferBuffer(external, 7, false);
  MVariant ownedCopy = owned, referredCopy = referred;
  EXPECT_NE(ownedCopy.GetBuffer()->data, owned.GetBuffer()->data);
  EXPECT_EQ(referredCopy.GetBuffer()->data, external);
  EXPECT_TRUE(referredCopy.GetBuffer()->ownedExternally);
  owned.SetInt32(1);  // frees the first bytes; the copy keeps its own
  EXPECT_EQ(Written(ownedCopy), "inside");
  MVariant moved = std::move(ownedCopy);
  moved = moved;
  EXPECT_EQ(Written(moved), "inside");
}

}  // namespace
}  // namespace kx
