#include "foundation/platform/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace kx {

bool StandardInputIsTerminal() {
  return ::isatty(STDIN_FILENO) == 1;
}

bool StandardErrorIsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

int StandardErrorColumns() {
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace kx
