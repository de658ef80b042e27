#pragma once

#include "common/tool_usage.h"

namespace kx {

extern const ToolDefinition kImageTool;

}  // namespace kx
