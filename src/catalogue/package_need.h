// Is a package needed for one plug-in? The `flags` word of the package's
// `files` element decides, against the plug-in and the package's state:
//
//   global, uglobal    Needed by every plug-in, except: `archenabled` present and
//                      0 (a build for another processor) is not needed. The
//                      effects binary records the plug-in in WantedBy and is
//                      needed. Installed packages named "Global data" or
//                      "Kernel", or keyed REDIST or USER_PRESETS, are not needed
//                      again; a REDIST key not installed is not needed in
//                      CloudLaunchMode.
//   gbypluginname,     Needed; when `anyOwnPackage` is false the plug-in is
//   ubypluginname      recorded in WantedBy.
//   tvtoptional        Only with `optionalInstruments`: not needed when
//                      installed; needed for a plug-in named with the sampler
//                      word; else needed unless CloudLaunchMode.
//   any other word     The same word as the plug-in's Flags: needed unless
//   (empty included)   installed. A different word: with `anyOwnPackage`,
//                      needed when not installed; without, needed when the key
//                      holds the plug-in's name.
//
// The flag words compare without regard to case; names and key parts are
// searched as written. "Recorded" means the plug-in's Contents, or its Name
// when it has none, are added to the package's WantedBy (each once).
#pragma once

namespace kx {

class Package;
class Plugin;

// `anyOwnPackage`: some wanted plug-in of this run has a package of its own.
// `optionalInstruments`: the sampler's optional factory instruments are on.
bool IsPackageNeeded(const Plugin& plugin, Package& package, bool anyOwnPackage,
                     bool optionalInstruments);

}  // namespace kx
