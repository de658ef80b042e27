#include "install/item_date_time.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {
namespace {

[[noreturn]] void ThrowInvalid() {
  throw MException(MString("Invalid datetime format."));
}

bool IsLeapYear(int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

}  // namespace

ItemDateTime ItemDateTime::Parse(const MString& text) {
  MString trimmed = text;
  trimmed.Trim();
  int32_t blank = trimmed.FindChar(' ');
  if (blank < 0) ThrowInvalid();
  MString timePart = trimmed.Mid(blank + 1);
  timePart.TrimLeft();

  // Fields keep the default's values where the scan finds no number.
  ItemDateTime time;
  int16_t year = static_cast<int16_t>(time.year);
  int8_t month = static_cast<int8_t>(time.month);
  int8_t day = static_cast<int8_t>(time.day);
  MScan("{0:04}-{1:02}-{2:02}", trimmed.Left(blank)) >> year >> month >> day;
  int8_t hour = 0;
  int8_t minute = 0;
  int8_t second = 0;
  int32_t subSecond = 0;
  MScan("{0:02}:{1:02}:{2:02}.{3}", timePart) >> hour >> minute >> second >> subSecond;
  time.year = static_cast<uint16_t>(year);
  time.month = static_cast<uint8_t>(month);
  time.day = static_cast<uint8_t>(day);
  time.hour = static_cast<uint8_t>(hour);
  time.minute = static_cast<uint8_t>(minute);
  time.second = static_cast<uint8_t>(second);
  time.subSecond = static_cast<uint32_t>(subSecond);
  return time;
}

ItemDateTime ItemDateTime::FromFileTime(const MDateTime& time) {
  ItemDateTime result;
  result.year = time.year;
  result.month = time.month;
  result.day = time.day;
  result.hour = time.hour;
  result.minute = time.minute;
  result.second = time.second;
  return result;
}

MDateTime ItemDateTime::ToFileTime() const {
  MDateTime time;
  time.year = year;
  time.month = month;
  time.day = day;
  time.hour = hour;
  time.minute = minute;
  time.second = second;
  return time;
}

MDateTime ItemDateTime::ToDateTime() const {
  MDateTime time = ToFileTime();
  time.milliseconds = subSecond;
  return time;
}

MString ItemDateTime::ToText() const {
  return MFormat("{0:04}-{1:02}-{2:02} {3:02}:{4:02}:{5:02}")
      .Add(int64_t{year})
      .Add(int64_t{month})
      .Add(int64_t{day})
      .Add(int64_t{hour})
      .Add(int64_t{minute})
      .Add(int64_t{second});
}

int64_t ItemDateTime::Microseconds() const {
  // Whole years before this one, then the months of this year; out-of-range
  // fields still give a number (they only need to compare unequal).
  int64_t y = year > 0 ? year - 1 : 0;
  int64_t days = y * 365 + y / 4 - y / 100 + y / 400;
  static const int kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int m = 1; m < month && m <= 12; ++m)
    days += kMonthDays[m - 1] + (m == 2 && IsLeapYear(year) ? 1 : 0);
  days += day > 0 ? day - 1 : 0;
  int64_t seconds = int64_t{hour} * 3600 + int64_t{minute} * 60 + second;
  return days * 86400000000LL + seconds * 1000000LL + subSecond;
}

}  // namespace kx
