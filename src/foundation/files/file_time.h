// Conversion between MDateTime and the file system's time stamps. File times are
// UTC both ways, so a time that is read and set again compares equal.
//
// The milliseconds field carries the sub-second part, truncated to whole
// milliseconds; setting it back gives the file exactly that many milliseconds.
// Years 1 to 9999 can be converted; outside that range, and for fields out of
// their range (month 13, 25 o'clock, 1000 milliseconds, the 30th of February),
// the conversion throws "Could not set system times to {0}." with the time as
// {0}: the number of seconds since 1970 when reading, the text form when setting.
#pragma once

#include "foundation/text/date_time.h"
#include "foundation/platform/file_system.h"

namespace kx {

MDateTime ToDateTime(const platform::FileTime& time);
platform::FileTime ToFileTime(const MDateTime& time);

}  // namespace kx
