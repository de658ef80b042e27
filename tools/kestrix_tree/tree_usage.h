#pragma once

#include "common/tool_usage.h"

namespace kx {

extern const ToolDefinition kTreeTool;

}  // namespace kx
