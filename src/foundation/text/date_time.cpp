#include "foundation/text/date_time.h"

#include "foundation/core/exception.h"
#include "foundation/text/number_text.h"

namespace kx {
namespace {

[[noreturn]] void ThrowInvalid() { throw MException("Invalid datetime format."); }

// Reads the decimal field at `at` and the separator after it. The field must
// have digits and stay within `limit`; `separator` 0 means the field ends the text.
uint32_t ReadField(const MString& text, int32_t& at, MChar separator, uint32_t limit) {
  int32_t consumed = 0;
  MString rest = text.Mid(at);
  if (!rest.IsEmpty() && rest[0] == '-') ThrowInvalid();  // fields are unsigned
  int64_t value = rest.ToInt64(&consumed);
  if (consumed == 0 || consumed > 10 || value > limit) ThrowInvalid();
  at += consumed;
  if (separator == 0) {
    if (at != text.Length()) ThrowInvalid();
  } else {
    if (at >= text.Length() || text[at] != separator) ThrowInvalid();
    ++at;
  }
  return static_cast<uint32_t>(value);
}

}  // namespace

MString MDateTime::ToString() const {
  // "{0:04}-{1:02}-{2:02}" and "{0:02}:{1:02}:{2:02}.{3}", joined by one blank.
  MString text = FormatInt(year, 10, 4, '0');
  text.Append('-').Append(FormatInt(month, 10, 2, '0'));
  text.Append('-').Append(FormatInt(day, 10, 2, '0'));
  text.Append(' ').Append(FormatInt(hour, 10, 2, '0'));
  text.Append(':').Append(FormatInt(minute, 10, 2, '0'));
  text.Append(':').Append(FormatInt(second, 10, 2, '0'));
  text.Append('.').Append(FormatUnsigned(milliseconds));
  return text;
}

MDateTime MDateTime::FromString(const MString& source) {
  MString text = source;
  text.Trim();
  int32_t blank = text.FindChar(' ');
  if (blank < 0) ThrowInvalid();
  MDateTime result;
  int32_t at = 0;
  MString date = text.Left(blank);
  result.year = static_cast<uint16_t>(ReadField(date, at, '-', 65535));
  result.month = static_cast<uint8_t>(ReadField(date, at, '-', 255));
  result.day = static_cast<uint8_t>(ReadField(date, at, 0, 255));
  MString time = text.Mid(blank + 1);
  time.TrimLeft();
  at = 0;
  result.hour = static_cast<uint8_t>(ReadField(time, at, ':', 255));
  result.minute = static_cast<uint8_t>(ReadField(time, at, ':', 255));
  if (time.FindChar('.', at) < 0) {
    result.second = static_cast<uint8_t>(ReadField(time, at, 0, 255));
  } else {
    result.second = static_cast<uint8_t>(ReadField(time, at, '.', 255));
    result.milliseconds = ReadField(time, at, 0, 0xFFFFFFFFu);
  }
  return result;
}

}  // namespace kx
