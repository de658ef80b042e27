// The boxes' plain-text form and the console host's answers.
#include "foundation/boxes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "foundation/console_box_host.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

struct StripCase {
  const char* markup;
  const char* plain;
};

class StripMarkupTest : public ::testing::TestWithParam<StripCase> {};

TEST_P(StripMarkupTest, GivesThePlainText) {
  EXPECT_EQ(ToStd(StripMarkup(MString::FromUTF8(GetParam().markup))), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, StripMarkupTest,
    ::testing::Values(
        StripCase{
            "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]<p>If list_of_plugins "
            "is empty, all will be (un)installed ",
            "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]\nIf list_of_plugins is "
            "empty, all will be (un)installed "},
        StripCase{"<b>Could not rewrite file</b><p><p singleline=1>/a/b<p>x</p>y",
                  "Could not rewrite file\n\n/a/b\nxy"},
        StripCase{"<cgreen>yes</cgreen> <cred>no</cred><p/>", "yes no\n"},
        StripCase{"<pre>not a paragraph</pre><param>", "not a paragraph"},
        StripCase{"a &lt;b&gt; &amp;amp; &quot;q&quot;", "a <b> &amp; \"q\""},
        StripCase{"&nbsp; &lt &gt;", "&nbsp; &lt >"},
        StripCase{"a < b, open <tag", "a < b, open <tag"}, StripCase{"Grüße<p>", "Grüße\n"}));

// Runs `ask` on a console host whose input holds `typed`; gives the answer and
// what the host printed.
template <typename Ask>
std::pair<int, std::string> AskConsole(const char* typed, bool interactive, Ask ask) {
  std::FILE* input = std::tmpfile();
  std::FILE* output = std::tmpfile();
  std::fputs(typed, input);
  std::rewind(input);
  MConsoleBoxHost host(output, input, interactive);
  int answer = ask(host);
  std::string printed(static_cast<size_t>(std::ftell(output)), '\0');
  std::rewind(output);
  printed.resize(std::fread(printed.data(), 1, printed.size(), output));
  std::fclose(input);
  std::fclose(output);
  return {answer, printed};
}

struct QuestionCase {
  const char* name;
  int kind;  // 0 question, 1 with ignore, 2 with cancel, 3 three buttons
  const char* typed;
  bool interactive;
  int answer;
};

class ConsoleQuestionTest : public ::testing::TestWithParam<QuestionCase> {};

TEST_P(ConsoleQuestionTest, Answers) {
  const QuestionCase& c = GetParam();
  auto [answer, printed] = AskConsole(c.typed, c.interactive, [&](MConsoleBoxHost& host) {
    switch (c.kind) {
      case 0:
        return host.ShowQuestion(nullptr, "Go <b>on</b>?");
      case 1:
        return host.ShowQuestionIgnore(nullptr, "Go <b>on</b>?");
      case 2:
        return host.ShowQuestionCancel(nullptr, "Go <b>on</b>?");
      default:
        return host.ShowThreeButtons(nullptr, "", "Go <b>on</b>?", "Try again", "Ignore", "Cancel");
    }
  });
  EXPECT_EQ(answer, c.answer);
  EXPECT_EQ(printed.rfind("Go on?\n", 0), 0u) << printed;
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ConsoleQuestionTest,
    ::testing::Values(QuestionCase{"Yes", 0, "y\n", true, 1},
                      QuestionCase{"AskedAgainUntilValid", 0, "maybe\n\nyes\n", true, 1},
                      QuestionCase{"EndOfInputIsNo", 0, "what\n", true, 0},
                      QuestionCase{"NoTerminalIsNo", 0, "y\n", false, 0},
                      QuestionCase{"Ignore", 1, "i\n", true, 2},
                      QuestionCase{"Cancel", 2, "c\n", true, 2},
                      QuestionCase{"NoTerminalIsCancel", 2, "y\n", false, 2},
                      QuestionCase{"SecondButton", 3, "2\n", true, 2},
                      QuestionCase{"NoTerminalIsLastButton", 3, "1\n", false, 3}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ConsoleBoxHostTest, MessagesArePrintedPlain) {
  auto [unused, printed] = AskConsole("", false, [](MConsoleBoxHost& host) {
    host.ShowError(nullptr, "Could not open &quot;x&quot;.");
    host.ShowInformation(nullptr, "Done.<p>Bye");
    return 0;
  });
  EXPECT_EQ(printed, "Error: Could not open \"x\".\nDone.\nBye\n");
}

TEST(BoxHostTest, InstalledHostReceivesTheCallsAndIsRestored) {
  MBoxHost* before = &BoxHost();
  {
    MScriptedBoxHost scripted;
    scripted.Answer(1).Answer(2);
    ShowInformation(nullptr, "hello");
    EXPECT_EQ(ShowQuestion(nullptr, "sure?"), 1);
    EXPECT_EQ(ShowThreeButtons(nullptr, "T", "pick", "a", "b", "c"), 2);
    ASSERT_EQ(scripted.Calls().size(), 3u);
    EXPECT_EQ(scripted.Calls()[0].kind, "ShowInformation");
    EXPECT_EQ(ToStd(scripted.Calls()[1].text), "sure?");
    EXPECT_EQ(ToStd(scripted.Calls()[2].buttons[2]), "c");
  }
  EXPECT_EQ(&BoxHost(), before);
}

}  // namespace
}  // namespace kx
