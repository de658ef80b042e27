// Helpers of the media tests: ImageMagick as the independent encoder and
// decoder, pixel comparison with its raw RGBA output, a deterministic test
// picture, MIMG headers, and the contact sheet that a person looks at.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "foundation/containers/containers.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "support/sandbox.h"

namespace kx {

// ImageMagick's convert from Debian; true when it exited with 0.
inline bool RunImageMagick(const std::vector<std::string>& arguments) {
  MString program(std::filesystem::exists("/usr/bin/convert") ? "/usr/bin/convert" : "convert");
  MArray<MString> parameters;
  for (const std::string& argument : arguments) parameters.Add(FromSystem(argument));
  return MFile::Execute(program, &parameters, MString(), true) == 0;
}

// ImageMagick's decoding of `path` as 8-bit R, G, B, A bytes, rows turned as
// the file's orientation says (ImageMagick keeps a TGA's bottom-up rows as
// stored and only notes the orientation).
inline std::string RawRGBA(const std::filesystem::path& path) {
  std::filesystem::path raw = path;
  raw += ".rgba";
  EXPECT_TRUE(RunImageMagick(
      {path.string() + "[0]", "-auto-orient", "-depth", "8", "rgba:" + raw.string()}));
  return ReadFileBytes(raw);
}

// The largest channel difference to raw RGBA bytes of the same size (-1 when
// the sizes differ). Colours of pixels that are fully transparent in both do
// not count: they cannot be seen.
inline int MaxDifference(const MBitmap& bitmap, const std::string& rgba) {
  if (static_cast<int64_t>(rgba.size()) != int64_t{bitmap.Width()} * bitmap.Height() * 4) return -1;
  const uint8_t* ours = bitmap.Bytes();
  const auto* theirs = reinterpret_cast<const uint8_t*>(rgba.data());
  int worst = 0;
  for (size_t i = 0; i < rgba.size(); i += 4) {
    if (ours[i + 3] == 0 && theirs[i + 3] == 0) continue;
    static const int kOrder[4] = {2, 1, 0, 3};  // theirs R, G, B, A against ours B, G, R, A
    for (int c = 0; c < 4; ++c)
      worst = std::max(worst, std::abs(ours[i + kOrder[c]] - theirs[i + c]));
  }
  return worst;
}

// Smooth ramps, one per channel, alpha from left to right: every channel varies
// and JPEG can keep them.
inline MBitmap TestPicture(int32_t width, int32_t height) {
  MBitmap bitmap(width, height);
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* pixel = bitmap.Row(y) + x * 4;
      pixel[0] = static_cast<uint8_t>((x + y) * 255 / std::max(1, width + height - 2));
      pixel[1] = static_cast<uint8_t>(x * 255 / std::max(1, width - 1));
      pixel[2] = static_cast<uint8_t>(y * 255 / std::max(1, height - 1));
      pixel[3] = static_cast<uint8_t>(255 - x * 200 / std::max(1, width - 1));
    }
  return bitmap;
}

// A MIMG header with these fields (the first block's length that of `body`
// unless given), followed by `body`.
inline std::string MIMGFile(int32_t width, int32_t height, int32_t type,
                            const std::string& body = std::string(),
                            std::optional<int32_t> firstSize = std::nullopt) {
  std::string file = "MIMG";
  const int32_t fields[6] = {
      width, height, 0, type, firstSize.value_or(static_cast<int32_t>(body.size())), 0};
  file.append(reinterpret_cast<const char*>(fields), sizeof(fields));
  file.append(8, '\xff');
  return file + body;
}

// A sheet of tiles over a chequered ground (so that alpha shows), written as a
// PNG for a person to look at.
class MContactSheet {
 public:
  MContactSheet(int32_t width, int32_t height) : sheet_(width, height) {
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x)
        sheet_.Pixels()[y * width + x] = (x / 8 + y / 8) % 2 ? 0xFFC8C8C8u : 0xFFF5F5F5u;
  }

  // Puts the bitmap, scaled up by `zoom`, at the next place of the grid.
  void AddTile(const MBitmap& tile, int32_t zoom) {
    if (x_ + tile.Width() * zoom > sheet_.Width()) {
      x_ = 4;
      y_ += rowHeight_ + 4;
      rowHeight_ = 0;
    }
    for (int32_t y = 0; y < tile.Height() * zoom && y_ + y < sheet_.Height(); ++y)
      for (int32_t x = 0; x < tile.Width() * zoom && x_ + x < sheet_.Width(); ++x) {
        const uint8_t* from = tile.Row(y / zoom) + (x / zoom) * 4;
        uint8_t* to = sheet_.Row(y_ + y) + (x_ + x) * 4;
        for (int c = 0; c < 3; ++c)
          to[c] = static_cast<uint8_t>((from[c] * from[3] + to[c] * (255 - from[3])) / 255);
      }
    x_ += tile.Width() * zoom + 4;
    rowHeight_ = std::max(rowHeight_, tile.Height() * zoom);
  }

  void Save(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    MMemoryStream bytes;
    sheet_.SavePNG(bytes);
    MFile::WriteAll(FromSystem(path.string()), bytes.View());
  }

 private:
  MBitmap sheet_;
  int32_t x_ = 4, y_ = 4, rowHeight_ = 0;
};

}  // namespace kx
