#include "support/sandbox.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

namespace kx {

MTestSandbox::MTestSandbox() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kestrix-test-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    ADD_FAILURE() << "cannot create a sandbox folder from " << pattern;
    return;
  }
  root_ = pattern;
  SetVariable("HOME", Home());
  SetVariable("XDG_CONFIG_HOME", ConfigHome());
  SetVariable("XDG_DATA_HOME", DataHome());
  SetVariable("XDG_CACHE_HOME", CacheHome());
  // Tests that run the program name its server here; it goes back with the rest.
  const char* server = ::getenv("KESTRIX_SERVER");
  saved_.push_back({"KESTRIX_SERVER", {server ? server : "", server != nullptr}});
  for (const auto& folder : {ConfigHome(), DataHome(), CacheHome()})
    std::filesystem::create_directories(folder);
}

MTestSandbox::~MTestSandbox() {
  for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
    if (it->second.second)
      ::setenv(it->first.c_str(), it->second.first.c_str(), 1);
    else
      ::unsetenv(it->first.c_str());
  }
  if (!root_.empty()) {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
}

void MTestSandbox::SetVariable(const char* name, const std::filesystem::path& value) {
  const char* old = ::getenv(name);
  saved_.push_back({name, {old ? old : "", old != nullptr}});
  ::setenv(name, value.c_str(), 1);
}

std::string ReadFileBytes(const std::filesystem::path& path) {
  // One read of the whole file: a byte-wise iterator crawls under the sanitizers.
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = in ? static_cast<std::streamoff>(in.tellg()) : -1;
  if (size < 0) return {};
  std::string bytes(static_cast<size_t>(size), '\0');
  in.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace kx
