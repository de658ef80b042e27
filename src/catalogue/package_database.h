// The package database (tree `PackageDatabase`): one `packages` element per
// package key, whose children are the published versions of that package.
//
//   <packages name="BINEffects_binx64">
//     <v version="16.01" size="52428800" time="2024-03-01 10:00:00"/>
//     <v version="16.02b" size="52500000" beta="1" time="2024-04-01 10:00:00"/>
//   </packages>
//
// The children's element names are not read. Each child has `version` (default
// empty), `size` (integer, default 0), `beta` (boolean, default 0) and `time`
// (required, the date-time text form "YYYY-MM-DD hh:mm:ss[.f]"). A child with
// `beta` 1 gives the beta version, time and size, any other the stable ones; when
// a kind has several children, the last one counts. An unreadable `time` throws
// "Invalid datetime format.", a missing one "Could not find required attribute
// (time).", a `packages` element without `name` the same for (name).
#pragma once

#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

// The `packages` element whose `name` is `key` (compared without regard to
// case), or null when the database has none.
MXMLItem* FindDatabaseEntry(const MXMLItem& database, const MString& key);

struct DatabaseVersions {
  bool hasStable = false;
  MString stableVersion;
  MDateTime stableTime;
  double stableSize = 0.0;
  bool hasBeta = false;
  MString betaVersion;
  MDateTime betaTime;
  double betaSize = 0.0;
};

// The versions of one entry; a null entry gives nothing at all.
DatabaseVersions ReadDatabaseVersions(const MXMLItem* entry);

}  // namespace kx
