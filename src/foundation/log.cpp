#include "foundation/log.h"

#include <cstdio>

namespace kx {
namespace {
std::FILE* g_log = nullptr;
}

void MLog::Open(const MString& path) {
  Close();
  g_log = std::fopen(path.ToUTF8String().c_str(), "w+b");
}

void MLog::Close() {
  if (g_log) std::fclose(g_log);
  g_log = nullptr;
}

bool MLog::IsOpen() { return g_log != nullptr; }

void MLog::Line(const MString& text) noexcept {
  if (!g_log) return;
  try {
    std::string bytes = text.ToUTF8String();
    bytes += "\r\n";
    std::fwrite(bytes.data(), 1, bytes.size(), g_log);
    std::fflush(g_log);
  } catch (...) {
  }
}

}  // namespace kx
