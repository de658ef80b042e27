// The system's fonts by family, kept in two cache files so that finding a
// family needs no scan of the font folders, and a scan opens only new files.
//
// Both files lie in GetDataPath_User("Fonts"), as MBX trees:
//   "SystemFonts11.cache"    root MSystemFontCache, one `Font` item per family
//                            asked for: `Key` (family without blanks, "|",
//                            style word) and `Path`
//   "SystemFonts11all.cache" root MSystemFontCacheAll, one `Font` item per
//                            file found: `Path`, `Family` (empty for a file
//                            FreeType could not open, so that it is not tried
//                            at every start), `Style` (style word), `Weight`
// A cache file that cannot be loaded counts as absent and is written again; one
// that cannot be saved costs only the next start's speed.
//
// ScanFontFolders lists the program's own folder GetDataPath_Global("Fonts")
// and SystemFontFolders() (platform/font_folders.h) recursively for "ttf" and
// "otf" files, takes over the cached facts of the files still there, drops the
// files that have gone, opens each new file once, and saves the cache if
// anything changed. FindSystemFont answers from "SystemFonts11.cache" while the
// remembered file exists; otherwise it scans once per process (the first time
// it needs the table) and searches the family without case; among the faces of
// the family and style it takes the one whose weight is nearest to the style's
// (400, bold 700). Its failures: "Font {0} was not found in the system." and
// "Font {0} was not found in the system with correct styles.", with the family.
//
// The tables are guarded by one lock; any thread may ask.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "media/fonts/font_file.h"

namespace kx {

inline constexpr const char* kFontCacheFile = "SystemFonts11.cache";
inline constexpr const char* kFontCacheAllFile = "SystemFonts11all.cache";

// Scans the folders now, whether or not it was done before.
void ScanFontFolders();
// The path of the face of that family and style.
MString FindSystemFont(const MString& family, MFontStyle style);
// The known faces sorted by family (a copy), scanning first if needed.
MArray<MFontFile> GetSystemFontFiles();
// Forgets both tables; the next lookup starts as a new process would.
void ForgetFontTables();

// Scans run since the process started.
int64_t FontScanCount();

}  // namespace kx
