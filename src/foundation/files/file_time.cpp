#include "foundation/files/file_time.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
// Days from 1970-01-01 to 0001-01-01 and to 10000-01-01.
constexpr int64_t kFirstDay = -719162;
constexpr int64_t kEndDay = 2932897;

// Days since 1970-01-01 of a date of the proleptic Gregorian calendar; the year
// is counted from the 1st of March so that the leap day falls at its end.
int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day) {
  year -= month <= 2;
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<int64_t>(dayOfEra) - 719468;
}

void CivilFromDays(int64_t days, int64_t& year, unsigned& month, unsigned& day) {
  days += 719468;
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
  const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned shifted = (5 * dayOfYear + 2) / 153;
  day = dayOfYear - (153 * shifted + 2) / 5 + 1;
  month = shifted < 10 ? shifted + 3 : shifted - 9;
  year = static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2);
}

unsigned DaysInMonth(unsigned year, unsigned month) {
  static const unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

int64_t FloorDivide(int64_t value, int64_t divisor) {
  int64_t quotient = value / divisor;
  return quotient * divisor > value ? quotient - 1 : quotient;
}

}  // namespace

MDateTime ToDateTime(const platform::FileTime& time) {
  int64_t days = FloorDivide(time.seconds, kSecondsPerDay);
  if (days < kFirstDay || days >= kEndDay || time.nanoseconds < 0 || time.nanoseconds > 999999999)
    throw MException(MFormat("Could not set system times to {0}.").Add(time.seconds));
  int64_t secondOfDay = time.seconds - days * kSecondsPerDay;
  int64_t year = 0;
  unsigned month = 0, day = 0;
  CivilFromDays(days, year, month, day);
  MDateTime result;
  result.year = static_cast<uint16_t>(year);
  result.month = static_cast<uint8_t>(month);
  result.day = static_cast<uint8_t>(day);
  result.hour = static_cast<uint8_t>(secondOfDay / 3600);
  result.minute = static_cast<uint8_t>(secondOfDay / 60 % 60);
  result.second = static_cast<uint8_t>(secondOfDay % 60);
  // Truncated, not rounded: rounding could reach 1000 and carry into the second.
  result.milliseconds = static_cast<uint32_t>(time.nanoseconds / 1000000);
  return result;
}

platform::FileTime ToFileTime(const MDateTime& time) {
  bool valid = time.year >= 1 && time.year <= 9999 && time.month >= 1 && time.month <= 12 &&
               time.day >= 1 && time.day <= DaysInMonth(time.year, time.month) && time.hour < 24 &&
               time.minute < 60 && time.second < 60 && time.milliseconds < 1000;
  if (!valid) throw MException(MFormat("Could not set system times to {0}.").Add(time.ToString()));
  int64_t days = DaysFromCivil(time.year, time.month, time.day);
  platform::FileTime result;
  result.seconds = days * kSecondsPerDay + time.hour * 3600 + time.minute * 60 + time.second;
  result.nanoseconds = static_cast<int32_t>(time.milliseconds) * 1000000;
  return result;
}

}  // namespace kx
