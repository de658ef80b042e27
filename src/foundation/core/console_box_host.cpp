#include "foundation/core/console_box_host.h"

#include <string>

#include "foundation/platform/console.h"

namespace kx {

MConsoleBoxHost::MConsoleBoxHost() : MConsoleBoxHost(stderr, stdin, StandardInputIsTerminal()) {}

MConsoleBoxHost::MConsoleBoxHost(std::FILE* output, std::FILE* input, bool interactive)
    : output_(output), input_(input), interactive_(interactive && input) {}

void MConsoleBoxHost::Print(const MString& text) {
  std::string bytes = StripMarkup(text).ToUTF8String();
  std::fwrite(bytes.data(), 1, bytes.size(), output_);
  std::fflush(output_);
}

// Asks until a line starts with one of the accepted keys. End of input, or no
// terminal at all, takes the fallback: a box must never block a run that has
// nobody to answer it.
int MConsoleBoxHost::Ask(const MString& prompt, const Choice* choices, int count, int fallback) {
  for (;;) {
    Print(prompt);
    if (!interactive_) break;
    char line[256];
    if (!std::fgets(line, sizeof line, input_)) break;
    char first = line[0];
    if (first >= 'A' && first <= 'Z') first = static_cast<char>(first - 'A' + 'a');
    for (int i = 0; i < count; ++i)
      if (first == choices[i].key) return choices[i].value;
  }
  for (int i = 0; i < count; ++i)
    if (choices[i].value == fallback)
      Print(MString(choices[i].label) + MString(" (nobody to ask)\n"));
  return fallback;
}

void MConsoleBoxHost::ShowError(MControl*, const MString& text) {
  Print(MString("Error: ") + text + MString("\n"));
}

void MConsoleBoxHost::ShowInformation(MControl*, const MString& text) {
  Print(text + MString("\n"));
}

int MConsoleBoxHost::ShowQuestion(MControl*, const MString& text) {
  static const Choice choices[] = {{'y', 1, "yes"}, {'n', 0, "no"}};
  return Ask(text + MString("\n[y]es / [n]o? "), choices, 2, 0);
}

int MConsoleBoxHost::ShowQuestionIgnore(MControl*, const MString& text) {
  static const Choice choices[] = {{'y', 1, "yes"}, {'n', 0, "no"}, {'i', 2, "ignore"}};
  return Ask(text + MString("\n[y]es / [n]o / [i]gnore? "), choices, 3, 0);
}

int MConsoleBoxHost::ShowQuestionCancel(MControl*, const MString& text) {
  static const Choice choices[] = {{'y', 1, "yes"}, {'n', 0, "no"}, {'c', 2, "cancel"}};
  return Ask(text + MString("\n[y]es / [n]o / [c]ancel? "), choices, 3, 2);
}

int MConsoleBoxHost::ShowThreeButtons(MControl*, const MString& title, const MString& text,
                                      const MString& button1, const MString& button2,
                                      const MString& button3) {
  // The buttons' texts are free, so they are chosen by their number.
  static const Choice choices[] = {{'1', 1, "1"}, {'2', 2, "2"}, {'3', 3, "3"}};
  MString prompt;
  if (!title.IsEmpty()) prompt += title + MString("\n");
  prompt += text + MString("\n[1] ") + button1 + MString("  [2] ") + button2 + MString("  [3] ") +
            button3 + MString("? ");
  return Ask(prompt, choices, 3, 3);
}

}  // namespace kx
