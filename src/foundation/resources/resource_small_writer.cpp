#include "foundation/resources/resource_small_writer.h"

#include "foundation/core/exception.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {

namespace {

constexpr int64_t kMaxBlockSize = 0x7fffffff;

[[noreturn]] void ThrowTooLarge() { throw MException(MString("Resource library is too large.")); }

}  // namespace

MSmallLibraryWriter::MSmallLibraryWriter(const MString& rootName) : root_(rootName) {
  resources_ = &root_.AddSubItem(MString("resources"));
}

void MSmallLibraryWriter::Add(const MString& id, const void* data, int64_t size, bool compress) {
  int64_t offset = data_.Size();
  data_.Seek(offset, kSeekBegin);
  if (compress) {
    MZLIBStream deflater;
    deflater.Init(&data_, true, 100);
    deflater.Write(data, size);
    deflater.Terminate();
  } else {
    data_.Write(data, size);
  }
  if (data_.Size() > kMaxBlockSize) {
    data_.SetSize(offset);
    ThrowTooLarge();
  }
  MXMLItem& entry = resources_->AddSubItem(MString("resource"));
  entry.SetAttribute("id", MVariant(id));
  entry.SetAttribute("offset", MVariant(offset));
  entry.SetAttribute("size", MVariant(data_.Size() - offset));
  if (compress) entry.SetAttribute("compressed", MVariant(int32_t{1}));
}

void MSmallLibraryWriter::Write(MStream& target, bool compressDefinition) const {
  MMemoryStream definition;
  root_.SaveMBX(definition, compressDefinition);
  if (definition.Size() > kMaxBlockSize) ThrowTooLarge();
  int32_t header[3] = {0, static_cast<int32_t>(definition.Size()), static_cast<int32_t>(data_.Size())};
  target.Write(header, sizeof header);
  target.Write(definition.Data(), definition.Size());
  target.Write(data_.Data(), data_.Size());
}

}  // namespace kx
