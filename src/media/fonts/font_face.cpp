// FreeType reads a file face through a stream record whose read callback sits
// on MFileStream, so that font files are opened by the foundation's file layer
// like every other file, and only the tables FreeType asks for are read.
#include "media/fonts/font_face.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <atomic>
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "foundation/threads/lock.h"

namespace kx {
namespace {

std::atomic<int64_t> openCount{0};

MCriticalSection& LibraryLock() {
  static MCriticalSection lock;
  return lock;
}

struct LibraryDeleter {
  void operator()(FT_LibraryRec_* library) const { FT_Done_FreeType(library); }
};

// The one library, made on first use; faces hold a reference.
std::shared_ptr<FT_LibraryRec_> SharedLibrary() {
  static std::shared_ptr<FT_LibraryRec_> library;
  MLock lock(LibraryLock());
  if (!library) {
    FT_Library made = nullptr;
    if (FT_Init_FreeType(&made) != 0) throw MException(MString("Could not initialize the font library."), kErrorOpen);
    library.reset(made, LibraryDeleter());
  }
  return library;
}

unsigned long ReadStream(FT_Stream record, unsigned long offset, unsigned char* buffer, unsigned long count) {
  MFileStream* file = static_cast<MFileStream*>(record->descriptor.pointer);
  // A seek alone (count 0) answers 0 for success; a read answers the bytes read.
  try {
    file->Seek(static_cast<int64_t>(offset), kSeekBegin);
    if (count == 0) return 0;
    return static_cast<unsigned long>(file->Read(buffer, static_cast<int64_t>(count)));
  } catch (...) {
    return count == 0 ? 1 : 0;
  }
}

void CloseStream(FT_Stream) {}

// FreeType answers "unknown format" whenever no driver takes the data, also for
// a TrueType or OpenType file that is merely cut short. Data that begins like
// one of those is a font of a known format with bad content.
[[noreturn]] void ThrowFaceError(const uint8_t* start, int64_t size) {
  static const char* const kTags[] = {"\x00\x01\x00\x00", "OTTO", "true", "ttcf"};
  bool known = false;
  for (const char* tag : kTags) known = known || (size >= 4 && std::memcmp(start, tag, 4) == 0);
  throw MException(MString(known ? "Invalid file contents. Invalid font file format."
                                 : "Invalid file contents. Unknown font file format."),
                   kErrorIO);
}

}  // namespace

struct MFontFace::Source {
  std::shared_ptr<FT_LibraryRec_> library;
  std::unique_ptr<MFileStream> file;
  FT_StreamRec stream;
};

MFontFace::MFontFace() : source_(std::make_unique<Source>()) { source_->library = SharedLibrary(); }

MFontFace::~MFontFace() {
  if (!face_) return;
  MLock lock(LibraryLock());
  FT_Done_Face(face_);
}

std::unique_ptr<MFontFace> MFontFace::OpenFile(const MString& path) {
  std::unique_ptr<MFontFace> face(new MFontFace());
  Source& source = *face->source_;
  source.file = std::make_unique<MFileStream>(path, MFileStream::kModeRead);
  std::memset(&source.stream, 0, sizeof(source.stream));
  source.stream.size = static_cast<unsigned long>(source.file->GetSize());
  source.stream.descriptor.pointer = source.file.get();
  source.stream.read = ReadStream;
  source.stream.close = CloseStream;
  FT_Open_Args arguments{};
  arguments.flags = FT_OPEN_STREAM;
  arguments.stream = &source.stream;
  openCount.fetch_add(1, std::memory_order_relaxed);
  MLock lock(LibraryLock());
  FT_Error error = FT_Open_Face(source.library.get(), &arguments, 0, &face->face_);
  if (error != 0) {
    face->face_ = nullptr;
    uint8_t start[4] = {};
    int64_t got = ReadStream(&source.stream, 0, start, 4);
    ThrowFaceError(start, got);
  }
  return face;
}

std::unique_ptr<MFontFace> MFontFace::OpenMemory(const void* data, int64_t size) {
  std::unique_ptr<MFontFace> face(new MFontFace());
  openCount.fetch_add(1, std::memory_order_relaxed);
  MLock lock(LibraryLock());
  FT_Error error = FT_New_Memory_Face(face->source_->library.get(), static_cast<const FT_Byte*>(data),
                                      static_cast<FT_Long>(size), 0, &face->face_);
  if (error != 0) {
    face->face_ = nullptr;
    ThrowFaceError(static_cast<const uint8_t*>(data), size);
  }
  return face;
}

MString MFontFace::Family() const {
  return face_->family_name ? MString::FromUTF8(face_->family_name) : MString();
}

MFontStyle MFontFace::Style() const {
  bool bold = face_->style_flags & FT_STYLE_FLAG_BOLD;
  bool italic = face_->style_flags & FT_STYLE_FLAG_ITALIC;
  return bold ? (italic ? MFontStyle::kBoldItalic : MFontStyle::kBold)
              : (italic ? MFontStyle::kItalic : MFontStyle::kRegular);
}

int32_t MFontFace::Weight() const {
  const TT_OS2* table = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face_, FT_SFNT_OS2));
  if (table && table->version != 0xFFFF && table->usWeightClass >= 1 && table->usWeightClass <= 1000)
    return table->usWeightClass;
  return face_->style_flags & FT_STYLE_FLAG_BOLD ? 700 : 400;
}

int64_t MFontFace::OpenCount() { return openCount.load(std::memory_order_relaxed); }

}  // namespace kx
