// resource_build: the command-line driver of bench/peer-resources.sh.
//
//   resource_build generate <folder> <MiB> <files>   deterministic mixed content
//   resource_build build <folder> <library> <flags>  a large library of the folder
//   resource_build verify <folder> <library>         every stored file against its source
//
// The generated content mixes what packages hold: text and mark-up that
// compresses well, sampled audio that hardly does, tables and code-like binaries
// in between, and some noise; the sizes spread from a few KiB to a few MiB.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

// xorshift64*: fixed, so that every run and every machine gets the same data.
struct Random {
  uint64_t state;
  uint64_t Next() {
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return state * 0x2545F4914F6CDD1DULL;
  }
  double Unit() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }
};

const char* const kWords[] = {
    "the", "preset", "filter", "cutoff", "resonance", "envelope", "attack", "decay", "sustain",
    "release", "oscillator", "wavetable", "modulation", "matrix", "voice", "polyphony", "legato",
    "glide", "tempo", "sync", "delay", "reverb", "chorus", "phaser", "flanger", "distortion", "gain",
    "output", "input", "channel", "stereo", "width", "pan", "level", "meter", "sample", "rate",
    "buffer", "latency", "plug-in", "host", "install", "version", "kernel", "library", "content",
    "instrument", "drum", "kit", "bass", "lead", "pad", "keys", "strings", "brass", "a", "of", "and",
    "to", "in", "is", "for", "with", "on", "by", "this", "that", "from", "value", "range"};
constexpr int kWordCount = sizeof kWords / sizeof kWords[0];

void Text(Random& random, std::string& out, size_t size) {
  while (out.size() < size) {
    int words = 4 + static_cast<int>(random.Next() % 12);
    for (int i = 0; i < words; ++i) {
      // Frequent words come first in the list: a skew like that of language.
      double u = random.Unit();
      out += kWords[static_cast<int>(u * u * kWordCount)];
      out += (random.Next() % 17 == 0) ? ", " : " ";
    }
    if (random.Next() % 3 == 0) out += std::to_string(random.Next() % 100000);
    out += ".\n";
  }
}

void Markup(Random& random, std::string& out, size_t size) {
  out += "<?xml version=\"1.0\"?>\n<presets>\n";
  while (out.size() < size) {
    out += "  <preset name=\"";
    out += kWords[random.Next() % kWordCount];
    out += std::to_string(random.Next() % 1000) + "\">\n";
    for (int i = 0; i < 8; ++i) {
      out += "    <param id=\"";
      out += kWords[random.Next() % kWordCount];
      out += "\" value=\"" + std::to_string(static_cast<double>(random.Next() % 100000) / 1000.0) + "\"/>\n";
    }
    out += "  </preset>\n";
  }
}

void Audio(Random& random, std::string& out, size_t size) {
  double frequency[3] = {50 + random.Unit() * 400, 200 + random.Unit() * 2000, 1000 + random.Unit() * 5000};
  for (size_t n = 0; out.size() + 2 <= size; ++n) {
    double t = static_cast<double>(n) / 44100.0;
    double value = 0.4 * std::sin(6.283185307 * frequency[0] * t) + 0.2 * std::sin(6.283185307 * frequency[1] * t) +
                   0.1 * std::sin(6.283185307 * frequency[2] * t) + 0.05 * (random.Unit() - 0.5);
    auto sample = static_cast<int16_t>(value * 32000.0);
    out.append(reinterpret_cast<const char*>(&sample), 2);
  }
}

void Binary(Random& random, std::string& out, size_t size) {
  // Code-like: opcodes from a small set, addresses that repeat, runs of zeros.
  static const unsigned char kOps[] = {0x48, 0x89, 0x8b, 0xe8, 0xc3, 0x0f, 0x85, 0x74, 0x83, 0xff};
  while (out.size() < size) {
    switch (random.Next() % 5) {
      case 0: out.append(static_cast<size_t>(random.Next() % 64), '\0'); break;
      case 1: {
        uint32_t address = 0x401000 + static_cast<uint32_t>(random.Next() % 4096) * 16;
        out.append(reinterpret_cast<const char*>(&address), 4);
        break;
      }
      default:
        for (int i = 0; i < 12; ++i) out += static_cast<char>(kOps[random.Next() % sizeof kOps]);
    }
  }
}

void Noise(Random& random, std::string& out, size_t size) {
  while (out.size() < size) {
    uint64_t word = random.Next();
    out.append(reinterpret_cast<const char*>(&word), 8);
  }
}

int Generate(const MString& folder, int64_t mebibytes, int files) {
  Random random{0x9E3779B97F4A7C15ULL};
  // Sizes spread evenly on a log scale from 2 KiB to 4 MiB, then scaled to the total.
  std::vector<double> sizes(static_cast<size_t>(files));
  double sum = 0;
  for (double& size : sizes) sum += size = std::exp(std::log(2048.0) + random.Unit() * std::log(2048.0));
  int64_t total = mebibytes << 20;
  int64_t written = 0;
  std::string content;
  for (int i = 0; i < files; ++i) {
    auto size = static_cast<size_t>(i + 1 == files ? total - written : sizes[i] / sum * total);
    content.clear();
    content.reserve(size + 64);
    const char* extension;
    double kind = random.Unit();
    if (kind < 0.30) Text(random, content, size), extension = "txt";
    else if (kind < 0.45) Markup(random, content, size), extension = "xml";
    else if (kind < 0.70) Audio(random, content, size), extension = "wav";
    else if (kind < 0.92) Binary(random, content, size), extension = "dll";
    else Noise(random, content, size), extension = "bin";
    content.resize(size);
    char name[64];
    std::snprintf(name, sizeof name, "group%02d/set%d/file%04d.%s", i % 23, i % 5, i, extension);
    MString path = JoinPath(folder, MString(name));
    MFile::CreatePath(GetDirectory(path));
    MFile::WriteAll(path, content);
    written += static_cast<int64_t>(size);
  }
  std::printf("generated %d files, %lld bytes\n", files, static_cast<long long>(written));
  return 0;
}

void FolderTree(const MString& folder, MXMLItem& tree) {
  MArray<MString> names;
  MFile::GetFileListRecursed(folder, names);
  tree.SetName(MString("package"));
  for (const MString& name : names) tree.AddSubItem(MString("file")).SetAttribute("path", MVariant(name));
}

int Build(const MString& folder, const MString& library, uint32_t flags) {
  MXMLItem tree;
  FolderTree(folder, tree);
  auto start = std::chrono::steady_clock::now();
  MFileStream target(library, MFileStream::kModeCreate);
  MResourceLibrary::Build(tree, target, flags, MResourceLibrary::SourceFolderOpener(folder));
  target.Close();
  std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("built %d files with flags %u in %.3f s\n", tree.subItemCount, flags, seconds.count());
  return 0;
}

int Verify(const MString& folder, const MString& path) {
  MResourceLibrary library;
  library.OpenLarge(path);
  int checked = 0;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(library.GetDefinition()); item; item = walk.Next()) {
    if (item->name != "file") continue;
    std::unique_ptr<MStream> content = library.OpenFile(*item);
    MFileStream source(JoinPath(folder, item->GetAttribute("path").AsString()), MFileStream::kModeRead);
    if (CompareStreams(*content, source) != 0) {
      std::fprintf(stderr, "differs: %s\n", ToStd(item->GetAttribute("path").AsString()).c_str());
      return 1;
    }
    ++checked;
  }
  std::printf("verified %d files\n", checked);
  return 0;
}

int Run(int count, char** arguments) {
  std::string command = count > 1 ? arguments[1] : "";
  auto text = [&](int i) { return FromSystem(arguments[i]); };
  if (command == "generate" && count == 5) return Generate(text(2), std::atoll(arguments[3]), std::atoi(arguments[4]));
  if (command == "build" && count == 5)
    return Build(text(2), text(3), static_cast<uint32_t>(std::strtoul(arguments[4], nullptr, 0)));
  if (command == "verify" && count == 4) return Verify(text(2), text(3));
  std::fprintf(stderr,
               "usage: resource_build generate <folder> <MiB> <files>\n"
               "       resource_build build <folder> <library> <flags>\n"
               "       resource_build verify <folder> <library>\n");
  return 2;
}

}  // namespace
}  // namespace kx

int main(int count, char** arguments) {
  try {
    return kx::Run(count, arguments);
  } catch (const kx::MException& failure) {
    std::fprintf(stderr, "%s\n", kx::ToStd(failure.message).c_str());
    return 1;
  }
}
