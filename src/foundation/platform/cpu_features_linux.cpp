#include "foundation/platform/cpu_features.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define KX_HAS_CPUID 1
#else
#define KX_HAS_CPUID 0
#endif

namespace kx {

bool QueryCpuid(uint32_t leaf, uint32_t subleaf, MCpuidRegisters& registers) {
  registers = MCpuidRegisters();
#if KX_HAS_CPUID
  // __get_cpuid_count checks the highest leaf of the leaf's range first.
  unsigned int a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid_count(leaf, subleaf, &a, &b, &c, &d)) return false;
  registers = MCpuidRegisters{a, b, c, d};
  return true;
#else
  (void)leaf;
  (void)subleaf;
  return false;
#endif
}

bool ReadExtendedControlRegister(uint64_t& value) {
  value = 0;
#if KX_HAS_CPUID
  MCpuidRegisters leaf1;
  if (!QueryCpuid(1, 0, leaf1) || !(leaf1.ecx & (1u << 27))) return false;
  uint32_t low = 0, high = 0;
  // XGETBV with ECX 0, written as bytes so that no -mxsave is needed.
  __asm__ volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(low), "=d"(high) : "c"(0));
  value = (static_cast<uint64_t>(high) << 32) | low;
  return true;
#else
  return false;
#endif
}

}  // namespace kx
