#include "transfer/platform/environment.h"

#include <cstdlib>

namespace kx {

bool ReadEnvironmentVariable(const char* name, std::string& value) {
  const char* found = std::getenv(name);
  if (!found) return false;
  value = found;
  return true;
}

}  // namespace kx
