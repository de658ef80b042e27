#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/streams/memory_stream.h"

namespace kx {

inline std::string ZlibInflate(std::string_view compressed, size_t limit) {
  std::string out(limit, '\0');
  uLongf length = static_cast<uLongf>(out.size());
  if (uncompress(reinterpret_cast<Bytef*>(out.data()), &length,
                 reinterpret_cast<const Bytef*>(compressed.data()),
                 static_cast<uLong>(compressed.size())) != Z_OK)
    return "(not zlib data)";
  out.resize(length);
  return out;
}

inline std::string ZlibDeflate(const std::string& data, int level) {
  uLongf length = compressBound(static_cast<uLong>(data.size()));
  std::string out(length, '\0');
  compress2(reinterpret_cast<Bytef*>(out.data()), &length,
            reinterpret_cast<const Bytef*>(data.data()), static_cast<uLong>(data.size()), level);
  out.resize(length);
  return out;
}

inline void FillStream(MMemoryStream& stream, const std::string& bytes) {
  stream.Write(bytes.data(), static_cast<int64_t>(bytes.size()));
  stream.Seek(0, kSeekBegin);
}

// Each Read hands out at most `piece` bytes of a string, every Write is kept
// apart, and everything else is the base's.
class PieceStream : public MStream {
 public:
  explicit PieceStream(std::string data = "", int64_t piece = INT64_MAX)
      : data_(std::move(data)), piece_(piece) {}
  int64_t Read(void* target, int64_t size) override {
    int64_t n = std::min({size, piece_, static_cast<int64_t>(data_.size()) - position_});
    if (n <= 0) return 0;
    std::memcpy(target, data_.data() + position_, static_cast<size_t>(n));
    position_ += n;
    return n;
  }
  void Write(const void* data, int64_t size) override {
    writes.emplace_back(static_cast<const char*>(data), static_cast<size_t>(size));
  }
  int64_t GetPosition() override { return position_; }
  int64_t GetSize() override { return static_cast<int64_t>(data_.size()); }
  std::string Written() const {
    std::string all;
    for (const std::string& w : writes) all += w;
    return all;
  }
  std::vector<std::string> writes;

 private:
  std::string data_;
  int64_t piece_;
  int64_t position_ = 0;
};

}  // namespace kx
