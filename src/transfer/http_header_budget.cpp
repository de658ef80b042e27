#include "transfer/http_header_budget.h"

namespace kx {

int64_t MHTTPHeaderBudget::Read(void* data, int64_t size) {
  if (exceeded_) return -1;
  int64_t got = source_.Read(data, size);
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  for (int64_t i = 0; i < got; ++i) {
    ++total_;
    if (bytes[i] == '\n' || bytes[i] == 0)
      line_ = 0;
    else
      ++line_;
    // The bytes of this read are dropped with the rest: the header fails whole.
    if (line_ > lineCap_ || total_ > totalCap_) {
      exceeded_ = true;
      return -1;
    }
  }
  return got;
}

}  // namespace kx
