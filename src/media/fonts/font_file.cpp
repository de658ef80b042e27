#include "media/fonts/font_file.h"

#include "foundation/containers/containers.h"
#include "foundation/core/exception.h"

namespace kx {

const char* FontStyleWord(MFontStyle style) {
  switch (style) {
    case MFontStyle::kRegular: return "regular";
    case MFontStyle::kItalic: return "italic";
    case MFontStyle::kBold: return "bold";
    case MFontStyle::kBoldItalic: return "bold italic";
  }
  return "regular";
}

bool FontStyleFromWord(const MString& word, MFontStyle& style) {
  for (MFontStyle candidate : {MFontStyle::kRegular, MFontStyle::kItalic, MFontStyle::kBold,
                               MFontStyle::kBoldItalic}) {
    if (word.EqualsNoCase(MString(FontStyleWord(candidate)))) {
      style = candidate;
      return true;
    }
  }
  return false;
}

void ParseFamilyName(const MString& text, MString& family, MFontStyle& style) {
  MArray<MString> words;
  text.Split(MChar(' '), words);
  bool bold = false;
  bool italic = false;
  // Style words are taken from the end; the first other word ends them.
  int32_t end = words.Count();
  while (end > 0) {
    const MString& word = words[end - 1];
    if (word.IsEmpty() || word.EqualsNoCase(MString("regular"))) {
    } else if (word.EqualsNoCase(MString("bold"))) {
      bold = true;
    } else if (word.EqualsNoCase(MString("italic")) || word.EqualsNoCase(MString("oblique"))) {
      italic = true;
    } else {
      break;
    }
    --end;
  }
  family.Clear();
  for (int32_t i = 0; i < end; ++i) {
    if (words[i].IsEmpty()) continue;
    if (!family.IsEmpty()) family.Append(MChar(' '));
    family.Append(words[i]);
  }
  if (family.IsEmpty()) throw MException(MString("Invalid font family name."));
  style = bold ? (italic ? MFontStyle::kBoldItalic : MFontStyle::kBold)
               : (italic ? MFontStyle::kItalic : MFontStyle::kRegular);
}

}  // namespace kx
