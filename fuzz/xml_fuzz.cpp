// libFuzzer target: arbitrary bytes as a text XML document. Refusals are
// MException; anything else (a crash, a leak, a sanitizer report) is a finding.
// What loads is saved in both forms and loaded again, and must give the same
// tree: names and attributes exactly, values up to blank runs (the parser
// collapses them, and CDATA content may hold some).
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace {

kx::MString Collapsed(const kx::MString& text) {
  kx::MString out;
  bool blank = false;
  for (int32_t i = 0; i < text.Length(); ++i) {
    kx::MChar unit = text[i];
    if (unit < 33) {
      blank = true;
      continue;
    }
    if (blank && !out.IsEmpty()) out.Append(u' ');
    blank = false;
    out.Append(unit);
  }
  return out;
}

bool SameItem(const kx::MXMLItem& a, const kx::MXMLItem& b) {
  if (!(a.name == b.name) || a.subItemCount != b.subItemCount || a.attributeCount != b.attributeCount) return false;
  if (!(Collapsed(a.value.AsString()) == Collapsed(b.value.AsString()))) return false;
  for (const kx::MXMLAttribute *x = a.firstAttribute, *y = b.firstAttribute; x; x = x->next, y = y->next)
    if (!(x->name.text == y->name.text) || !(x->value.AsString() == y->value.AsString())) return false;
  return true;
}

void CheckSaveAndReload(kx::MXMLItem& root, bool compact) {
  kx::MMemoryStream saved;
  root.SaveXML(saved, false, compact);
  saved.Seek(0, kx::kSeekBegin);
  kx::MXMLItem again;
  again.LoadXML(saved);
  kx::MXMLIterator left, right;
  kx::MXMLItem* a = left.Begin(root);
  kx::MXMLItem* b = right.Begin(again);
  for (; a && b; a = left.Next(), b = right.Next())
    if (!SameItem(*a, *b)) std::abort();
  if (a || b) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream stream(data, static_cast<int64_t>(size));
  kx::MXMLItem root;
  try {
    root.LoadXML(stream);
  } catch (const kx::MException&) {
    return 0;
  }
  CheckSaveAndReload(root, false);
  CheckSaveAndReload(root, true);
  return 0;
}
