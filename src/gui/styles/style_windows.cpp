#include "gui/styles/style_windows.h"

#include <algorithm>

#include "foundation/core/exception.h"
#include "gui/styles/textured_styles.h"

namespace kx {

void MStyleWindows::AddWindow(MStyledWindow& window) { windows_.push_back(&window); }

void MStyleWindows::RemoveWindow(MStyledWindow& window) {
  windows_.erase(std::remove(windows_.begin(), windows_.end(), &window), windows_.end());
}

std::unique_ptr<MTexturedStyle> MStyleWindows::CreateStyle(const MStyleSettings& settings) {
  try {
    return MTexturedStyles::LoadStyle(settings);
  } catch (MException&) {
  }
  try {
    MStyleSettings fallback = settings;
    fallback.style = MString("Neon");
    return MTexturedStyles::LoadStyle(fallback);
  } catch (MException&) {
  }
  throw MException(MString(
      "No style couldn't be created. Ensure you have any fonts installed in your operating system. "
      "Consider reinstalling the software and/or operating system."));
}

MStyles& MStyleWindows::StyleFor(const MString& windowKind) {
  std::unique_ptr<MTexturedStyle>& style = styles_[windowKind.ToUTF8String()];
  if (!style) style = CreateStyle(store_.Settings(windowKind));
  return *style;
}

bool MStyleWindows::UpdateStyle() {
  return Guarded("MWindows::UpdateStyle", [&] {
    // All new styles first, so that a failure leaves every window as it was.
    std::map<std::string, std::unique_ptr<MTexturedStyle>> fresh;
    for (auto& [kind, old] : styles_) fresh[kind] = CreateStyle(store_.Settings(MString::FromUTF8(kind)));
    for (MStyledWindow* window : windows_) {
      auto& style = fresh[window->WindowKind().ToUTF8String()];
      if (!style) style = CreateStyle(store_.Settings(window->WindowKind()));
    }
    styles_.swap(fresh);
    for (MStyledWindow* window : windows_) window->ApplyStyle(*styles_[window->WindowKind().ToUTF8String()]);
  });
}

}  // namespace kx
