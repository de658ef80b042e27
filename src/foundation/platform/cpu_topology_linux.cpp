#include "foundation/platform/cpu_topology.h"

#include <errno.h>
#include <sched.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace kx::platform {

namespace {

// Small text files of sysfs; a missing or unreadable one is an empty answer.
bool ReadSmallFile(const std::string& path, std::string& text) {
  text.clear();
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  char buffer[4096];
  size_t got = std::fread(buffer, 1, sizeof buffer, file);
  std::fclose(file);
  text.assign(buffer, got);
  return got > 0;
}

bool ReadProcessorList(const std::string& path, std::vector<int>& processors) {
  std::string text;
  return ReadSmallFile(path, text) && ParseProcessorList(text, processors) && !processors.empty();
}

bool ReadNumber(const std::string& path, int64_t& value) {
  std::string text;
  if (!ReadSmallFile(path, text)) return false;
  size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  if (i == text.size() || text[i] < '0' || text[i] > '9') return false;
  value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    if (value > (INT64_MAX - 9) / 10) return false;
    value = value * 10 + (text[i] - '0');
  }
  return true;
}

}  // namespace

bool ParseProcessorList(std::string_view text, std::vector<int>& processors) {
  processors.clear();
  // Processor numbers stay far below this; a larger one is a damaged file.
  constexpr int64_t kLimit = 1 << 16;
  size_t i = 0;
  auto skipBlanks = [&] {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\n' || text[i] == '\t')) ++i;
  };
  auto number = [&](int64_t& value) {
    if (i == text.size() || text[i] < '0' || text[i] > '9') return false;
    value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
      value = value * 10 + (text[i] - '0');
      if (value >= kLimit) return false;
    }
    return true;
  };
  skipBlanks();
  if (i == text.size()) return true;  // an empty list is a valid answer
  for (;;) {
    int64_t from = 0;
    int64_t to = 0;
    if (!number(from)) break;
    to = from;
    if (i < text.size() && text[i] == '-') {
      ++i;
      if (!number(to) || to < from) break;
    }
    for (int64_t n = from; n <= to; ++n) processors.push_back(static_cast<int>(n));
    if (i < text.size() && text[i] == ',') {
      ++i;
      continue;
    }
    skipBlanks();
    if (i != text.size()) break;
    std::sort(processors.begin(), processors.end());
    processors.erase(std::unique(processors.begin(), processors.end()), processors.end());
    return true;
  }
  processors.clear();
  return false;
}

std::vector<int> ReadPerformanceProcessors(const std::string& sysfsRoot) {
  std::vector<int> processors;
  if (ReadProcessorList(sysfsRoot + "/devices/cpu_core/cpus", processors)) return processors;

  std::vector<int> online;
  if (!ReadProcessorList(sysfsRoot + "/devices/system/cpu/online", online)) return {};
  int64_t best = -1;
  for (int processor : online) {
    int64_t capacity = 0;
    std::string path =
        sysfsRoot + "/devices/system/cpu/cpu" + std::to_string(processor) + "/cpu_capacity";
    // One processor without a capacity makes the comparison meaningless.
    if (!ReadNumber(path, capacity)) return online;
    if (capacity > best) {
      best = capacity;
      processors.clear();
    }
    if (capacity == best) processors.push_back(processor);
  }
  return processors;
}

int AllowedProcessors(std::vector<int>& processors) {
  processors.clear();
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof set, &set) != 0) return errno;
  for (int processor = 0; processor < CPU_SETSIZE; ++processor)
    if (CPU_ISSET(processor, &set)) processors.push_back(processor);
  return 0;
}

}  // namespace kx::platform
