#include "foundation/xml/mbx_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "foundation/text/base64.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/mbx_writer.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/system_error.h"
#include "foundation/xml/xml_item.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {

bool DisableMBX = false;

namespace {

// A stream that cannot tell its position is read from where it stands; going
// back to 0 is then the best guess.
int64_t NotePosition(MStream& stream) {
  try {
    return stream.GetPosition();
  } catch (MException&) {
    return 0;
  }
}

// What a failed save left behind; the failure being reported matters more than
// whether this succeeds.
void RemoveQuietly(const MString& path) noexcept {
  try {
    if (MFile::Exists(path)) MFile::Delete(path);
  } catch (...) {
  }
}

}  // namespace

bool TryLoadAny(MXMLItem& tree, MStream& stream, MString* failure) {
  int64_t start = NotePosition(stream);
  MString binaryFailure;
  try {
    tree.ReadMBXAuto(stream);
    return true;
  } catch (MException& e) {
    binaryFailure = e.message;
  }

  stream.Seek(start, kSeekBegin);
  // The binary attempt may have named the root; an unnamed root is how the text
  // parser tells that it found no element.
  tree.Clear();
  tree.name.Clear();
  MString textFailure;
  try {
    tree.LoadXML(stream);
    return true;
  } catch (MException& e) {
    textFailure = e.message;
  }

  stream.Seek(start, kSeekBegin);
  unsigned char head[sizeof kMBXMagic] = {};
  int64_t got = stream.Read(head, 1);
  if (got == 1 && head[0] == '$') {
    MString line;
    stream.ReadLineString(line);
    MMemoryStream decoded;
    DecodeBase64(line, decoded);
    decoded.Seek(0, kSeekBegin);
    return TryLoadAny(tree, decoded, failure);
  }
  if (failure) {
    if (got == 1) got += stream.Read(head + 1, sizeof head - 1);
    bool binary =
        got == static_cast<int64_t>(sizeof head) && std::memcmp(head, kMBXMagic, sizeof head) == 0;
    *failure = binary ? binaryFailure : textFailure;
  }
  return false;
}

void ReplaceFileContent(const MString& path, const void* data, int64_t size) {
  MString temporary = path + MString(".saving");
  try {
    MFileStream file(temporary, MFileStream::kModeCreate);
    file.Write(data, size);
    // On the disk before the rename, so that even a power loss leaves the old or the new file.
    file.Sync();
    file.Close();
  } catch (...) {
    RemoveQuietly(temporary);
    throw;
  }
  // The C library's rename replaces the target in one step, so that no moment
  // exists without a complete file at `path`.
  if (std::rename(ToSystem(temporary).c_str(), ToSystem(path).c_str()) != 0) {
    int error = errno;
    RemoveQuietly(temporary);
    MString message = MFormat("Could not rename file \"{0}\" to \"{1}\".").Add(temporary).Add(path);
    message.Append(MChar(' '));
    message.Append(GetSystemErrorText(error));
    throw MException(message);
  }
}

// ----------------------------------------------- the tree's operations on files

void MXMLItem::LoadAny(MStream& stream) {
  TryLoadAny(*this, stream, nullptr);
}

void MXMLItem::SaveMBX(MStream& stream, bool compress) const {
  if (DisableMBX) {
    SaveXML(stream, compress);
    return;
  }
  if (!compress) {
    WriteMBX(*this, stream);
    return;
  }
  MZLIBStream deflater;
  deflater.Init(&stream, true, 100);
  WriteMBX(*this, deflater);
  deflater.Terminate();
}

void MXMLItem::LoadFile(const MString& path) {
  MMemoryStream bytes;
  MFile::ReadAll(path, bytes);
  bytes.Seek(0, kSeekBegin);
  LoadAny(bytes);
}

void MXMLItem::SaveFile(const MString& path, bool compress) const {
  MMemoryStream bytes;
  SaveMBX(bytes, compress);
  ReplaceFileContent(path, bytes.Data(), bytes.Size());
}

}  // namespace kx
