#include "foundation/core/boxes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "foundation/core/console_box_host.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

TEST(StripMarkupTest, GivesThePlainText) {
  const std::pair<const char*, const char*> cases[] = {
      {"<b>Could not rewrite file</b><p><p singleline=1>/a/b<p>x</p>y",
       "Could not rewrite file\n\n/a/b\nxy"},
      {"<cgreen>yes</cgreen> <cred>no</cred><p/>", "yes no\n"},
      {"<pre>not a paragraph</pre><param>", "not a paragraph"},
      {"a &lt;b&gt; &amp;amp; &quot;q&quot;", "a <b> &amp; \"q\""},
      {"&nbsp; &lt &gt;", "&nbsp; &lt >"},
      {"a < b, open <tag", "a < b, open <tag"},
      {"Grüße<p>", "Grüße\n"},
  };
  for (const auto& [markup, plain] : cases)
    EXPECT_EQ(ToStd(StripMarkup(MString::FromUTF8(markup))), plain) << markup;
}

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

TEST(ConsoleBoxHostTest, QuestionsAreAnsweredFromTheInput) {
  struct Case {
    int kind;  // 0 question, 1 with ignore, 2 with cancel, 3 three buttons
    const char* typed;
    bool interactive;
    int answer;
  } cases[] = {
      {0, "maybe\n\nyes\n", true, 1},  // asked again until valid
      {0, "what\n", true, 0},          // end of input is no
      {0, "y\n", false, 0},            // no terminal is no
      {1, "i\n", true, 2},
      {2, "y\n", false, 2},  // no terminal is cancel
      {3, "2\n", true, 2},
      {3, "1\n", false, 3},  // no terminal: last button
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    auto [answer, printed] = AskConsole(c.typed, c.interactive, [&](MConsoleBoxHost& host) {
      const char* text = "Go <b>on</b>?";
      if (c.kind == 0) return host.ShowQuestion(nullptr, text);
      if (c.kind == 1) return host.ShowQuestionIgnore(nullptr, text);
      if (c.kind == 2) return host.ShowQuestionCancel(nullptr, text);
      return host.ShowThreeButtons(nullptr, "", text, "Try again", "Ignore", "Cancel");
    });
    EXPECT_EQ(answer, c.answer);
    EXPECT_EQ(printed.rfind("Go on?\n", 0), 0u) << printed;
  }
}

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
    EXPECT_EQ(ShowQuestion(nullptr, "sure?"), 1);
    EXPECT_EQ(ShowThreeButtons(nullptr, "T", "pick", "a", "b", "c"), 2);
    ASSERT_EQ(scripted.Calls().size(), 2u);
    EXPECT_EQ(ToStd(scripted.Calls()[1].buttons[2]), "c");
  }
  EXPECT_EQ(&BoxHost(), before);
}

}  // namespace
}  // namespace kx
