#include "media/fonts/font.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <atomic>
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "media/bitmap/alpha_mask.h"
#include "media/fonts/font_cache.h"
#include "media/fonts/font_face.h"

namespace kx {
namespace {

int32_t Pixels(FT_Pos value26_6) { return static_cast<int32_t>((value26_6 + 32) >> 6); }

}  // namespace

MFont::MFont() = default;
MFont::~MFont() = default;

void MFont::ReScanSystemFonts() {
  Guarded("MFont::ReScanSystemFonts", [] { ScanFontFolders(); });
}

void MFont::Clear() {
  Guarded("MFont::Clear", [] { ForgetFontTables(); });
}

void MFont::Take(std::unique_ptr<MFontFace> face, int32_t pixelSize) {
  if (pixelSize <= 0 || FT_Set_Pixel_Sizes(face->Get(), 0, static_cast<FT_UInt>(pixelSize)) != 0)
    throw MException(MString("Unable to accept required font size."));
  face_ = std::move(face);
  pixelSize_ = pixelSize;
  static std::atomic<uint64_t> serials{0};
  serial_ = ++serials;
}

void MFont::Load(const MString& path, int32_t pixelSize) {
  face_.reset();
  ownData_.reset();
  Take(MFontFace::OpenFile(path), pixelSize);
}

void MFont::Load(const void* data, int64_t size, int32_t pixelSize) {
  face_.reset();
  ownData_.reset();
  Take(MFontFace::OpenMemory(data, size), pixelSize);
}

void MFont::LoadFromResource(MResourceLibrary& library, const MString& id, int32_t pixelSize) {
  face_.reset();
  ownData_.reset();
  MStream& resource = library.GetResource(id);
  if (MConstMemoryStream* memory = dynamic_cast<MConstMemoryStream*>(&resource)) {
    Take(MFontFace::OpenMemory(memory->Data(), memory->Size()), pixelSize);
    return;
  }
  MMemoryStream inflated;
  while (true) {
    char block[65536];
    int64_t got = resource.Read(block, sizeof(block));
    if (got <= 0) break;
    inflated.Write(block, got);
  }
  auto data = std::make_unique<uint8_t[]>(static_cast<size_t>(inflated.Size()));
  std::memcpy(data.get(), inflated.Data(), static_cast<size_t>(inflated.Size()));
  std::unique_ptr<MFontFace> face = MFontFace::OpenMemory(data.get(), inflated.Size());
  ownData_ = std::move(data);
  Take(std::move(face), pixelSize);
}

void MFont::SetFamily(const MString& text, int32_t pixelSize) {
  MString family;
  MFontStyle style;
  ParseFamilyName(text, family, style);
  Load(FindSystemFont(family, style), pixelSize);
}

int32_t MFont::Ascent() const { return face_ ? Pixels(face_->Get()->size->metrics.ascender) : 0; }
int32_t MFont::Descent() const { return face_ ? -Pixels(face_->Get()->size->metrics.descender) : 0; }
int32_t MFont::LineHeight() const { return face_ ? Pixels(face_->Get()->size->metrics.height) : 0; }

void MFont::RenderGlyph(uint32_t codePoint, MAlphaMask& mask, int32_t& advance) {
  if (!face_) throw MException(MString("Font is not loaded."));
  FT_Face face = face_->Get();
  if (FT_Load_Char(face, codePoint, FT_LOAD_RENDER | FT_LOAD_TARGET_NORMAL) != 0 ||
      face->glyph->bitmap.pixel_mode != FT_PIXEL_MODE_GRAY)
    throw MException(MFormat(MString("Could not render glyph {0}.")).Add(codePoint));
  const FT_Bitmap& bitmap = face->glyph->bitmap;
  mask.Create(static_cast<int32_t>(bitmap.width), static_cast<int32_t>(bitmap.rows));
  for (int32_t y = 0; y < mask.Height(); ++y)
    std::memcpy(mask.Row(y), bitmap.buffer + static_cast<int64_t>(y) * bitmap.pitch, bitmap.width);
  mask.x = face->glyph->bitmap_left;
  mask.y = -face->glyph->bitmap_top;
  advance = Pixels(face->glyph->advance.x);
}

int32_t MFont::MeasureText(const MString& text) {
  if (!face_) return 0;
  FT_Face face = face_->Get();
  int32_t width = 0;
  for (int32_t i = 0; i < text.Length(); ++i) {
    uint32_t code = text[i];
    if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.Length() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
    if (FT_Load_Char(face, code, FT_LOAD_DEFAULT) == 0) width += Pixels(face->glyph->advance.x);
  }
  return width;
}

}  // namespace kx
