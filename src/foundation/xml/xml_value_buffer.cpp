// The binary value of an item: GetValueBuffer, WriteValueToStream, SetValueBuffer.
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {

namespace {

// Takes what fits into a fixed block and counts it; the rest is dropped, so a
// value larger than the caller's block fills it and no more.
class MBlockSink : public MStream {
 public:
  MBlockSink(void* target, int64_t size) : target_(static_cast<char*>(target)), size_(size) {}
  void Write(const void* data, int64_t size) override {
    int64_t room = size_ - used_;
    int64_t take = size < room ? size : room;
    if (take > 0) {
      std::memcpy(target_ + used_, data, static_cast<size_t>(take));
      used_ += take;
    }
  }
  int64_t GetPosition() override { return used_; }
  int64_t GetSize() override { return used_; }
  int64_t Used() const { return used_; }

 private:
  char* target_;
  int64_t size_;
  int64_t used_ = 0;
};

// The value's bytes to `stream`: a buffer as it stands unless it is compressed
// and `decompress` asks for inflation; a string through its base64 or hex form.
void WriteValueBytes(const MVariant& value, MStream& stream, bool decompress) {
  const MVariant::Buffer* buffer = value.GetBuffer();
  if (buffer && !(decompress && value.IsCompressed())) {
    if (buffer->size > 0) stream.Write(buffer->data, buffer->size);
    return;
  }
  value.WriteBuffer(stream);
}

}  // namespace

int64_t MXMLItem::GetValueBuffer(void* target, int64_t size, bool decompress,
                                  BufferMode mode) const {
  if (size < 0) size = 0;
  auto clear = [&](int64_t from) {
    if (size > from) std::memset(static_cast<char*>(target) + from, 0, static_cast<size_t>(size - from));
  };
  if (value.IsEmpty() && mode != kBufferExact) {
    clear(0);
    return 0;
  }
  MBlockSink sink(target, size);
  try {
    WriteValueBytes(value, sink, decompress);
  } catch (MException&) {
    if (mode == kBufferExact) throw;
    clear(0);
    return 0;
  }
  int64_t got = sink.Used();
  if (got < size) {
    if (mode == kBufferExact) throw MException("Value doesn't have correct format.");
    if (mode == kBufferClear) clear(got);
  }
  return got;
}

void MXMLItem::WriteValueToStream(MStream& stream, bool decompress) const {
  WriteValueBytes(value, stream, decompress);
  stream.Seek(0, kSeekBegin);
}

void MXMLItem::SetValueBuffer(const void* data, int64_t size, bool compress, int quality) {
  if (size <= 0 || !data) {
    value.Clear();
    return;
  }
  if (!compress) {
    value.SetBuffer(data, size, false);
    return;
  }
  MMemoryStream packed;
  MZLIBStream zip;
  zip.Init(&packed, true, quality);
  zip.Write(data, size);
  zip.Terminate();
  value.SetBuffer(packed.Data(), packed.Size(), true);
}

}  // namespace kx
