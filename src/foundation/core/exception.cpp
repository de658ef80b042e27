#include "foundation/core/exception.h"

#include "foundation/text/format.h"

namespace kx {

void ReportSystemException(const MString&) noexcept {
  // Filled by debugging builds only.
}

void ReportGuardFailure(const char* label) noexcept {
  try {
    ReportSystemException(MFormat("SYSTEM EXCEPTION! {0}").Add(label));
  } catch (...) {
  }
}

}  // namespace kx
