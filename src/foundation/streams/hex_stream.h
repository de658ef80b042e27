// MHexStream: a stream seen through hexadecimal text. What is written to it reaches
// the wrapped stream as upper-case digit pairs (MStream::WriteHex); what is read
// from it is decoded from pairs read from the wrapped stream (MStream::ReadHex),
// where a bad digit throws "Invalid character to be converted to a number.".
#pragma once

#include "foundation/streams/stream.h"

namespace kx {

class MHexStream : public MStream {
 public:
  // `inner` must outlive this stream.
  explicit MHexStream(MStream& inner) : inner_(inner) {}

  MStream* GetSubstream() override { return &inner_; }
  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  void Flush() override;
  bool IsEnd() override;

 private:
  MStream& inner_;
};

}  // namespace kx
