// MTextReader and MTextWriter: text lines over a byte stream through a codec.
//
// MTextReader keeps a byte buffer (1024 bytes unless told otherwise) in front of
// its stream. A codec asks for bytes with Require(n); when fewer than n unread
// bytes remain, the unread tail moves to the front and the stream refills the rest,
// so the reader never asks the stream for more than its buffer holds (a one-byte
// buffer never reads ahead of the line it serves).
//
// MTextWriter gathers encoded bytes in its buffer and hands them to the stream
// when fewer bytes remain free than the next item needs, on Flush and on
// destruction. Flush is where write failures surface; the destructor swallows them.
//
// Neither owns its stream or codec; both must outlive it. One thread at a time.
#pragma once

#include <cstdint>

#include "foundation/text/codecs.h"
#include "foundation/text/text_string.h"

namespace kx {

class MStream;

class MTextReader {
 public:
  static constexpr int32_t kDefaultBufferSize = 1024;

  MTextReader(MStream& stream, MCodec& codec, int32_t bufferSize = kDefaultBufferSize);
  ~MTextReader();
  MTextReader(const MTextReader&) = delete;
  MTextReader& operator=(const MTextReader&) = delete;

  MCodec& Codec() const { return *codec_; }
  // Takes effect with the next line; bytes already buffered stay and are read by it.
  void SetCodec(MCodec& codec) { codec_ = &codec; }
  MStream& Stream() const { return *stream_; }

  // The next line through the codec; false at end of input.
  bool ReadLine(MString& line) { return codec_->ReadLine(*this, line); }
  void ReadHeader() { codec_->ReadHeader(*this); }

  // --- byte access for codecs
  // Makes at least `count` unread bytes available (at most the buffer size)
  // unless the stream ends first; returns how many are available.
  int32_t Require(int32_t count) {
    int32_t available = end_ - position_;
    return available >= count ? available : Refill(count);
  }
  int32_t Available() const { return end_ - position_; }
  const uint8_t* Data() const { return buffer_ + position_; }
  void Skip(int32_t count) { position_ += count; }
  // The next byte, or -1 at end of input.
  int ReadByte() {
    if (position_ == end_ && Refill(1) == 0) return -1;
    return buffer_[position_++];
  }
  int PeekByte() {
    if (position_ == end_ && Refill(1) == 0) return -1;
    return buffer_[position_];
  }

 private:
  int32_t Refill(int32_t count);

  MStream* stream_;
  MCodec* codec_;
  uint8_t* buffer_;
  int32_t size_;
  int32_t position_ = 0;  // first unread byte
  int32_t end_ = 0;       // one past the last buffered byte
};

class MTextWriter {
 public:
  static constexpr int32_t kDefaultBufferSize = 4096;

  MTextWriter(MStream& stream, MCodec& codec, int32_t bufferSize = kDefaultBufferSize);
  ~MTextWriter();
  MTextWriter(const MTextWriter&) = delete;
  MTextWriter& operator=(const MTextWriter&) = delete;

  MCodec& Codec() const { return *codec_; }
  void SetCodec(MCodec& codec) { codec_ = &codec; }
  MStream& Stream() const { return *stream_; }

  void Write(const MString& text) { codec_->Write(*this, text); }
  void WriteLine(const MString& text) { codec_->WriteLine(*this, text); }
  void WriteHeader() { codec_->WriteHeader(*this); }
  // Hands the buffered bytes to the stream.
  void Flush();

  // --- byte access for codecs
  // Room for at least `count` bytes: flushes first when less is free, and grows
  // the buffer for an item larger than all of it. Commit what was written.
  uint8_t* Space(int32_t count) {
    if (size_ - used_ < count) MakeSpace(count);
    return buffer_ + used_;
  }
  void Commit(int32_t count) { used_ += count; }
  int32_t Free() const { return size_ - used_; }

 private:
  void MakeSpace(int32_t count);

  MStream* stream_;
  MCodec* codec_;
  uint8_t* buffer_;
  int32_t size_;
  int32_t used_ = 0;
};

}  // namespace kx
