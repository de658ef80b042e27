#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/platform/cpu_topology.h"
#include "support/sandbox.h"

namespace kx {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

Files Capacities(const std::vector<int>& capacities) {
  Files files;
  for (size_t i = 0; i < capacities.size(); ++i)
    files.emplace_back("devices/system/cpu/cpu" + std::to_string(i) + "/cpu_capacity",
                       std::to_string(capacities[i]) + "\n");
  return files;
}

Files Join(Files first, const Files& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(CpuTopologyTest, PerformanceProcessorsByKindOfMachine) {
  struct Case {
    const char* name;
    Files files;
    std::vector<int> expected;
  };
  const Case cases[] = {
      {"hybrid x86 names its cores",
       Join({{"devices/cpu_core/cpus", "0-3,8-11\n"},
             {"devices/cpu_atom/cpus", "4-7\n"},
             {"devices/system/cpu/online", "0-11\n"}},
            Capacities({1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024})),
       {0, 1, 2, 3, 8, 9, 10, 11}},
      {"big.LITTLE by capacity",
       Join({{"devices/system/cpu/online", "0-5\n"}}, Capacities({446, 446, 446, 446, 1024, 1024})),
       {4, 5}},
      {"one capacity missing: all",
       Join({{"devices/system/cpu/online", "0-2\n"}}, Capacities({512, 1024})),
       {0, 1, 2}},
      {"no capacities: all online", {{"devices/system/cpu/online", "0,2-3\n"}}, {0, 2, 3}},
      {"damaged online list", {{"devices/system/cpu/online", "zero\n"}}, {}},
  };
  MTestSandbox sandbox;
  int machine = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::path root = sandbox.Root() / ("sys" + std::to_string(++machine));
    std::filesystem::create_directories(root);
    for (const auto& [path, text] : c.files) {
      std::filesystem::create_directories((root / path).parent_path());
      std::ofstream(root / path) << text;
    }
    EXPECT_EQ(platform::ReadPerformanceProcessors(root.string()), c.expected);
  }
}

TEST(CpuTopologyTest, ProcessorListForms) {
  struct Case {
    const char* text;
    bool valid;
    std::vector<int> expected;
  };
  const Case cases[] = {
      {"0-3,8,10-11\n", true, {0, 1, 2, 3, 8, 10, 11}},
      {"3,1,1-2", true, {1, 2, 3}},
      {"3-1", false, {}},
      {"1,,2", false, {}},
      {"99999999", false, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::vector<int> processors = {42};
    EXPECT_EQ(platform::ParseProcessorList(c.text, processors), c.valid);
    EXPECT_EQ(processors, c.expected);
  }
}

}  // namespace
}  // namespace kx
