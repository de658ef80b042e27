// MStyleSettingsStore: the user's style settings, one MStyleSettings per window
// kind, kept in the file "StyleSettingsV13.cfg", and the colour schemes of each
// style as preset sets in the preset tree format, in the file
// "StyleSettings_<style>.presets":
//
//   StyleSettings                     the settings file's root
//     <kind> (Style, ColorScheme, MainColor, InvertColors, EnableUpperCase, Resize)
//
//   root (Name "StyleSettings_Neon")  a scheme file
//     preset (name, MainColor, InvertColors, EnableUpperCase)
//
// MainColor is written as the number 0xRRGGBB. A missing settings file gives
// the defaults; a damaged one throws its loader's message.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "foundation/text/text_string.h"
#include "gui/styles/styles.h"

namespace kx {

inline constexpr const char* kStyleSettingsFileName = "StyleSettingsV13.cfg";
inline constexpr const char* kStyleSchemePrefix = "StyleSettings_";

class MStyleSettingsStore {
 public:
  // The settings of a window kind, made with the defaults on first use.
  MStyleSettings& Settings(const MString& windowKind);
  const std::map<std::string, MStyleSettings>& All() const { return settings_; }

  // "StyleSettingsV13.cfg" in `folder`.
  void LoadSettings(const MString& folder);
  void SaveSettings(const MString& folder) const;

  // Back to the style's own colours: no scheme, no MainColor, no inversion.
  void SetDefaultColors(const MString& windowKind);

  // The scheme file of a style: "StyleSettings_" + style + ".presets".
  static MString SchemeFileName(const MString& style);
  // Stores the colours of `windowKind` as scheme `name` of its style (a scheme
  // of that name is replaced) and selects it.
  void SaveScheme(const MString& folder, const MString& windowKind, const MString& name);
  // Takes the colours of scheme `name` of the kind's style; false when there is
  // no such scheme (the settings stay).
  bool ApplyScheme(const MString& folder, const MString& windowKind, const MString& name);
  // The names of a style's schemes, in the file's order.
  static std::vector<MString> SchemeNames(const MString& folder, const MString& style);

 private:
  std::map<std::string, MStyleSettings> settings_;
};

}  // namespace kx
