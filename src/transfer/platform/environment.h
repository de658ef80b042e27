// The process environment, read through the system. Only the files of this folder
// call it.
#pragma once

#include <string>

namespace kx {

// The value of the variable `name`; false when it is not set.
bool ReadEnvironmentVariable(const char* name, std::string& value);

}  // namespace kx
