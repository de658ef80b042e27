#include "foundation/xml/xml_entities.h"

#include <string>

namespace kx {

namespace {

constexpr MXMLEntity kEntities[kXMLEntityCount] = {
    {"amp", 3, u'&'}, {"lt", 2, u'<'}, {"gt", 2, u'>'}, {"apos", 4, u'\''}, {"quot", 4, u'"'}, {"#10", 3, u'\n'},
};

// The entity whose name and ';' stand at `at`, or null.
const MXMLEntity* EntityAt(const MString& text, int32_t at) {
  int32_t length = text.Length();
  for (const MXMLEntity& entity : kEntities) {
    if (at + entity.length >= length) continue;
    int32_t k = 0;
    while (k < entity.length && text[at + k] == static_cast<MChar>(entity.name[k])) ++k;
    if (k == entity.length && text[at + k] == u';') return &entity;
  }
  return nullptr;
}

int32_t EntityIndexOf(MChar unit) {
  // Most units are none of the table's: one test sends them on.
  if (unit > u'>' || (unit != u'\n' && unit < u'"')) return -1;
  for (int32_t i = 0; i < kXMLEntityCount; ++i)
    if (kEntities[i].character == unit) return i;
  return -1;
}

template <int N>
void AppendEscaped(MString& out, const MStringT<N>& text) {
  int32_t length = text.Length();
  int32_t first = 0;
  while (first < length && EntityIndexOf(text[first]) < 0) ++first;
  if (first == length) {
    out.Append(text);
    return;
  }
  out.Append(text.Left(first));
  for (int32_t i = first; i < length; ++i) {
    MChar unit = text[i];
    int32_t index = EntityIndexOf(unit);
    if (index < 0) {
      out.Append(unit);
      continue;
    }
    out.Append(u'&');
    out.Append(kEntities[index].name, kEntities[index].length);
    out.Append(u';');
  }
}

}  // namespace

const MXMLEntity* XMLEntities() { return kEntities; }

// One pass that copies and replaces: resuming after the replaced entity is the
// same as resuming one unit after its `&` in the shortened text.
void DecodeXMLEntities(MString& text) {
  int32_t at = text.FindChar(u'&');
  if (at < 0) return;
  int32_t length = text.Length();
  std::u16string out;
  out.reserve(static_cast<size_t>(length));
  for (int32_t i = 0; i < at; ++i) out.push_back(text[i]);
  for (int32_t i = at; i < length;) {
    MChar unit = text[i];
    if (unit == u'&') {
      if (const MXMLEntity* entity = EntityAt(text, i + 1)) {
        out.push_back(entity->character);
        i += entity->length + 2;
        continue;
      }
    }
    out.push_back(unit);
    ++i;
  }
  text = MString(out.data(), static_cast<int32_t>(out.size()));
}

MString EscapeXMLText(const MString& text) {
  int32_t length = text.Length();
  int32_t first = 0;
  while (first < length && EntityIndexOf(text[first]) < 0) ++first;
  if (first == length) return text;
  MString out;
  AppendEscaped(out, text);
  return out;
}

void AppendEscapedXMLText(MString& out, const MString& text) { AppendEscaped(out, text); }

void AppendEscapedXMLText(MString& out, const MShortString& text) { AppendEscaped(out, text); }

}  // namespace kx
