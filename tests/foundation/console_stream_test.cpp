// The console stream reads standard input line by line; the test lends it a file.
#include "foundation/streams/console_stream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace kx {
namespace {

TEST(ConsoleStream, ReadLineDropsTheLineEnds) {
  std::FILE* input = std::tmpfile();
  std::fputs("first\r\n\nlast", input);
  std::rewind(input);
  std::FILE* saved = stdin;
  stdin = input;
  MConsoleStream console;
  std::vector<std::pair<int, std::string>> lines;
  char buffer[64];
  for (int result = kLineRead; result != kLineEnd;) {
    result = console.ReadLine(buffer, sizeof buffer);
    lines.emplace_back(result, buffer);
  }
  stdin = saved;
  std::fclose(input);
  const std::vector<std::pair<int, std::string>> expected = {
      {kLineRead, "first"}, {kLineRead, ""}, {kLineRead, "last"}, {kLineEnd, ""}};
  EXPECT_EQ(lines, expected);
}

}  // namespace
}  // namespace kx
