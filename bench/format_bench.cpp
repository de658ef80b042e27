// Composing a typical progress log line: MFormat against snprintf into a std::string.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "foundation/text/format.h"

namespace {

constexpr int64_t kTotalBytes = 73400320;

void Ours_LogLine(benchmark::State& state) {
  kx::MString name = "Tonvault_Factory_Library_1.2.0.pkgm";
  int64_t done = 1048576;
  for (auto _ : state) {
    benchmark::DoNotOptimize(done);
    double percent = 100.0 * static_cast<double>(done) / static_cast<double>(kTotalBytes);
    kx::MString line = kx::MFormat("Downloading {0} ({1} of {2} bytes, {3.1}%)")
                           .Add(name)
                           .Add(done)
                           .Add(kTotalBytes)
                           .Add(percent);
    benchmark::DoNotOptimize(line);
    done = done < kTotalBytes ? done + 65536 : 0;
  }
}
BENCHMARK(Ours_LogLine);

void Peer_LogLine(benchmark::State& state) {
  const char* name = "Tonvault_Factory_Library_1.2.0.pkgm";
  int64_t done = 1048576;
  for (auto _ : state) {
    benchmark::DoNotOptimize(done);
    double percent = 100.0 * static_cast<double>(done) / static_cast<double>(kTotalBytes);
    char buffer[256];
    int length = std::snprintf(buffer, sizeof buffer, "Downloading %s (%lld of %lld bytes, %.1f%%)",
                               name, static_cast<long long>(done),
                               static_cast<long long>(kTotalBytes), percent);
    std::string line(buffer, static_cast<size_t>(length));
    benchmark::DoNotOptimize(line);
    done = done < kTotalBytes ? done + 65536 : 0;
  }
}
BENCHMARK(Peer_LogLine);

}  // namespace
