// MBufferingStream: a block transform in front of another stream (the target).
//
// SetBlockSizes(input, output) sizes the two buffers: a full input block of
// `input` bytes is encoded into `output` bytes. Write gathers input blocks; each
// full block goes out encoded when the policy asks for it, else as it is. The last,
// partial block goes out as it is when the owner calls Terminate(), which must
// follow the last Write. Read takes the blocks back in the same order, decoding
// those the policy names, and hands them out piecewise; a short block at the end of
// the target is the partial last block.
//
// A subclass supplies EncodeBlock and DecodeBlock. The policy (by default one that
// transforms every full block) is not owned. Using the stream before SetBlockSizes
// throws "Buffering stream has not been initialized." (code 258).
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

// Tells whether the full block number `index` (counted from 0) is transformed.
class MBlockPolicy {
 public:
  virtual ~MBlockPolicy();
  virtual void SetBlockSizes(int64_t input, int64_t output);
  virtual bool MustTransform(int64_t index);
};

class MBufferingStream : public MStream {
 public:
  explicit MBufferingStream(MStream* target = nullptr) : target_(target) {}
  ~MBufferingStream() override;

  void SetTarget(MStream* target) { target_ = target; }
  void SetPolicy(MBlockPolicy* policy);
  void SetBlockSizes(int64_t input, int64_t output);

  MStream* GetSubstream() override { return target_; }
  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  void Flush() override;
  bool IsEnd() override;

  // After slot 15: the transform and the end of writing.
  // Encodes `inputSize` bytes into exactly the output size.
  virtual void EncodeBlock(const uint8_t* input, uint8_t* output) = 0;
  // Decodes an output-sized block back into the input size.
  virtual void DecodeBlock(const uint8_t* output, uint8_t* input) = 0;
  // Writes the partial block that is left; the stream can be written anew afterwards.
  virtual void Terminate();

 private:
  void CheckInitialized() const;
  bool FillReadBlock();

  MStream* target_;
  MBlockPolicy* policy_ = nullptr;
  MBlockPolicy plainPolicy_;
  uint8_t* inputBuffer_ = nullptr;
  uint8_t* outputBuffer_ = nullptr;
  int64_t inputSize_ = 0;
  int64_t outputSize_ = 0;
  int64_t writePosition_ = 0;  // bytes gathered in inputBuffer_
  int64_t readPosition_ = 0;   // bytes of inputBuffer_ handed out
  int64_t readFill_ = 0;       // bytes of the current read block
  int64_t writeIndex_ = 0;     // full blocks written
  int64_t readIndex_ = 0;      // full blocks read
  bool readEnded_ = false;
};

}  // namespace kx
