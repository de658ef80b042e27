#include "support/scripted_boxes.h"

#include <gtest/gtest.h>

namespace kx {

MScriptedBoxHost::MScriptedBoxHost() : previous_(SetBoxHost(this)) {}

MScriptedBoxHost::~MScriptedBoxHost() {
  SetBoxHost(previous_);
}

int MScriptedBoxHost::NextAnswer(const char* kind) {
  if (answers_.empty()) {
    ADD_FAILURE() << kind << " asked \"" << ToStd(calls_.back().text)
                  << "\" but no answer was queued";
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

int MScriptedBoxHost::ShowQuestion(MControl*, const MString& text) {
  calls_.push_back({"ShowQuestion", text, {}, {}});
  return NextAnswer("ShowQuestion");
}

int MScriptedBoxHost::ShowQuestionIgnore(MControl*, const MString& text) {
  calls_.push_back({"ShowQuestionIgnore", text, {}, {}});
  return NextAnswer("ShowQuestionIgnore");
}

int MScriptedBoxHost::ShowQuestionCancel(MControl*, const MString& text) {
  calls_.push_back({"ShowQuestionCancel", text, {}, {}});
  return NextAnswer("ShowQuestionCancel");
}

int MScriptedBoxHost::ShowThreeButtons(MControl*, const MString& title, const MString& text,
                                       const MString& button1, const MString& button2,
                                       const MString& button3) {
  calls_.push_back({"ShowThreeButtons", text, title, {button1, button2, button3}});
  return NextAnswer("ShowThreeButtons");
}

}  // namespace kx
