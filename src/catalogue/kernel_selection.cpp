#include "catalogue/kernel_selection.h"
#include "catalogue/definition_keys.h"

#include "catalogue/architecture.h"
#include "catalogue/package.h"
#include "catalogue/settings_node.h"
#include "foundation/core/boxes.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/core/module.h"
#include "foundation/core/run_state.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {

const char* const kSupportAddress = "support@vorlund.com";

namespace {


constexpr int32_t kNoUpperBound = 0x7fffffff;

// The two builds the maker ships: below AVX2 (archmax) and from AVX2 on (archmin).
const char* const kFallbackName = "avx2";
const char* const kKernelName = "Kernel";

const char* const kNoMatchOpening =
    "The installer couldn't find executables for the architecture of this machine. ";
const char* const kSeveralMatchOpening =
    "Internal installer error - more than one executable matches architecture of this machine. ";

}  // namespace

void EvaluateArchitecture(MXMLItem& filesElement, int32_t& counter) {
  // FindAttribute rather than HasAttribute: it leaves the item's lookup cache
  // as it was for whoever reads the element next.
  if (!filesElement.FindAttribute(kArchMin) && !filesElement.FindAttribute(kArchMax)) return;
  if (ReadSettingBool(filesElement, kMac, false)) {
    WriteSettingBool(filesElement, kArchEnabled, false);
    return;
  }
  int32_t machine = DetectArchitectureIndex();
  MString archMin = ReadSettingString(filesElement, kArchMin, MString());
  MString archMax = ReadSettingString(filesElement, kArchMax, MString());

  // The texts, not the attributes' presence, decide which bounds apply: an
  // element with both attributes empty has the range [0, 0).
  int32_t lowest = 0;
  int32_t beyond = 0;
  if (!archMin.IsEmpty()) {
    lowest = ArchitectureIndexOfName(archMin);
    beyond = archMax.IsEmpty() ? kNoUpperBound : ArchitectureIndexOfName(archMax);
  } else if (!archMax.IsEmpty()) {
    beyond = ArchitectureIndexOfName(archMax);
  }

  bool match = machine >= lowest && machine < beyond;
  if (match) {
    MLog::Line(MString());
    // The label tells which of the two shipped builds was taken; it does not
    // echo the element's values, and support reads logs by these two labels.
    MLog::Line(
        MFormat("Using kernel type: {0}").Add(archMax.IsEmpty() ? "archmin=avx2" : "archmax=avx2"));
    ++counter;
  }
  WriteSettingBool(filesElement, kArchEnabled, match);
}

MString ArchitectureMatchMessage(int32_t counter) {
  if (counter == 1) return MString();
  return MFormat(
             "{0}Trying to use most suitable executables for this machine. Please contact our "
             "support via {1} and send us information about this computer with this "
             "screenshot.<p>System information:{2}")
      .Add(counter < 1 ? kNoMatchOpening : kSeveralMatchOpening)
      .Add(kSupportAddress)
      .Add(InstructionSetReport());
}

void ReportArchitectureMatch(int32_t counter, const PackageList& packages) {
  if (counter == 1) return;
  MString message = ArchitectureMatchMessage(counter);
  if (!SilentMode) ShowError(nullptr, message);
  MLog::Line(message);

  // The build below AVX2 runs on every machine the program supports, so it is
  // the safe choice when the definition does not single one out.
  for (const auto& package : packages) {
    if (package->Mac || package->DisplayName != kKernelName) continue;
    MXMLItem& element = *package->GetDefinitionNode();
    if (ReadSettingString(element, kArchMax, MString()).EqualsNoCase(kFallbackName))
      WriteSettingBool(element, kArchEnabled, true);
    else if (ReadSettingString(element, kArchMin, MString()).EqualsNoCase(kFallbackName))
      WriteSettingBool(element, kArchEnabled, false);
  }
}

int32_t LoadPackages(CatalogueOwner* owner, MXMLItem& installerDefinition,
                     MXMLItem& packageDatabase, MXMLItem& packageSettings,
                     PackageList& packages) {
  packages.Clear();
  MLog::Line(MFormat("\nDetected architecture index: {0}").Add(DetectArchitectureIndex()));
  MLog::Line(InstructionSetReport());

  int32_t counter = 0;
  for (MXMLItem& element : MXMLNameIterator(installerDefinition, kFiles)) {
    // `path` is required and read first: a broken element ends the load before
    // its architecture is written.
    element.GetAttribute(kPath);
    EvaluateArchitecture(element, counter);
    packages.Add(Package::Create(owner, element, packageDatabase, packageSettings));
  }
  ReportArchitectureMatch(counter, packages);
  return counter;
}

}  // namespace kx
