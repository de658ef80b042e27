// The processor's own answers about its instruction sets: the CPUID leaves and
// the extended control register XCR0 (which state the system saves, so whether
// the wide registers may be used at all). Both answer false on processors
// without them.
#pragma once

#include <cstdint>

namespace kx {

struct MCpuidRegisters {
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
};

// CPUID of `leaf` and `subleaf`; false, leaving `registers` zero, when the
// processor has no such leaf or no CPUID.
bool QueryCpuid(uint32_t leaf, uint32_t subleaf, MCpuidRegisters& registers);

// XCR0 when the system has enabled XGETBV (CPUID 1 ECX bit 27, OSXSAVE);
// false, leaving `value` 0, otherwise.
bool ReadExtendedControlRegister(uint64_t& value);

}  // namespace kx
