// Which processors are of the performance class, as far as the machine tells.
//
// ReadPerformanceProcessors looks below `sysfsRoot` (normally "/sys"):
//  1. the list of the hybrid x86 "cpu_core" PMU (devices/cpu_core/cpus), which
//     names the performance cores beside the efficient "cpu_atom" ones;
//  2. else the online processors (devices/system/cpu/online) with the highest
//     cpu_capacity, which is how big.LITTLE machines tell their big cores; equal
//     capacities name them all;
//  3. else every online processor.
// The answer is sorted and empty when nothing could be read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kx::platform {

std::vector<int> ReadPerformanceProcessors(const std::string& sysfsRoot);

// The processors this process may run on. 0 or the system's error number.
int AllowedProcessors(std::vector<int>& processors);

// Reads the kernel's list form "0-3,8,10-11" (blanks and a line end around it
// allowed) into sorted numbers; false, with `processors` empty, on anything else.
bool ParseProcessorList(std::string_view text, std::vector<int>& processors);

}  // namespace kx::platform
