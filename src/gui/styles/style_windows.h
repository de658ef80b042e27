// MStyleWindows: the module's side of styles. It holds the settings store, one
// loaded style per window kind, and the windows that use them; UpdateStyle
// gives every window the style its settings now ask for.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gui/styles/style_settings_store.h"
#include "gui/styles/textured_style.h"

namespace kx {

// A window as its style sees it.
class MStyledWindow {
 public:
  virtual ~MStyledWindow() = default;
  // The key of its settings in the store ("Main", "Dialog", ...).
  virtual MString WindowKind() const = 0;
  // Takes the new style (which lives until the next update) and lays itself
  // out again.
  virtual void ApplyStyle(MStyles& style) = 0;
};

class MStyleWindows {
 public:
  MStyleSettingsStore& Store() { return store_; }

  // Windows stay registered until removed; a window must remove itself
  // before it goes.
  void AddWindow(MStyledWindow& window);
  void RemoveWindow(MStyledWindow& window);

  // The style of a window kind, loaded on first use.
  MStyles& StyleFor(const MString& windowKind);

  // Loads every kind's style anew from its settings and hands it to the
  // kind's windows, under the guard "MWindows::UpdateStyle". False when that
  // failed; the windows then keep their old style.
  bool UpdateStyle();

  // The style the settings name, else "Neon"; when neither loads, throws "No
  // style couldn't be created. Ensure you have any fonts installed in your
  // operating system. Consider reinstalling the software and/or operating
  // system.".
  static std::unique_ptr<MTexturedStyle> CreateStyle(const MStyleSettings& settings);

 private:
  MStyleSettingsStore store_;
  std::map<std::string, std::unique_ptr<MTexturedStyle>> styles_;
  std::vector<MStyledWindow*> windows_;
};

}  // namespace kx
