// MDateTime: a calendar date and time of day, as the file system and the
// catalogues give it. A new value is 1980-01-01 00:00:00.
//
// Text form: "YYYY-MM-DD hh:mm:ss.f", the date and the time joined by one
// blank, the milliseconds unpadded ("1980-01-01 00:00:00.0"). Reading trims
// the text; the milliseconds may be left out. A text without a blank between
// date and time, or whose fields are not numbers, throws "Invalid datetime format.".
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

struct MDateTime {
  uint16_t year = 1980;
  uint8_t month = 1;
  uint8_t day = 1;
  uint8_t hour = 0;
  uint8_t minute = 0;
  uint8_t second = 0;
  uint32_t milliseconds = 0;

  MString ToString() const;
  static MDateTime FromString(const MString& text);

  friend bool operator==(const MDateTime&, const MDateTime&) = default;
};

}  // namespace kx
