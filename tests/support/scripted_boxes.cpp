#include "support/scripted_boxes.h"

#include <gtest/gtest.h>

namespace kx {

MScriptedBoxHost::MScriptedBoxHost() : previous_(SetBoxHost(this)) {}

MScriptedBoxHost::~MScriptedBoxHost() {
  SetBoxHost(previous_);
}

int MScriptedBoxHost::Ask(const char* kind, const MString& text) {
  Record(kind, text);
  if (answers_.empty()) {
    ADD_FAILURE() << kind << " asked \"" << ToStd(text) << "\" but no answer was queued";
    return 0;
  }
  int answer = answers_.front();
  answers_.pop_front();
  return answer;
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
