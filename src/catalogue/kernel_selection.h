// Loading the packages, and choosing among the builds of one purpose for the
// machine's instruction-set level.
//
// The definition holds several `files` elements for one purpose, each built for
// a range of levels given by `archmin` (lowest level it needs) and `archmax`
// (first level that is too high). Both happen in one walk over the `files`
// elements: each one is marked with `archenabled` and becomes a Package.
//
// Evaluate architecture, for one element:
//   - neither `archmin` nor `archmax`: nothing is written;
//   - `mac` set: `archenabled` 0 (a build of the other platform);
//   - else the half-open range decided by which texts are not empty: both
//     [index(archmin), index(archmax)), archmin only [index(archmin), no end),
//     archmax only [0, index(archmax)), both empty [0, 0), which matches
//     nothing. A match logs a blank line and "Using kernel type: " with the
//     fixed label "archmin=avx2" when `archmax` is empty and "archmax=avx2"
//     otherwise (the label names the two shipped builds, not the real values),
//     writes `archenabled` 1 and counts; a miss writes 0.
//
// When the count is not 1, the user is told (an error box unless SilentMode;
// the log always) and every Kernel package (`name` "Kernel", no `mac`) falls
// back on the build below AVX2: `archmax="avx2"` enabled, `archmin="avx2"`
// disabled, any other left as it was. Neither case stops the run.
//
// Runs on the main thread, at start-up and when offline data are loaded.
#pragma once

#include <cstdint>

#include "catalogue/package.h"
#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class CatalogueOwner;
class MXMLItem;

// Where the user is asked to write when no build or several builds match.
extern const char* const kSupportAddress;

// Writes `archenabled` into the `files` element as above; adds 1 to `counter`
// on a match.
void EvaluateArchitecture(MXMLItem& filesElement, int32_t& counter);

// The message for a count other than 1 (empty for 1): the opening for none or
// for several, the support address, and the instruction-set report.
MString ArchitectureMatchMessage(int32_t counter);

// For a count other than 1: shows and logs the message, then the Kernel
// fallback over `packages`.
void ReportArchitectureMatch(int32_t counter, const PackageList& packages);

// Empties `packages`, logs "\nDetected architecture
// index: {0}" and the instruction-set report, then walks the `files` elements
// of `installerDefinition` in file order: `path` (required; its absence throws
// the tree's message and ends the load), the architecture, the entry of the key
// in `packageDatabase`, the item of the key in `packageSettings` (made when
// missing), and a Package appended to the list, which owns it. Ends with the
// report for a count other than 1. Answers the count.
int32_t LoadPackages(CatalogueOwner* owner, MXMLItem& installerDefinition,
                     MXMLItem& packageDatabase, MXMLItem& packageSettings,
                     PackageList& packages);

}  // namespace kx
