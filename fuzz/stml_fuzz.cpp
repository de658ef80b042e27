// libFuzzer target: arbitrary bytes as a rich text. Refusals are MException;
// whatever parses is measured at a width taken from the input, painted into a
// small bitmap, copied and measured again. A crash, a leak, a sanitizer report
// or a run past the time limit is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "foundation/core/exception.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/richtext/content.h"
#include "gui/styles/textured_styles.h"
#include "media/bitmap/bitmap.h"

namespace {

kx::MTexturedStyle* style = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The font cache is written under the data folders: keep them out of HOME.
  char folder[] = "/tmp/kestrix-stml-fuzz.XXXXXX";
  if (!mkdtemp(folder)) std::abort();
  setenv("HOME", folder, 1);
  setenv("XDG_CONFIG_HOME", (std::string(folder) + "/.config").c_str(), 1);
  setenv("XDG_DATA_HOME", (std::string(folder) + "/.local/share").c_str(), 1);
  setenv("XDG_CACHE_HOME", (std::string(folder) + "/.cache").c_str(), 1);
  style = kx::MTexturedStyles::LoadStyle(kx::MStyleSettings{}).release();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int32_t width = data[0] * 2;  // 0 to 510 pixels
  kx::MContent content;
  try {
    content.SetText(kx::MString::FromUTF8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1)));
  } catch (const kx::MException&) {
    // What was parsed before the fault is still a document: lay it out too.
  }
  kx::MBitmap target(96, 64);
  kx::MDrawerToMBitmap drawer(target);
  drawer.SetStyle(style);
  const int32_t height = content.ComputeHeight(drawer, width);
  if (height < 0) std::abort();
  content.Paint(drawer, kx::MRect{0, 0, width - 1, height - 1});
  kx::MContent copy(content);
  int32_t natural = 0;
  copy.ComputeWidthForHeight(drawer, 64, natural);
  copy.GetMinimalWidth(drawer);
  copy.ComputeHeight(drawer, 96, 64);
  copy.Paint(drawer, kx::MRect{0, 0, 95, 63}, true);
  return 0;
}
