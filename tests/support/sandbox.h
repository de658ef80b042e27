// MTestSandbox: a fresh temporary home for one test. HOME, XDG_CONFIG_HOME,
// XDG_DATA_HOME and XDG_CACHE_HOME point into it (all four folders exist) while
// the object lives; destruction restores the environment as it was (these and
// KESTRIX_SERVER) and removes the folder with everything in it.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kx {

class MTestSandbox {
 public:
  MTestSandbox();
  ~MTestSandbox();
  MTestSandbox(const MTestSandbox&) = delete;
  MTestSandbox& operator=(const MTestSandbox&) = delete;

  const std::filesystem::path& Root() const { return root_; }  // the temporary folder
  std::filesystem::path Home() const { return root_ / "home"; }
  std::filesystem::path ConfigHome() const { return Home() / ".config"; }
  std::filesystem::path DataHome() const { return Home() / ".local" / "share"; }
  std::filesystem::path CacheHome() const { return Home() / ".cache"; }
  // Where Kestrix keeps its data, settings and log.txt in this sandbox.
  std::filesystem::path KestrixDataFolder() const {
    return ConfigHome() / "Vorlund" / "Downloader";
  }

 private:
  void SetVariable(const char* name, const std::filesystem::path& value);

  std::filesystem::path root_;
  // Variable, earlier value, whether it was set.
  std::vector<std::pair<std::string, std::pair<std::string, bool>>> saved_;
};

// The whole content of a file as bytes; empty when it cannot be read.
std::string ReadFileBytes(const std::filesystem::path& path);
// Writes `bytes` as the whole file, creating its folders.
void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes);

}  // namespace kx
