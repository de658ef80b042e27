// Fixed words of the maker's catalogue that the program's rules look for.
#pragma once

#include "foundation/files/data_paths.h"

namespace kx {

// The maker's folder word: put in front of local folders and download paths.
inline constexpr const char* kMakerFolderWord = kMakerFolder;
// The sampler instrument: optional instrument packages follow plug-ins named so.
inline constexpr const char* kSamplerWord = "Tonvault";

// Whole keys of the package that carries every effect binary (this platform's
// and the other's).
inline constexpr const char* kEffectsBinaryKey = "BINEffects_binx64";
inline constexpr const char* kEffectsBinaryMacKey = "BINEffectsMac_bin";

}  // namespace kx
