#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "foundation/platform/user_folders.h"
#include "support/sandbox.h"

namespace kx {
namespace {

struct ConfigCase {
  const char* name;
  const char *home, *xdgConfigHome;  // null: unset
  const char* expected;
};

class UserConfigFolderTest : public ::testing::TestWithParam<ConfigCase> {
 protected:
  MTestSandbox sandbox;  // restores HOME and XDG_CONFIG_HOME afterwards
};

TEST_P(UserConfigFolderTest, FollowsTheDesktopRules) {
  const ConfigCase& c = GetParam();
  for (auto [name, value] : {std::pair{"HOME", c.home}, {"XDG_CONFIG_HOME", c.xdgConfigHome}})
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  EXPECT_EQ(ToStd(UserConfigFolder()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Environments, UserConfigFolderTest,
    ::testing::Values(ConfigCase{"XdgWins", "/home/u", "/cfg/x", "/cfg/x"},
                      ConfigCase{"DefaultUnderHome", "/home/u", nullptr, "/home/u/.config"},
                      ConfigCase{"RelativeXdgIgnored", "/home/u", "cfg", "/home/u/.config"},
                      ConfigCase{"TrailingSlashOfHome", "/home/u//", nullptr, "/home/u/.config"},
                      ConfigCase{"HomeIsRoot", "/", nullptr, "/.config"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(UserHomeFolderTest, FallsBackToThePasswordDatabase) {
  MTestSandbox sandbox;
  ::unsetenv("HOME");
  EXPECT_FALSE(UserHomeFolder().IsEmpty());
}

}  // namespace
}  // namespace kx
