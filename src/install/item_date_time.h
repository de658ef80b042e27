// ItemDateTime: the modification time a package gives a `file` item, and the
// one number by which the install walk compares it with a file on disk.
//
// Text form: "YYYY-MM-DD hh:mm:ss.f", date and time joined by one blank, the
// sub-second count optional; surrounding blanks are trimmed. A text without a
// blank, or with fields that are not numbers, throws "Invalid datetime format.".
// The default is 1980-01-01 00:00:00.
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
  // "YYYY-MM-DD hh:mm:ss", no sub-seconds.
  MString ToText() const;
  int64_t Microseconds() const;
};

}  // namespace kx
