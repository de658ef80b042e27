#include "support/scripted_boxes.h"

#include <gtest/gtest.h>

namespace kx {

MScriptedBoxHost::MScriptedBoxHost() : previous_(SetBoxHost(this)) {}

MScriptedBoxHost::~MScriptedBoxHost() {
  SetBoxHost(previous_);
}

int MScriptedBoxHost::Ask(const char* kind, const MString& text) {
  calls_.push_back({kind, text, {}, {}});
  if (answers_.empty()) {
    ADD_FAILURE() << kind << " asked \"" << ToStd(text) << "\" but no answer was queued";
    return 0;
  }
  int answer = answers_.front();
  answers_.pop_front();
  return answer;
}

void MScriptedBoxHost::ShowError(MControl*, const MString& text) {
  calls_.push_back({"ShowError", text, {}, {}});
}

void MScriptedBoxHost::ShowInformation(MControl*, const MString& text) {
  calls_.push_back({"ShowInformation", text, {}, {}});
}

int MScriptedBoxHost::ShowQuestion(MControl*, const MString& text) { return Ask("ShowQuestion", text); }

int MScriptedBoxHost::ShowQuestionIgnore(MControl*, const MString& text) {
  return Ask("ShowQuestionIgnore", text);
}

int MScriptedBoxHost::ShowQuestionCancel(MControl*, const MString& text) {
  return Ask("ShowQuestionCancel", text);
}

int MScriptedBoxHost::ShowThreeButtons(MControl*, const MString& title, const MString& text,
                                       const MString& button1, const MString& button2,
                                       const MString& button3) {
  int answer = Ask("ShowThreeButtons", text);
  calls_.back().title = title;
  calls_.back().buttons = {button1, button2, button3};
  return answer;
}

}  // namespace kx
