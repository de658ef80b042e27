// Resource libraries in one include: the small and the large layout, their
// writers, and what is compiled into the program.
#pragma once

#include "foundation/resource_compiled_in.h"
#include "foundation/resource_library.h"
#include "foundation/resource_small_writer.h"
