#include "foundation/text/codecs.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/text/text_io.h"

namespace kx {

void MCodec::WriteLine(MTextWriter& writer, const MString& text) const {
  Write(writer, text);
  Write(writer, MString("\n"));
}

MCodec& GetCodec(const MString& name) {
  // Names compare without regard to case; the charset table behind the last step
  // is built on its first lookup and kept for the run.
  if (name.IsEmpty()) return GetSystemCodec();
  if (name.EqualsNoCase("utf8") || name.EqualsNoCase("utf-8")) return GetUTF8Codec();
  if (name.EqualsNoCase("utf16") || name.EqualsNoCase("utf-16")) return GetUTF16Codec();
  if (MCodec* codec = FindCharsetCodec(name)) return *codec;
  throw MException(MFormat("No codec found for encoding {0}.").Add(name), kErrorOpen);
}

}  // namespace kx
