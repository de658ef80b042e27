// Small helpers shared by the stream tests: the failure a body throws (and a check of it),
// reproducible random bytes, and a stream whose memory runs out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"

namespace kx {

// The MException that `body` throws; code 9999 with "(no exception)" when none.
inline MException Failure(const std::function<void()>& body) {
  try {
    body();
  } catch (const MException& e) {
    return e;
  }
  return MException(MString("(no exception)"), 9999);
}

// The failure `body` throws must be this one, message and code both.
inline void ExpectFailure(const std::function<void()>& body, const std::string& message,
                          uint32_t code) {
  MException e = Failure(body);
  EXPECT_EQ(ToStd(e.message), message);
  EXPECT_EQ(e.code, code) << message;
}

inline std::string RandomBytes(size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string data(size, '\0');
  for (auto& c : data) c = static_cast<char>(random());
  return data;
}

// Gives its bytes, then fails as an allocation deep in a decoder would.
class MExhaustingStream : public MStream {
 public:
  explicit MExhaustingStream(std::string bytes) : bytes_(std::move(bytes)) {}
  int64_t Read(void* data, int64_t size) override {
    if (position_ >= static_cast<int64_t>(bytes_.size())) throw std::bad_alloc();
    int64_t n = std::min(size, static_cast<int64_t>(bytes_.size()) - position_);
    std::memcpy(data, bytes_.data() + position_, static_cast<size_t>(n));
    position_ += n;
    return n;
  }
  int64_t Seek(int64_t offset, MSeekOrigin origin) override {
    return position_ = origin == kSeekBegin ? offset : position_ + offset;
  }
  int64_t GetPosition() override { return position_; }

 private:
  std::string bytes_;
  int64_t position_ = 0;
};

}  // namespace kx
