#include "foundation/platform/module_facts.h"

#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

#include "foundation/files/path_text.h"

namespace kx {

MString ExecutablePath() {
  // The link's length is not known in advance: grow until the text fits.
  std::vector<char> buffer(512);
  for (;;) {
    ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return MString();
    if (static_cast<size_t>(length) < buffer.size()) {
      std::string path(buffer.data(), static_cast<size_t>(length));
      // An executable replaced while it runs (a self update) keeps its old
      // name with this mark; the folder beside it is still the one we want.
      const std::string deleted = " (deleted)";
      if (path.ends_with(deleted)) path.resize(path.size() - deleted.size());
      return FromSystem(path);
    }
    if (buffer.size() >= (1u << 20)) return MString();
    buffer.resize(buffer.size() * 2);
  }
}

int64_t CurrentThreadId() {
  return static_cast<int64_t>(::gettid());
}

MDateTime LocalTimeNow() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  ::localtime_r(&now.tv_sec, &local);
  MDateTime result;
  result.year = static_cast<uint16_t>(local.tm_year + 1900);
  result.month = static_cast<uint8_t>(local.tm_mon + 1);
  result.day = static_cast<uint8_t>(local.tm_mday);
  result.hour = static_cast<uint8_t>(local.tm_hour);
  result.minute = static_cast<uint8_t>(local.tm_min);
  // A leap second (60) is folded into the minute's last second.
  result.second = static_cast<uint8_t>(local.tm_sec > 59 ? 59 : local.tm_sec);
  result.milliseconds = static_cast<uint32_t>(now.tv_nsec / 1000000);
  return result;
}

void SetFlushDenormalsToZero() {
#if defined(__x86_64__) || defined(__i386__)
  // MXCSR bit 15 flushes denormal results to zero, bit 6 reads denormal
  // inputs as zero.
  _mm_setcsr(_mm_getcsr() | 0x8040u);
#endif
}

}  // namespace kx
