// Helpers for the resource library tests: deterministic file contents, a source
// folder with its tree, and whole-stream reads.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "foundation/resources/resource_library.h"
#include "foundation/resources/resource_small_writer.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "support/file_test_support.h"

namespace kx {

// Text that compresses, with a random sprinkle so that it is not trivial.
inline std::string TextBytes(size_t size, unsigned seed) {
  std::mt19937 random(seed);
  static const char* kWords[] = {"plug-in ", "preset ", "install ", "kernel ", "vst3 ", "\n"};
  std::string data;
  while (data.size() < size) {
    data += kWords[random() % 6];
    if (random() % 7 == 0) data += static_cast<char>(random());
  }
  data.resize(size);
  return data;
}

// A small library named "solution" holding `text` as the resource `id`.
inline std::string SmallLibraryOf(const char* id, const std::string& text) {
  MSmallLibraryWriter writer(MString("solution"));
  writer.Add(MString(id), text.data(), static_cast<int64_t>(text.size()), false);
  MMemoryStream bytes;
  writer.Write(bytes, false);
  return std::string(bytes.View());
}

// Everything the stream gives from its position on.
inline std::string ReadRest(MStream& stream, int64_t piece = 7000) {
  std::string result;
  std::string block(static_cast<size_t>(piece), '\0');
  while (int64_t got = stream.Read(block.data(), piece)) result.append(block.data(), static_cast<size_t>(got));
  return result;
}

// The `file` items of a tree in depth-first order.
inline std::vector<MXMLItem*> FileItemsOf(MXMLItem& tree) {
  std::vector<MXMLItem*> items;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next())
    if (item->name == "file") items.push_back(item);
  return items;
}

// A folder of source files under the sandbox and a tree of `dir` and `file`
// items naming them by `path` relative to it (and one by an absolute `srcpath`).
class ResourceFolderTest : public FileTestBase {
 protected:
  // Relative path and content of every stored file, in tree order.
  std::vector<std::pair<std::string, std::string>> files;

  void MakeSources(int smallFiles) {
    files = {{"readme.txt", TextBytes(150000, 1)},
             {"bin/random.bin", RandomBytes(70000, 2)},
             {"bin/empty.dat", ""}};
    for (int i = 0; i < smallFiles; ++i) {
      std::string name = "many/f" + std::to_string(i) + (i % 2 ? ".bin" : ".txt");
      files.emplace_back(name, i % 2 ? RandomBytes(100 + 37 * i, 10 + i) : TextBytes(300 + 91 * i, 10 + i));
    }
    files.emplace_back("deep/a/b/c/last.txt", TextBytes(5000, 3));
    for (const auto& [name, content] : files) WriteFile("src/" + name, content);
  }

  // The tree: one `file` item per source, plus one whose source is missing.
  void MakeTree(MXMLItem& tree) {
    tree.Clear();
    tree.SetName(MString("package"));
    tree.SetAttribute("version", MVariant("1.0"));
    MXMLItem& folder = tree.AddSubItem(MString("dir"));
    folder.AddSubItem(MString("file")).SetAttribute("path", MVariant("not/there.txt"));
    for (size_t i = 0; i < files.size(); ++i) {
      // The first half lies in the folder, which comes first: depth-first order
      // is the order of `files`.
      MXMLItem& item = (i < files.size() / 2 ? folder : tree).AddSubItem(MString("file"));
      item.SetAttribute("path", MVariant(FromSystem(files[i].first)));
      // One item gives its source by an absolute `srcpath`, which wins over `path`.
      if (i == 1) {
        item.SetAttribute("path", MVariant("ignored"));
        item.SetAttribute("srcpath", MVariant(Path("src/" + files[i].first)));
      }
    }
  }

  MSourceOpener Opener() const { return MResourceLibrary::SourceFolderOpener(Path("src")); }

  static std::vector<MXMLItem*> FileItems(MXMLItem& tree) { return FileItemsOf(tree); }
};

}  // namespace kx
