#include "foundation/text/number_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "foundation/containers/big_integer.h"
#include "foundation/core/exception.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

TEST(NumberTextTest, FormatIntSignPaddingAndBase) {
  struct Case {
    int64_t value;
    int base, width;
    MChar pad;
    const char* expected;
  };
  const Case cases[] = {
      {-7, 10, 3, '0', "-007"},
      {0, 16, 0, ' ', "0"},
      {12345, 10, 3, '0', "12345"},  // width is a minimum
      {-255, 16, 4, '0', "-00FF"},
      {5, 2, 0, ' ', "101"},
      {std::numeric_limits<int64_t>::min(), 10, 0, ' ', "-9223372036854775808"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ToStd(FormatInt(c.value, c.base, c.width, c.pad)), c.expected);
  EXPECT_EQ(ToStd(FormatUnsigned(std::numeric_limits<uint64_t>::max(), 16)), "FFFFFFFFFFFFFFFF");
  // A width beyond the work area is cut to it, never written past it.
  EXPECT_EQ(FormatInt(-1, 10, 99, '0').Length(), 63);
}

TEST(NumberTextTest, FormatRealRegimes) {
  struct Case {
    double value;
    int decimals;
    const char* expected;
  };
  const Case cases[] = {
      {-0.0000001, 4, "0.0000"},                            // below 1e-6: exact zero, no minus sign
      {0.0000001, 4, "0.0000"},  {-0.00001, 4, "-0.0000"},  // above the limit the C library's sign
                                                            // stays
      {-2.5, 0, "-3"},           {-0.4, 0, "0"},           {1.0 / 3, 12, "0.333333333333"},
      {1e20, 10, "1e+20"},
  };
  for (const Case& c : cases) EXPECT_EQ(ToStd(FormatReal(c.value, c.decimals)), c.expected);
}

TEST(NumberTextTest, HexDigitValue) {
  const std::pair<MChar, int> digits[] = {{'9', 9}, {'A', 10}, {'f', 15}};
  for (auto [unit, value] : digits) EXPECT_EQ(HexDigitValue(unit), value);
  for (MChar bad : {MChar('g'), MChar('/'), MChar(0xFF10)})
    EXPECT_EQ(ToStd(Failure([&] { HexDigitValue(bad); }).message),
              "Invalid character to be converted to a number.")
        << static_cast<int>(bad);
}

TEST(MBigIntegerTest, UninitialisedUseThrowsItsMessage) {
  MBigInteger none;
  EXPECT_EQ(ToStd(Failure([&] { none.MultiplyAdd(10, 1); }).message),
            "Big integer object has not been initialized.");
}

TEST(MBigIntegerTest, CarriesAcrossLimbs) {
  // 10^30 built digit by digit: 0xC9F2C9CD04674EDEA40000000.
  MBigInteger value(1);
  for (int i = 0; i < 30; ++i) value.MultiplyAdd(10, 0);
  EXPECT_EQ(ToStd(value.ToHex()), "C9F2C9CD04674EDEA40000000");

  MBigInteger max(UINT64_MAX);
  max.Add(MBigInteger(1));
  EXPECT_EQ(ToStd(max.ToHex()), "10000000000000000");
  max.Add(max);
  EXPECT_EQ(ToStd(max.ToHex()), "20000000000000000");
  EXPECT_GT(max.Compare(MBigInteger(UINT64_MAX)), 0);
  EXPECT_EQ(ToStd(MBigInteger(0).ToHex()), "0");
}

}  // namespace
}  // namespace kx
