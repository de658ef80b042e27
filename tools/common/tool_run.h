// The failure boundary shared by the command-line tools: a command that throws
// ends with its message on standard error and exit code 1; arguments the usage
// does not allow end with kExitWrongUsage.
#pragma once

#include <cstdio>
#include <exception>

#include "foundation/core/exception.h"

namespace kx {

inline constexpr int kExitWrongUsage = 2;

template <typename Command>
int RunToolCommand(Command&& command) {
  try {
    command();
    return 0;
  } catch (const MException& failure) {
    std::fprintf(stderr, "%s\n", ToStd(failure.message).c_str());
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  return 1;
}

}  // namespace kx
