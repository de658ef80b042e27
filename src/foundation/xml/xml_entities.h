// The entity table of text XML and its two directions.
//
//   amp &   lt <   gt >   apos '   quot "   #10 line feed
//
// DecodeXMLEntities replaces each `&name;` of the table by its character in one
// left-to-right scan that resumes one unit after a replaced `&`, so `&amp;lt;`
// gives `&lt;`; unknown entities, numeric ones included, stay as they are.
// EscapeXMLText writes every character of the table as its entity (`&` first,
// so nothing is escaped twice); a line feed becomes `&#10;`.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

struct MXMLEntity {
  const char* name;
  int32_t length;
  MChar character;
};

// The table, in its order; kXMLEntityCount entries.
inline constexpr int kXMLEntityCount = 6;
const MXMLEntity* XMLEntities();

void DecodeXMLEntities(MString& text);
// The text with the table's characters escaped; the same string when there is none.
MString EscapeXMLText(const MString& text);
// The same appended to `out`, for writers that compose a line.
void AppendEscapedXMLText(MString& out, const MString& text);
void AppendEscapedXMLText(MString& out, const MShortString& text);

}  // namespace kx
