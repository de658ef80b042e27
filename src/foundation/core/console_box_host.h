// MConsoleBoxHost: the boxes on a terminal, until the GUI toolkit exists.
//
// Every box prints its text, mark-up stripped, to the output stream (standard
// error by default). A question is answered by a line typed on the input stream
// when it is interactive (standard input that is a terminal); without one, a
// question answers "no" (0), a question with Cancel answers "cancel" (2), and the
// three-button box answers with its last button (3), the cancelling one by the
// system's habit of ordering buttons.
#pragma once

#include <cstdio>

#include "foundation/core/boxes.h"

namespace kx {

class MConsoleBoxHost : public MBoxHost {
 public:
  // Standard error, standard input, interactive when standard input is a terminal.
  MConsoleBoxHost();
  MConsoleBoxHost(std::FILE* output, std::FILE* input, bool interactive);

  void ShowError(MControl* parent, const MString& text) override;
  void ShowInformation(MControl* parent, const MString& text) override;
  int ShowQuestion(MControl* parent, const MString& text) override;
  int ShowQuestionIgnore(MControl* parent, const MString& text) override;
  int ShowQuestionCancel(MControl* parent, const MString& text) override;
  int ShowThreeButtons(MControl* parent, const MString& title, const MString& text,
                       const MString& button1, const MString& button2,
                       const MString& button3) override;

 private:
  struct Choice {
    char key;  // accepted first letter, lower case
    int value;
    const char* label;  // shown when the answer is taken without asking
  };
  void Print(const MString& text);
  int Ask(const MString& prompt, const Choice* choices, int count, int fallback);

  std::FILE* output_;
  std::FILE* input_;
  bool interactive_;
};

}  // namespace kx
