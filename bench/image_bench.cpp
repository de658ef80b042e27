// Image decoding against the libraries called directly in their simplest way
// (libpng's simplified API, TurboJPEG) on the same 4096 x 4096 files, and a
// start of the font cache that finds three families with warm cache files.
#include <benchmark/benchmark.h>
#include <png.h>
#include <stdlib.h>
#include <turbojpeg.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "foundation/files/data_paths.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/fonts/font.h"
#include "media/fonts/font_cache.h"
#include "media/formats/image_formats.h"

namespace {

constexpr int32_t kSide = 4096;

// A photograph's worth of detail: smooth light with a little grain.
const kx::MBitmap& Picture() {
  static const kx::MBitmap picture = [] {
    kx::MBitmap bitmap(kSide, kSide);
    std::mt19937 random(11);
    for (int32_t y = 0; y < kSide; ++y) {
      uint8_t* row = bitmap.Row(y);
      for (int32_t x = 0; x < kSide; ++x) {
        int grain = static_cast<int>(random() % 9) - 4;
        row[x * 4] = static_cast<uint8_t>(std::clamp((x * 255 / kSide + grain), 0, 255));
        row[x * 4 + 1] = static_cast<uint8_t>(std::clamp(((x + y) * 127 / kSide + grain), 0, 255));
        row[x * 4 + 2] = static_cast<uint8_t>(std::clamp((y * 255 / kSide + grain), 0, 255));
        row[x * 4 + 3] = 255;
      }
    }
    return bitmap;
  }();
  return picture;
}

const std::string& Encoded(bool jpeg) {
  static const std::string png = [] {
    kx::MMemoryStream bytes;
    kx::SavePNG(Picture(), bytes);
    return std::string(bytes.View());
  }();
  static const std::string jpg = [] {
    kx::MMemoryStream bytes;
    kx::SaveJPEG(Picture(), bytes, 90);
    return std::string(bytes.View());
  }();
  return jpeg ? jpg : png;
}

void Decode(benchmark::State& state, bool jpeg) {
  const std::string& file = Encoded(jpeg);
  for (auto _ : state) {
    kx::MConstMemoryStream stream(file.data(), static_cast<int64_t>(file.size()));
    kx::MBitmap bitmap;
    if (jpeg)
      kx::LoadJPEG(bitmap, stream);
    else
      kx::LoadPNG(bitmap, stream);
    benchmark::DoNotOptimize(bitmap.Bytes());
  }
  state.SetBytesProcessed(state.iterations() * int64_t{kSide} * kSide * 4);
}

void Ours_DecodePNG4096(benchmark::State& state) { Decode(state, false); }
void Ours_DecodeJPEG4096(benchmark::State& state) { Decode(state, true); }

void Peer_DecodePNG4096(benchmark::State& state) {
  const std::string& file = Encoded(false);
  for (auto _ : state) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_memory(&image, file.data(), file.size());
    image.format = PNG_FORMAT_BGRA;
    std::unique_ptr<uint8_t[]> pixels(new uint8_t[PNG_IMAGE_SIZE(image)]);
    if (!png_image_finish_read(&image, nullptr, pixels.get(), 0, nullptr)) state.SkipWithError("libpng failed");
    benchmark::DoNotOptimize(pixels.get());
  }
  state.SetBytesProcessed(state.iterations() * int64_t{kSide} * kSide * 4);
}

void Peer_DecodeJPEG4096(benchmark::State& state) {
  const std::string& file = Encoded(true);
  const auto* data = reinterpret_cast<const unsigned char*>(file.data());
  for (auto _ : state) {
    tjhandle handle = tjInitDecompress();
    int width = 0, height = 0, subsampling = 0, colours = 0;
    tjDecompressHeader3(handle, data, file.size(), &width, &height, &subsampling, &colours);
    std::unique_ptr<uint8_t[]> pixels(new uint8_t[static_cast<size_t>(width) * height * 4]);
    if (tjDecompress2(handle, data, file.size(), pixels.get(), width, 0, height, TJPF_BGRA, 0) != 0)
      state.SkipWithError("TurboJPEG failed");
    tjDestroy(handle);
    benchmark::DoNotOptimize(pixels.get());
  }
  state.SetBytesProcessed(state.iterations() * int64_t{kSide} * kSide * 4);
}

// A home of its own, so that the real one is never touched; the cache files
// are made warm once, then every iteration starts as a new process would.
void WarmFontStartThreeFamilies(benchmark::State& state) {
  char folder[] = "/tmp/kestrix-font-bench-XXXXXX";
  if (!mkdtemp(folder)) {
    state.SkipWithError("no temporary folder");
    return;
  }
  std::string home = std::string(folder) + "/home";
  const char* const kVariables[] = {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"};
  const std::string values[] = {home, home + "/.config", home + "/.local/share"};
  std::string saved[3];
  bool wasSet[3];
  for (int i = 0; i < 3; ++i) {
    const char* old = getenv(kVariables[i]);
    wasSet[i] = old != nullptr;
    saved[i] = old ? old : "";
    setenv(kVariables[i], values[i].c_str(), 1);
  }
  kx::ForgetFolderTable();
  const kx::MString families[] = {kx::MString("DejaVu Sans"), kx::MString("DejaVu Serif"),
                                  kx::MString("DejaVu Sans Mono")};
  kx::MFont::Clear();
  for (const kx::MString& family : families) kx::FindSystemFont(family, kx::MFontStyle::kRegular);
  for (auto _ : state) {
    kx::MFont::Clear();
    for (const kx::MString& family : families)
      benchmark::DoNotOptimize(kx::FindSystemFont(family, kx::MFontStyle::kRegular));
  }
  kx::MFont::Clear();
  for (int i = 0; i < 3; ++i) {
    if (wasSet[i])
      setenv(kVariables[i], saved[i].c_str(), 1);
    else
      unsetenv(kVariables[i]);
  }
  kx::ForgetFolderTable();
  std::filesystem::remove_all(folder);
}

}  // namespace

BENCHMARK(Ours_DecodePNG4096)->Unit(benchmark::kMillisecond);
BENCHMARK(Peer_DecodePNG4096)->Unit(benchmark::kMillisecond);
BENCHMARK(Ours_DecodeJPEG4096)->Unit(benchmark::kMillisecond);
BENCHMARK(Peer_DecodeJPEG4096)->Unit(benchmark::kMillisecond);
BENCHMARK(WarmFontStartThreeFamilies)->Unit(benchmark::kMicrosecond);
