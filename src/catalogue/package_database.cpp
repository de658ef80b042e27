#include "catalogue/package_database.h"
#include "catalogue/definition_keys.h"

#include "catalogue/settings_node.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

const MXMLName kPackages("packages");
const MXMLName kVersion("version");
const MXMLName kSize("size");
const MXMLName kBeta("beta");
const MXMLName kTime("time");

}  // namespace

MXMLItem* FindDatabaseEntry(const MXMLItem& database, const MString& key) {
  for (MXMLItem& entry : MXMLNameIterator(database, kPackages)) {
    if (entry.GetAttribute(kName).AsString().EqualsNoCase(key)) return &entry;
  }
  return nullptr;
}

DatabaseVersions ReadDatabaseVersions(const MXMLItem* entry) {
  DatabaseVersions result;
  if (!entry) return result;
  for (const MXMLItem* child = entry->firstSubItem; child; child = child->next) {
    MString version = ReadSettingString(*child, kVersion, MString());
    // Sizes above 2 GiB are real: read all 64 bits.
    double size = static_cast<double>(child->GetAttributeInt(kSize, 0));
    bool beta = ReadSettingBool(*child, kBeta, false);
    MDateTime time = MDateTime::FromString(child->GetAttribute(kTime).AsString());
    if (beta) {
      result.hasBeta = true;
      result.betaVersion = version;
      result.betaTime = time;
      result.betaSize = size;
    } else {
      result.hasStable = true;
      result.stableVersion = version;
      result.stableTime = time;
      result.stableSize = size;
    }
  }
  return result;
}

}  // namespace kx
