// The table of style metrics: 50 named integers with their defaults and kinds
// (0 as they are, 1 scaled along x, 2 along y).
#pragma once

#include <cstdint>

namespace kx {

struct MStyleMetricInfo {
  const char* name;
  int32_t defaultValue;
  uint8_t kind;
};

inline constexpr int kStyleMetricCount = 50;
extern const MStyleMetricInfo kStyleMetrics[kStyleMetricCount];
// Index of a metric by name, or -1.
int StyleMetricIndex(const char* name);

}  // namespace kx
