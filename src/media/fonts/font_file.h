// MFontFile: one face on disk as the font cache knows it, and the style words.
//
// A style is one of "regular", "italic", "bold" and "bold italic". A family
// name text is the family followed by style words ("DejaVu Sans bold italic");
// "regular" may stand alone, "oblique" is read as "italic".
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

enum class MFontStyle { kRegular, kItalic, kBold, kBoldItalic };

struct MFontFile {
  MString family;
  MFontStyle style = MFontStyle::kRegular;
  MString path;
  // 100 to 900, 400 regular: chooses among faces of one style (a light and a
  // book face are both "regular").
  int32_t weight = 400;
};

// The style word: "regular", "italic", "bold", "bold italic".
const char* FontStyleWord(MFontStyle style);
// The style of a word as FontStyleWord writes it; false for any other text.
bool FontStyleFromWord(const MString& word, MFontStyle& style);

// A family name text split into the family (blanks trimmed) and its style.
// Throws "Invalid font family name." when no family is left.
void ParseFamilyName(const MString& text, MString& family, MFontStyle& style);

}  // namespace kx
