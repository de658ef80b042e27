#include "foundation/text/date_time.h"

#include <gtest/gtest.h>

#include "foundation/core/exception.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

TEST(MDateTimeTest, TextForm) {
  EXPECT_EQ(ToStd(MDateTime().ToString()), "1980-01-01 00:00:00.0");
  MDateTime value{2023, 11, 5, 7, 8, 9, 250};
  EXPECT_EQ(ToStd(value.ToString()), "2023-11-05 07:08:09.250");
  EXPECT_EQ(MDateTime::FromString(value.ToString()), value);
  EXPECT_EQ(ToStd(MDateTime{33, 1, 2, 23, 59, 58, 7}.ToString()), "0033-01-02 23:59:58.7");
}

TEST(MDateTimeTest, ParsesTrimmedText) {
  const std::pair<const char*, MDateTime> cases[] = {
      {"1980-01-01 00:00:00", MDateTime()},
      {"  2021-03-04 05:06:07.89 \r\n", {2021, 3, 4, 5, 6, 7, 89}},
      {"2021-3-4  5:6:7", {2021, 3, 4, 5, 6, 7, 0}},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(MDateTime::FromString(text), expected) << text;
}

TEST(MDateTimeTest, UnreadableTextThrows) {
  for (const char* text : {"   ", "2021-03-04", "2021-03-04T05:06:07", "2021-03-04 05:06:07.",
                           "2021-03-04 05:06:07 extra", "99999-01-01 00:00:00", "2021-03-04 05:06:300"}) {
    EXPECT_EQ(ToStd(Failure([&] { MDateTime::FromString(text); }).message),
              "Invalid datetime format.")
        << text;
  }
}

}  // namespace
}  // namespace kx
