// Loading the package database, 20,000 `packages` elements with two versions
// each (the shape bench/make-package-db.py writes), from memory: the binary
// form against the text form of the same tree. Both go through LoadAny, as
// every data file of the program does. The pairs read as "MBX time / XML time".
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"

namespace {

// The text form, built the way the generator script builds it (its own
// pseudo-random numbers; only the shape and the sizes matter).
std::string PackageDatabaseXML(int count) {
  static const char* const kFolders[] = {"BINEffects", "BINInstruments", "Presets",
                                         "Content",    "Manuals",        "Skins"};
  static const char* const kKinds[] = {"binx64", "data", "vst3", "aax"};
  uint64_t seed = 4;
  auto next = [&seed](uint64_t range) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return (seed >> 33) % range;
  };
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<PackageDatabase>\n";
  char line[256];
  for (int i = 0; i < count; ++i) {
    std::snprintf(line, sizeof line, "\t<packages name=\"%s_%s%05d\">\n", kFolders[next(6)],
                  kKinds[next(4)], i);
    text += line;
    for (int beta = 0; beta < 2; ++beta) {
      std::snprintf(line, sizeof line,
                    "\t\t<item version=\"%d.%02d\" size=\"%d\" beta=\"%d\" time=\"20%02d-%02d-%02d "
                    "%02d:%02d\"/>\n",
                    15 + beta, static_cast<int>(next(100)),
                    static_cast<int>(10000 + next(400000000)), beta, static_cast<int>(18 + next(7)),
                    static_cast<int>(1 + next(12)), static_cast<int>(1 + next(28)),
                    static_cast<int>(next(24)), static_cast<int>(next(60)));
      text += line;
    }
    text += "\t</packages>\n";
  }
  text += "</PackageDatabase>\n";
  return text;
}

struct Forms {
  std::string xml;
  std::string mbx;
  std::string compressedMBX;
};

const Forms& TheForms() {
  static const Forms forms = [] {
    Forms made;
    made.xml = PackageDatabaseXML(20000);
    kx::MConstMemoryStream input(made.xml.data(), static_cast<int64_t>(made.xml.size()));
    kx::MXMLItem tree;
    tree.LoadXML(input);
    kx::MMemoryStream plain;
    tree.SaveMBX(plain, false);
    made.mbx = std::string(plain.View());
    kx::MMemoryStream packed;
    tree.SaveMBX(packed, true);
    made.compressedMBX = std::string(packed.View());
    return made;
  }();
  return forms;
}

// The load into an empty tree; taking the previous tree down is left out of
// the time (the same work for both forms, and not part of a load).
void Load(benchmark::State& state, const std::string& bytes) {
  kx::MXMLItem tree;
  for (auto _ : state) {
    state.PauseTiming();
    tree.Clear();
    state.ResumeTiming();
    kx::MConstMemoryStream input(bytes.data(), static_cast<int64_t>(bytes.size()));
    tree.LoadAny(input);
    benchmark::DoNotOptimize(tree.subItemCount);
  }
  if (tree.subItemCount != 20000) state.SkipWithError("the tree did not load");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bytes.size()));
}

// Ours: the binary form. Peer: the text form of the same tree.
void Ours_LoadMBX_vs_LoadXML(benchmark::State& state) {
  Load(state, TheForms().mbx);
}
void Peer_LoadMBX_vs_LoadXML(benchmark::State& state) {
  Load(state, TheForms().xml);
}
void Ours_LoadCompressedMBX_vs_LoadXML(benchmark::State& state) {
  Load(state, TheForms().compressedMBX);
}
void Peer_LoadCompressedMBX_vs_LoadXML(benchmark::State& state) {
  Load(state, TheForms().xml);
}

// Text of one element cut into pieces by many empty child elements, as in
// "<r>w <i/>w <i/>...</r>": every piece is joined to the value already read. The
// range is the size of the text in bytes; the fitted complexity must read N.
void LoadXML_TextSplitByItems(benchmark::State& state) {
  const int64_t size = state.range(0);
  std::string text = "<r>";
  while (static_cast<int64_t>(text.size()) < size) text += "word <i/>";
  text += "</r>";
  kx::MXMLItem tree;
  for (auto _ : state) {
    state.PauseTiming();
    tree.Clear();
    state.ResumeTiming();
    kx::MConstMemoryStream input(text.data(), static_cast<int64_t>(text.size()));
    tree.LoadXML(input);
    benchmark::DoNotOptimize(tree.value.Text().Length());
  }
  state.SetComplexityN(size);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * size);
}

BENCHMARK(LoadXML_TextSplitByItems)
    ->RangeMultiplier(4)
    ->Range(int64_t{64} << 10, int64_t{4} << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

BENCHMARK(Ours_LoadMBX_vs_LoadXML)->Unit(benchmark::kMillisecond);
BENCHMARK(Peer_LoadMBX_vs_LoadXML)->Unit(benchmark::kMillisecond);
BENCHMARK(Ours_LoadCompressedMBX_vs_LoadXML)->Unit(benchmark::kMillisecond);
BENCHMARK(Peer_LoadCompressedMBX_vs_LoadXML)->Unit(benchmark::kMillisecond);

}  // namespace
