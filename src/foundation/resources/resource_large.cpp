// Reading the large layout: the trailer, the checked definition, and one stream
// per stored file.
#include <algorithm>
#include <cstring>
#include <new>

#include "foundation/compression/bzip2_stream.h"
#include "foundation/resources/resource_keys.h"
#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/stream_helpers.h"

namespace kx {

namespace {


[[noreturn]] void ThrowShortData() {
  throw MException(MString("Could not read the required data from stream."), kErrorIO);
}

[[noreturn]] void ThrowCorrupt() { throw MException(MString("Resource library file is corrupt.")); }

std::unique_ptr<MCompressedStream> MakeCodec(bool bzip2) {
  if (bzip2) return std::make_unique<MBZIP2Stream>();
  return std::make_unique<MZLIBStream>();
}

// A write-only stream that refuses to grow past a limit, so that an unfolding
// definition stops early instead of filling the memory.
class MLimitedMemoryStream final : public MStream {
 public:
  explicit MLimitedMemoryStream(MMemoryStream& target) : target_(target) {}
  void Write(const void* data, int64_t size) override {
    if (target_.Size() + size > MResourceLibrary::kMaxUnfoldedDefinition) ThrowCorrupt();
    target_.Write(data, size);
  }

 private:
  MMemoryStream& target_;
};

// The content of a compressed `file` item: a decompressor over the stored bytes,
// counted out to `filesize`.
class MDecompressedContentStream final : public MStream {
 public:
  MDecompressedContentStream(std::unique_ptr<MStream> stored, bool bzip2, bool scramble, int64_t size)
      : stored_(std::move(stored)), codec_(MakeCodec(bzip2)), scramble_(scramble), size_(size) {
    Restart();
  }

  int64_t Read(void* data, int64_t size) override {
    int64_t want = std::min(size, size_ - position_);
    int64_t got = 0;
    while (got < want) {
      int64_t piece = codec_->Read(static_cast<char*>(data) + got, want - got);
      // A codec stream that ends before `filesize` bytes came out does not hold
      // this content: handing out less would write a shortened file in silence.
      if (piece == 0) throw MException(MString("Source compressed stream has invalid content."), kErrorIO);
      got += piece;
    }
    position_ += got;
    return got;
  }

  int64_t Seek(int64_t offset, MSeekOrigin origin) override {
    CheckSeekOrigin(origin);
    int64_t base = origin == kSeekBegin ? 0 : origin == kSeekCurrent ? position_ : size_;
    int64_t target = std::clamp(base + offset, int64_t{0}, size_);
    if (target < position_) Restart();
    char discard[4096];
    while (position_ < target) Read(discard, std::min<int64_t>(sizeof discard, target - position_));
    return position_;
  }

  int64_t GetPosition() override { return position_; }
  bool IsEnd() override { return position_ >= size_; }
  int64_t GetSize() override { return size_; }

 private:
  void Restart() {
    stored_->Seek(0, kSeekBegin);
    codec_->Init(stored_.get(), false, 100, scramble_);
    position_ = 0;
  }

  std::unique_ptr<MStream> stored_;
  std::unique_ptr<MCompressedStream> codec_;
  bool scramble_;
  int64_t size_;
  int64_t position_ = 0;
};

}  // namespace

// The stored bytes from `start` on, `size` of them, read through the library so
// that several of them may take turns on the one shared stream.
class MStoredBytesStream final : public MStream {
 public:
  MStoredBytesStream(MResourceLibrary& library, int64_t start, int64_t size)
      : library_(library), start_(start), size_(size) {}

  int64_t Read(void* data, int64_t size) override {
    int64_t want = std::min(size, size_ - position_);
    if (want <= 0) return 0;
    int64_t got = library_.ReadStored(start_ + position_, data, want);
    position_ += got;
    return got;
  }
  int64_t Seek(int64_t offset, MSeekOrigin origin) override {
    CheckSeekOrigin(origin);
    int64_t base = origin == kSeekBegin ? 0 : origin == kSeekCurrent ? position_ : size_;
    position_ = std::clamp(base + offset, int64_t{0}, size_);
    return position_;
  }
  int64_t GetPosition() override { return position_; }
  bool IsEnd() override { return position_ >= size_; }
  int64_t GetSize() override { return size_; }

 private:
  MResourceLibrary& library_;
  int64_t start_;
  int64_t size_;
  int64_t position_ = 0;
};

void MResourceLibrary::AttachLarge(MStream& stream) {
  Close();
  try {
    int64_t total = stream.GetSize();
    if (total < kTrailerSize) ThrowShortData();
    stream.Seek(total - kTrailerSize, kSeekBegin);
    uint8_t digest[MHashStream::kDigestSize];
    int64_t definitionSize = 0;
    uint32_t flags = 0;
    stream.ReadExact(digest, sizeof digest);
    stream.ReadExact(&definitionSize, sizeof definitionSize);
    stream.ReadExact(&flags, sizeof flags);
    if (definitionSize > kMaxDefinitionSize || definitionSize < 0) {
      throw MException(
          MFormat("Invalid large resource library format (incorrect definition size {0}).")
              .Add(definitionSize));
    }
    int64_t definitionStart = total - kTrailerSize - definitionSize;
    if (definitionStart < 0) ThrowShortData();

    MMemoryStream stored;
    stored.SetSize(definitionSize);
    stream.Seek(definitionStart, kSeekBegin);
    stream.ReadExact(stored.Data(), definitionSize);

    MMemoryStream unfolded;
    MMemoryStream* definition = &stored;
    if (flags & kDefinitionCompressed) {
      bool bzip2 = (flags & kBZIP2) != 0;
      std::unique_ptr<MCompressedStream> codec = MakeCodec(bzip2);
      codec->Init(&stored, false, 100, !bzip2 && (flags & kScramble));
      MLimitedMemoryStream limited(unfolded);
      try {
        CopyStream(*codec, limited);
      } catch (MException& failure) {
        // Damaged compressed bytes are a damaged definition, whatever the codec
        // noticed first; a codec that could not start is another matter.
        if (failure.code == kErrorIO) ThrowCorrupt();
        throw;
      }
      codec->Terminate();
      definition = &unfolded;
    }

    MHashStream md5;
    md5.Reset();
    md5.Write(definition->Data(), definition->Size());
    md5.Finish();
    if (std::memcmp(md5.Digest(), digest, sizeof digest) != 0) ThrowCorrupt();

    definition->Seek(0, kSeekBegin);
    LoadDefinition(*definition);

    stream_ = &stream;
    if (auto* constant = dynamic_cast<MConstMemoryStream*>(&stream)) {
      memoryBlock_ = constant->Data();
    } else if (auto* memory = dynamic_cast<MMemoryStream*>(&stream)) {
      memoryBlock_ = memory->Data();
    }
    contentEnd_ = definitionStart;
    cursor_ = -1;
    flags_ = flags;
    attached_ = true;
  } catch (const std::bad_alloc&) {
    Close();
    ThrowCorrupt();
  } catch (...) {
    Close();
    throw;
  }
}

void MResourceLibrary::OpenLarge(const MString& path) {
  auto file = std::make_unique<MFileStream>(path, MFileStream::kModeRead);
  AttachLarge(*file);
  ownStream_ = std::move(file);
}

std::unique_ptr<MStream> MResourceLibrary::OpenFile(MXMLItem& item) {
  if (!stream_) throw MException(MString("Resource library is not open."));
  int64_t start = item.GetAttribute(kFileStartKey).AsInt64();
  int64_t size = item.GetAttribute(kFileSizeKey).AsInt64();
  bool compressed = (flags_ & kFilesCompressed) != 0;
  // The digest covers the definition only; an item that points outside the
  // stored files would hand out bytes of the definition or of nothing.
  if (start < 0 || size < 0 || start > contentEnd_ || (!compressed && size > contentEnd_ - start))
    ThrowCorrupt();
  if (!compressed) return std::make_unique<MStoredBytesStream>(*this, start, size);
  return std::make_unique<MDecompressedContentStream>(
      std::make_unique<MStoredBytesStream>(*this, start, contentEnd_ - start),
      (flags_ & kBZIP2) != 0, (flags_ & kScramble) != 0, size);
}

int64_t MResourceLibrary::ReadStored(int64_t position, void* data, int64_t size) {
  size = std::min(size, contentEnd_ - position);
  if (size <= 0) return 0;
  if (memoryBlock_) {
    std::memcpy(data, memoryBlock_ + position, static_cast<size_t>(size));
    return size;
  }
  // Content streams take turns on one stream: seek only when another moved it.
  try {
    if (cursor_ != position) {
      cursor_ = -1;
      stream_->Seek(position, kSeekBegin);
      cursor_ = position;
    }
    int64_t got = stream_->Read(data, size);
    cursor_ += got;
    return got;
  } catch (...) {
    cursor_ = -1;
    throw;
  }
}

}  // namespace kx
