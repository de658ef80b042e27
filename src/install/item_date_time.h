// ItemDateTime: the modification time a package gives a `file` item, and the
// one number by which the install walk compares it with a file on disk.
//
// Text form: "{0:04}-{1:02}-{2:02}" and "{0:02}:{1:02}:{2:02}.{3}" joined by a
// blank; surrounding blanks are trimmed. Each half is read by MScan against its
// template, so fields are taken as far as the text goes: a field that is missing
// or not a number keeps its default ("2021-03-04 05:06" is 05:06:00). Only a
// text without a blank throws "Invalid datetime format.". The default is
// 1980-01-01 00:00:00.
//
// Microseconds(): days from year 1 (Gregorian leap years) times 86,400,000,000,
// plus the seconds of the day times 1,000,000, plus the sub-second count as it
// stands. A time read from disk has a sub-second count of 0, so an item with any
// sub-second part never equals an installed file.
#pragma once

#include <cstdint>

#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"

namespace kx {

struct ItemDateTime {
  uint8_t hour = 0;
  uint8_t minute = 0;
  uint8_t second = 0;
  uint32_t subSecond = 0;
  uint16_t year = 1980;
  uint8_t month = 1;
  uint8_t day = 1;

  static ItemDateTime Parse(const MString& text);
  // Whole seconds of a file time; its sub-second part is dropped.
  static ItemDateTime FromFileTime(const MDateTime& time);
  // The time to stamp on a written file, whole seconds.
  MDateTime ToFileTime() const;
  // The same with the sub-second count kept in `milliseconds`, for a comparison
  // with a file on disk that must see it (the preset merge).
  MDateTime ToDateTime() const;
  // "YYYY-MM-DD hh:mm:ss", no sub-seconds.
  MString ToText() const;
  int64_t Microseconds() const;
};

}  // namespace kx
