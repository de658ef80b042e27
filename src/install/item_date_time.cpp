#include "install/item_date_time.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {
namespace {

[[noreturn]] void ThrowInvalid() {
  throw MException(MString("Invalid datetime format."));
}

// Reads the decimal fields of `text` separated by `separator`; any other
// character, an empty field or a field count other than `count` is invalid.
// The last field may be missing when `lastOptional` is set.
int ReadFields(const MString& text, MChar separator, int64_t* fields, int count,
               bool lastOptional) {
  int index = 0;
  int digits = 0;
  int64_t value = 0;
  for (int32_t i = 0; i <= text.Length(); ++i) {
    MChar unit = i < text.Length() ? text[i] : separator;
    if (unit >= '0' && unit <= '9') {
      if (++digits > 10) ThrowInvalid();
      value = value * 10 + (unit - '0');
      continue;
    }
    if (unit != separator || digits == 0 || index >= count) ThrowInvalid();
    fields[index++] = value;
    value = 0;
    digits = 0;
  }
  if (index != count && !(lastOptional && index == count - 1)) ThrowInvalid();
  return index;
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
  MString datePart = trimmed.Left(blank);
  MString timePart = trimmed.Mid(blank + 1);
  timePart.Trim();

  int64_t date[3] = {};
  ReadFields(datePart, '-', date, 3, false);
  // The seconds and the sub-second count are split at the dot.
  int64_t clock[3] = {};
  int64_t subSecond = 0;
  int32_t dot = timePart.FindChar('.');
  if (dot >= 0) {
    int64_t fraction[1] = {};
    ReadFields(timePart.Mid(dot + 1), '\0', fraction, 1, false);
    subSecond = fraction[0];
    timePart = timePart.Left(dot);
  }
  ReadFields(timePart, ':', clock, 3, false);
  if (date[0] > 65535 || date[1] > 255 || date[2] > 255 || clock[0] > 255 || clock[1] > 255 ||
      clock[2] > 255 || subSecond > 0xFFFFFFFFLL)
    ThrowInvalid();

  ItemDateTime time;
  time.year = static_cast<uint16_t>(date[0]);
  time.month = static_cast<uint8_t>(date[1]);
  time.day = static_cast<uint8_t>(date[2]);
  time.hour = static_cast<uint8_t>(clock[0]);
  time.minute = static_cast<uint8_t>(clock[1]);
  time.second = static_cast<uint8_t>(clock[2]);
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
