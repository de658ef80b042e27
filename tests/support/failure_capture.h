// Small helpers shared by the stream tests: the failure a body throws, and
// reproducible random bytes.
#pragma once

#include <functional>
#include <random>
#include <string>

#include "foundation/core/exception.h"

namespace kx {

// The MException that `body` throws; code 9999 with "(no exception)" when none.
inline MException Failure(const std::function<void()>& body) {
  try {
    body();
  } catch (const MException& e) {
    return e;
  }
  return MException(MString("(no exception)"), 9999);
}

inline std::string RandomBytes(size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string data(size, '\0');
  for (auto& c : data) c = static_cast<char>(random());
  return data;
}

}  // namespace kx
