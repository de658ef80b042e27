#include "catalogue/version_compare.h"

namespace kx {
namespace {

int32_t ComponentNumber(const MString& component) {
  // Like the published versions' reader: the value of the two-character
  // prefix, so "1a" is 1 and "ab" is 0.
  return component.Length() < 2 ? 0 : component.Left(2).ToInt();
}

// The component at `index`, or the empty one past the end of a shorter list.
MString ComponentAt(const MArray<MString>& components, int32_t index) {
  return index < components.Count() ? components[index] : MString();
}

// -1: the current version is older here (yes); 1: newer (no); 0: all equal.
int CompareOverCurrent(const MArray<MString>& current, const MArray<MString>& other) {
  for (int32_t i = 0; i < current.Count(); ++i) {
    int order = CompareVersionComponent(current[i], ComponentAt(other, i));
    if (order != 0) return order;
  }
  return 0;
}

}  // namespace

int CompareVersionComponent(const MString& a, const MString& b) {
  int32_t numberA = ComponentNumber(a);
  int32_t numberB = ComponentNumber(b);
  if (numberA != numberB) return numberA < numberB ? -1 : 1;
  bool letterA = a.Length() >= 3;
  bool letterB = b.Length() >= 3;
  if (!letterA && !letterB) return 0;
  if (!letterA) return -1;
  if (!letterB) return 1;
  if (a[2] == b[2]) return 0;
  return a[2] < b[2] ? -1 : 1;
}

MArray<MString> SplitVersion(const MString& version) {
  MArray<MString> components;
  if (!version.IsEmpty()) version.Split('.', components);
  return components;
}

bool HasVersionUpdate(const MString& current, const MString& beta, const MString& stable,
                      bool allowBeta) {
  MArray<MString> currentComponents = SplitVersion(current);
  if (allowBeta && !beta.IsEmpty()) {
    int order = CompareOverCurrent(currentComponents, SplitVersion(beta));
    if (order < 0) return true;
    // Installed ahead of the beta: the beta channel's no stands, even where
    // the stable version would be newer.
    if (order > 0) return false;
  }
  MArray<MString> stableComponents = SplitVersion(stable);
  if (stableComponents.IsEmpty()) return false;
  return CompareOverCurrent(currentComponents, stableComponents) < 0;
}

}  // namespace kx
