#include "foundation/streams/buffering_stream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/core/exception.h"

namespace kx {

MBlockPolicy::~MBlockPolicy() = default;
void MBlockPolicy::SetBlockSizes(int64_t, int64_t) {}
bool MBlockPolicy::MustTransform(int64_t) { return true; }

MBufferingStream::~MBufferingStream() {
  std::free(inputBuffer_);
  std::free(outputBuffer_);
}

void MBufferingStream::SetPolicy(MBlockPolicy* policy) {
  policy_ = policy;
  if (inputSize_ > 0) (policy_ ? policy_ : &plainPolicy_)->SetBlockSizes(inputSize_, outputSize_);
}

void MBufferingStream::SetBlockSizes(int64_t input, int64_t output) {
  if (input <= 0 || output <= 0) {
    throw MException(MString("Buffering stream has not been initialized."), kErrorNotInitialized);
  }
  auto* in = static_cast<uint8_t*>(std::realloc(inputBuffer_, static_cast<size_t>(input)));
  if (!in) throw std::bad_alloc();
  inputBuffer_ = in;
  auto* out = static_cast<uint8_t*>(std::realloc(outputBuffer_, static_cast<size_t>(output)));
  if (!out) throw std::bad_alloc();
  outputBuffer_ = out;
  inputSize_ = input;
  outputSize_ = output;
  writePosition_ = readPosition_ = readFill_ = writeIndex_ = readIndex_ = 0;
  readEnded_ = false;
  (policy_ ? policy_ : &plainPolicy_)->SetBlockSizes(input, output);
}

void MBufferingStream::CheckInitialized() const {
  if (!inputBuffer_ || !target_) {
    throw MException(MString("Buffering stream has not been initialized."), kErrorNotInitialized);
  }
}

void MBufferingStream::Write(const void* data, int64_t size) {
  CheckInitialized();
  const auto* bytes = static_cast<const uint8_t*>(data);
  MBlockPolicy& policy = policy_ ? *policy_ : plainPolicy_;
  while (size > 0) {
    int64_t take = std::min(size, inputSize_ - writePosition_);
    std::memcpy(inputBuffer_ + writePosition_, bytes, static_cast<size_t>(take));
    writePosition_ += take;
    bytes += take;
    size -= take;
    if (writePosition_ < inputSize_) break;
    if (policy.MustTransform(writeIndex_)) {
      EncodeBlock(inputBuffer_, outputBuffer_);
      target_->Write(outputBuffer_, outputSize_);
    } else {
      target_->Write(inputBuffer_, inputSize_);
    }
    ++writeIndex_;
    writePosition_ = 0;
  }
}

void MBufferingStream::Terminate() {
  CheckInitialized();
  if (writePosition_ > 0) target_->Write(inputBuffer_, writePosition_);
  writePosition_ = 0;
  writeIndex_ = 0;
}

bool MBufferingStream::FillReadBlock() {
  if (readEnded_) return false;
  MBlockPolicy& policy = policy_ ? *policy_ : plainPolicy_;
  bool transform = policy.MustTransform(readIndex_);
  int64_t want = transform ? outputSize_ : inputSize_;
  uint8_t* into = transform ? outputBuffer_ : inputBuffer_;
  int64_t got = 0;
  // A stream may deliver a block in pieces (a socket); only its end makes it short.
  while (got < want) {
    int64_t piece = target_->Read(into + got, want - got);
    if (piece <= 0) break;
    got += piece;
  }
  readPosition_ = 0;
  if (got == want) {
    if (transform) DecodeBlock(outputBuffer_, inputBuffer_);
    readFill_ = inputSize_;
    ++readIndex_;
    return true;
  }
  // The partial last block, stored as it is; it cannot exceed an input block.
  readEnded_ = true;
  got = std::min(got, inputSize_);
  if (transform && got > 0) std::memcpy(inputBuffer_, outputBuffer_, static_cast<size_t>(got));
  readFill_ = got;
  return got > 0;
}

int64_t MBufferingStream::Read(void* data, int64_t size) {
  CheckInitialized();
  auto* bytes = static_cast<uint8_t*>(data);
  int64_t delivered = 0;
  while (delivered < size) {
    if (readPosition_ >= readFill_ && !FillReadBlock()) break;
    int64_t take = std::min(size - delivered, readFill_ - readPosition_);
    std::memcpy(bytes + delivered, inputBuffer_ + readPosition_, static_cast<size_t>(take));
    readPosition_ += take;
    delivered += take;
  }
  return delivered;
}

void MBufferingStream::Flush() {
  CheckInitialized();
  target_->Flush();
}

bool MBufferingStream::IsEnd() {
  CheckInitialized();
  return readPosition_ >= readFill_ && (readEnded_ || target_->IsEnd());
}

}  // namespace kx
