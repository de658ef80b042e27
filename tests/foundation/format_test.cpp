#include "foundation/text/format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/core/exception.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

struct FormatCase {
  const char* what;
  std::function<MString()> compose;
  std::string expected;  // UTF-8
};

TEST(MFormatTest, ComposesEveryOptionAndOrder) {
  const std::vector<FormatCase> cases = {
      {"swapped order", [] { return MFormat("{1} {0}").Add("a").Add("b"); }, "b a"},
      {"two at one place", [] { return MFormat("{0}{1}").Add("a").Add("b"); }, "ab"},
      {"greedy three-digit index",
       [] {
         MFormat f("{0}{1}{2}{3}{4}{5}{6}{7}-{008}");
         for (int i = 0; i <= 8; ++i) f.Add(i);
         return f.Result();
       },
       "01234567-8"},
      {"escaped braces", [] { return MFormat("{{0}} {{{0}}}").Add(7); }, "{0} {7}"},
      {"brace then any unit", [] { return MFormat("a}b}{c"); }, "ab{c"},
      {"closing brace at the end stays", [] { return MFormat("{0}}").Add(7); }, "7}"},
      {"plus on positive", [] { return MFormat("{0+}").Add(5); }, "+5"},
      {"plus on zero", [] { return MFormat("{0+}").Add(0); }, "0"},
      {"blank width, sign outside", [] { return MFormat("{0 3}").Add(-7); }, "-  7"},
      {"zero width, sign outside", [] { return MFormat("{0+03}").Add(-7); }, "-007"},
      {"zero width with plus", [] { return MFormat("{0+03}").Add(7); }, "+007"},
      {"options in any order, others ignored", [] { return MFormat("{0q 4+}").Add(7); }, "+   7"},
      {"hex zero padded", [] { return MFormat("{0x04}").Add(255); }, "00FF"},
      {"unsigned hex", [] { return MFormat("{0x}").Add(std::numeric_limits<uint64_t>::max()); },
       "FFFFFFFFFFFFFFFF"},
      {"real, default decimals", [] { return MFormat("{0}").Add(2.5); }, "2.5000"},
      {"real, no decimals", [] { return MFormat("{0.0}").Add(2.6); }, "3"},
      {"real with plus", [] { return MFormat("{0+.1}").Add(0.5); }, "+0.5"},
      {"real noise gets no plus", [] { return MFormat("{0+.1}").Add(1e-12); }, "0.0"},
      {"string ignores width", [] { return MFormat("[{0 5}]").Add("ab"); }, "[ab]"},
      {"zero character is a blank", [] { return MFormat("<{0}>").AddChar(0); }, "< >"},
      {"16-bit template", [] { return MFormat(MString(u"Grüße {0}!")).Add(MString(u"Zoë")); },
       "Grüße Zoë!"},
      {"long text on the heap",
       [] {
         return MFormat("Loading {0} ({1} of {2} bytes, {3.1}%) from the vendor server")
             .Add("Tonvault_Library_2.pkgm").Add(int64_t{1048576}).Add(int64_t{73400320}).Add(1.43);
       },
       "Loading Tonvault_Library_2.pkgm (1048576 of 73400320 bytes, 1.4%) from the vendor server"},
  };
  for (const FormatCase& c : cases) EXPECT_EQ(ToStd(c.compose()), c.expected) << c.what;
}

TEST(MFormatTest, RejectsBrokenTemplatesAndMisuse) {
  for (const char* text : {"{0", "{", "abc {12 +", "{0.1"})
    EXPECT_EQ(ToStd(Failure([&] { MFormat f(text); }).message),
              "Formatting string ends in an argument specification.")
        << text;
  EXPECT_THROW(MFormat("{32}"), MException);
  EXPECT_THROW(MFormat("{0} {1}").Add(1).Add(2).Add(3), MException);
  EXPECT_THROW(MFormat("no placeholder").Add(1), MException);
}

TEST(FormatDurationTest, PicksTheTemplateBySize) {
  const std::vector<std::pair<int64_t, std::string>> cases = {
      {3599, "59 min, 59 sec"}, {3600, "1 hours, 0 min"}, {86399, "23 hours, 59 min"}, {266400, "3 days, 2 hours"},
  };
  for (const auto& [seconds, expected] : cases)
    EXPECT_EQ(ToStd(FormatDuration(seconds)), expected) << seconds;
}

struct ScanCase {
  const char* templateText;
  const char* input;
  std::vector<int64_t> expected;  // kUntouched where the target must keep its value
  int count;
};
constexpr int64_t kUntouched = -99;

TEST(MScanTest, ReadsIntegersByTemplate) {
  const std::vector<ScanCase> cases = {
      {"{0}x{1x}", "12x1F", {12, 31}, 2},
      {"{0x} {1x}", "ff -A0", {255, -160}, 2},
      {"{0} {1}", "12  \t 34", {12, 34}, 2},
      {"{0 3}.{1+}.{2.2}", "1.2.3", {1, 2, 3}, 3},
      {"{0},{1},{2}", "5,abc,7", {5, kUntouched, kUntouched}, 1},
      {"{0x},{1}", "zz,7", {kUntouched, kUntouched}, 0},
      {"v{0}", "x5", {kUntouched}, 0},
      {"{0} {1}", "5", {5, kUntouched}, 1},
  };
  for (const ScanCase& c : cases) {
    MScan scan(c.templateText, c.input);
    std::vector<int64_t> got(c.expected.size(), kUntouched);
    for (int64_t& target : got) scan >> target;
    EXPECT_EQ(got, c.expected) << c.templateText << " on " << c.input;
    EXPECT_EQ(scan.Count(), c.count) << c.templateText << " on " << c.input;
  }
}

TEST(MScanTest, ExtractsStringsAndNarrowIntegersInOrder) {
  MString name, rest = "unchanged";
  int32_t major = 0;
  int16_t minor = 0;
  int8_t patch = 0;
  MScan("{0}: {1}.{2}.{3} {4}", "Kitvault: 2.10.-3 extra words") >> name >> major >> minor >>
      patch >> rest;
  EXPECT_EQ(std::tuple(ToStd(name), major, minor, patch, ToStd(rest)),
            std::tuple("Kitvault", 2, 10, -3, "extra words"));
  EXPECT_THROW(MScan("{0", "1"), MException);
}

}  // namespace
}  // namespace kx
