#include "foundation/platform/console.h"

#include <unistd.h>

namespace kx {

bool StandardInputIsTerminal() {
  return ::isatty(STDIN_FILENO) == 1;
}

}  // namespace kx
