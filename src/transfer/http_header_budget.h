// MHTTPHeaderBudget: the stream the reply header is read through. It hands on the
// bytes of the stream below and counts them: once a line (up to its line feed or
// zero byte, where a text line ends) or the header as a whole passes its cap, it
// answers end of input and Exceeded() turns true. Whatever a server sends, the
// header reader then holds no more than the caps.
//
// It reads ahead of nothing: each Read asks the stream below for the same count.
// Neither owns the stream below; it must outlive the budget.
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

class MHTTPHeaderBudget : public MStream {
 public:
  MHTTPHeaderBudget(MStream& source, int64_t lineCap, int64_t totalCap)
      : source_(source), lineCap_(lineCap), totalCap_(totalCap) {}

  int64_t Read(void* data, int64_t size) override;
  bool Exceeded() const { return exceeded_; }

 private:
  MStream& source_;
  int64_t lineCap_;
  int64_t totalCap_;
  int64_t line_ = 0;   // bytes of the current line so far
  int64_t total_ = 0;  // bytes handed on
  bool exceeded_ = false;
};

}  // namespace kx
