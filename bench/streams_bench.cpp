// Stream throughput against the libraries underneath: MD5 of MHashStream against
// OpenSSL's, and inflating through MZLIBStream and MBZIP2Stream against calling
// zlib and bzip2 directly on the same compressed bytes.
#include <benchmark/benchmark.h>
#include <bzlib.h>
#include <openssl/evp.h>
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "foundation/compression/bzip2_stream.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/compression/zlib_stream.h"

namespace {

constexpr size_t kHashBlock = 32 << 20;   // written 8 times: 256 MiB per iteration
constexpr int kHashRepeats = 8;
constexpr size_t kInflateSize = 32 << 20;
constexpr size_t kBzip2Size = 4 << 20;
constexpr size_t kOutputBlock = 65536;    // what CopyStream asks for at a time

const std::string& RandomBlock() {
  static const std::string block = [] {
    std::mt19937_64 random(5);
    std::string data(kHashBlock, '\0');
    for (size_t i = 0; i + 8 <= data.size(); i += 8) {
      uint64_t value = random();
      std::memcpy(&data[i], &value, 8);
    }
    return data;
  }();
  return block;
}

// Package-like content: text with some noise, compressing about 4:1.
std::string SampleContent(size_t size) {
  std::mt19937 random(17);
  static const char* kWords[] = {"Tonvault ", "Kitvault ", "preset ", "0.125 ", "sample ", "\r\n"};
  std::string data;
  data.reserve(size + 16);
  while (data.size() < size) {
    data += kWords[random() % 6];
    if (random() % 3 == 0) data += static_cast<char>(random());
  }
  data.resize(size);
  return data;
}

const std::string& ZlibData() {
  static const std::string compressed = [] {
    std::string data = SampleContent(kInflateSize);
    uLongf length = compressBound(static_cast<uLong>(data.size()));
    std::string out(length, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &length,
              reinterpret_cast<const Bytef*>(data.data()), static_cast<uLong>(data.size()), 9);
    out.resize(length);
    return out;
  }();
  return compressed;
}

const std::string& Bzip2Data() {
  static const std::string compressed = [] {
    std::string data = SampleContent(kBzip2Size);
    unsigned int length = static_cast<unsigned int>(data.size() + data.size() / 50 + 1024);
    std::string out(length, '\0');
    BZ2_bzBuffToBuffCompress(out.data(), &length, data.data(), static_cast<unsigned int>(data.size()), 9,
                             0, 30);
    out.resize(length);
    return out;
  }();
  return compressed;
}

void Ours_MD5(benchmark::State& state) {
  const std::string& block = RandomBlock();
  kx::MHashStream hash;
  for (auto _ : state) {
    hash.Reset();
    for (int i = 0; i < kHashRepeats; ++i) hash.Write(block.data(), static_cast<int64_t>(block.size()));
    hash.Finish();
    benchmark::DoNotOptimize(hash.Digest()[0]);
  }
  state.SetBytesProcessed(state.iterations() * kHashRepeats * static_cast<int64_t>(kHashBlock));
}
BENCHMARK(Ours_MD5)->Unit(benchmark::kMillisecond);

void Peer_MD5(benchmark::State& state) {
  const std::string& block = RandomBlock();
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  for (auto _ : state) {
    EVP_DigestInit_ex(context, EVP_md5(), nullptr);
    for (int i = 0; i < kHashRepeats; ++i) EVP_DigestUpdate(context, block.data(), block.size());
    EVP_DigestFinal_ex(context, digest, &length);
    benchmark::DoNotOptimize(digest[0]);
  }
  EVP_MD_CTX_free(context);
  state.SetBytesProcessed(state.iterations() * kHashRepeats * static_cast<int64_t>(kHashBlock));
}
BENCHMARK(Peer_MD5)->Unit(benchmark::kMillisecond);

// Reads a whole decompressing stream in CopyStream-sized requests.
template <typename Stream>
void InflateThrough(benchmark::State& state, const std::string& compressed, size_t expected) {
  std::vector<char> out(kOutputBlock);
  for (auto _ : state) {
    kx::MConstMemoryStream source(compressed.data(), static_cast<int64_t>(compressed.size()));
    Stream stream;
    stream.Init(&source, false);
    size_t total = 0;
    while (int64_t got = stream.Read(out.data(), static_cast<int64_t>(out.size()))) {
      total += static_cast<size_t>(got);
    }
    stream.Terminate();
    if (total != expected) state.SkipWithError("wrong size");
    benchmark::DoNotOptimize(out[0]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(expected));
}

void Ours_ZlibInflate(benchmark::State& state) { InflateThrough<kx::MZLIBStream>(state, ZlibData(), kInflateSize); }
BENCHMARK(Ours_ZlibInflate)->Unit(benchmark::kMillisecond);

void Peer_ZlibInflate(benchmark::State& state) {
  const std::string& compressed = ZlibData();
  std::vector<unsigned char> out(kOutputBlock);
  for (auto _ : state) {
    z_stream z{};
    inflateInit(&z);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    z.avail_in = static_cast<uInt>(compressed.size());
    size_t total = 0;
    int result;
    do {
      z.next_out = out.data();
      z.avail_out = static_cast<uInt>(out.size());
      result = inflate(&z, Z_SYNC_FLUSH);
      total += out.size() - z.avail_out;
    } while (result == Z_OK);
    inflateEnd(&z);
    if (total != kInflateSize) state.SkipWithError("wrong size");
    benchmark::DoNotOptimize(out[0]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kInflateSize));
}
BENCHMARK(Peer_ZlibInflate)->Unit(benchmark::kMillisecond);

void Ours_Bzip2Inflate(benchmark::State& state) { InflateThrough<kx::MBZIP2Stream>(state, Bzip2Data(), kBzip2Size); }
BENCHMARK(Ours_Bzip2Inflate)->Unit(benchmark::kMillisecond);

void Peer_Bzip2Inflate(benchmark::State& state) {
  const std::string& compressed = Bzip2Data();
  std::vector<char> out(kOutputBlock);
  for (auto _ : state) {
    bz_stream bz{};
    BZ2_bzDecompressInit(&bz, 0, 0);
    bz.next_in = const_cast<char*>(compressed.data());
    bz.avail_in = static_cast<unsigned int>(compressed.size());
    size_t total = 0;
    int result;
    do {
      bz.next_out = out.data();
      bz.avail_out = static_cast<unsigned int>(out.size());
      result = BZ2_bzDecompress(&bz);
      total += out.size() - bz.avail_out;
    } while (result == BZ_OK);
    BZ2_bzDecompressEnd(&bz);
    if (total != kBzip2Size) state.SkipWithError("wrong size");
    benchmark::DoNotOptimize(out[0]);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBzip2Size));
}
BENCHMARK(Peer_Bzip2Inflate)->Unit(benchmark::kMillisecond);

}  // namespace
