// Copying and appending MString against std::u16string.
//
// Copy: a short text (inline for us, small-buffer for the peer) and a long one
// (a shared buffer for us: a reference count; a heap copy for the peer).
// Append: building a 200-unit text unit by unit and in 8-bit runs.
// Search: the quick-search searcher against std::u16string::find in a long text.
#include <benchmark/benchmark.h>

#include <string>

#include "foundation/text/text_searcher.h"
#include "foundation/text/text_string.h"

namespace {

const char16_t kShort[] = u"Tonvault_Factory.pkgm";
const char16_t kLong[] =
    u"/home/user/.local/share/Vorlund/Downloader/Packages/Tonvault/"
    u"Tonvault_Factory_Library_1.2.0_with_a_long_tail.pkgm";

void Ours_StringCopyShort(benchmark::State& state) {
  kx::MString source(kShort);
  for (auto _ : state) {
    kx::MString copy = source;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(Ours_StringCopyShort);

void Peer_StringCopyShort(benchmark::State& state) {
  std::u16string source(kShort);
  for (auto _ : state) {
    std::u16string copy = source;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(Peer_StringCopyShort);

void Ours_StringCopy(benchmark::State& state) {
  kx::MString source(kLong);
  for (auto _ : state) {
    kx::MString copy = source;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(Ours_StringCopy);

void Peer_StringCopy(benchmark::State& state) {
  std::u16string source(kLong);
  for (auto _ : state) {
    std::u16string copy = source;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(Peer_StringCopy);

void Ours_StringAppend(benchmark::State& state) {
  for (auto _ : state) {
    kx::MString text;
    for (int i = 0; i < 200; ++i) text.Append(static_cast<char16_t>('a' + i % 26));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(Ours_StringAppend);

void Peer_StringAppend(benchmark::State& state) {
  for (auto _ : state) {
    std::u16string text;
    for (int i = 0; i < 200; ++i) text.push_back(static_cast<char16_t>('a' + i % 26));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(Peer_StringAppend);

void Ours_StringAppendRuns(benchmark::State& state) {
  for (auto _ : state) {
    kx::MString text("Line: ");
    for (int i = 0; i < 20; ++i) text.Append("0123456789", 10);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(Ours_StringAppendRuns);

void Peer_StringAppendRuns(benchmark::State& state) {
  for (auto _ : state) {
    std::u16string text(u"Line: ");
    for (int i = 0; i < 20; ++i) text.append(u"0123456789", 10);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(Peer_StringAppendRuns);

// A 64 KiB UTF-8 block with the pattern at its end, as in a catalogue scan.
std::string Haystack() {
  std::string text;
  while (text.size() < 65536) text += "<item name=\"Tonvault Factory\" version=\"1.2.0\"/>\n";
  return text + "<item name=\"Kitvault Expansion\"/>";
}

void Ours_StringSearch(benchmark::State& state) {
  std::string text = Haystack();
  kx::MTextSearcher searcher("Kitvault Expansion");
  for (auto _ : state)
    benchmark::DoNotOptimize(searcher.FindInBytes(text.data(), static_cast<int64_t>(text.size())));
}
BENCHMARK(Ours_StringSearch);

void Peer_StringSearch(benchmark::State& state) {
  std::string text = Haystack();
  for (auto _ : state) benchmark::DoNotOptimize(text.find("Kitvault Expansion"));
}
BENCHMARK(Peer_StringSearch);

}  // namespace
