// The run flags of the application. They are defined with the foundation
// (foundation/core/run_state.h) so that every library below the application can read
// them; the entry and the application include this header.
#pragma once

#include "foundation/core/run_state.h"
