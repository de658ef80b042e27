// MScriptedBoxHost: the boxes for tests. Installed for its lifetime (the previous
// host comes back on destruction), it records every call and answers questions
// from a queue filled by Answer(). A question with no queued answer is a test
// failure and answers 0.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "foundation/core/boxes.h"

namespace kx {

struct MBoxCall {
  std::string kind;  // "ShowError", "ShowInformation", "ShowQuestion", ...
  MString text;
  MString title;                 // three-button box only
  std::vector<MString> buttons;  // three-button box only
};

class MScriptedBoxHost : public MBoxHost {
 public:
  MScriptedBoxHost();
  ~MScriptedBoxHost() override;
  MScriptedBoxHost(const MScriptedBoxHost&) = delete;
  MScriptedBoxHost& operator=(const MScriptedBoxHost&) = delete;

  // Queues the answer of a later question, in order.
  MScriptedBoxHost& Answer(int value) {
    answers_.push_back(value);
    return *this;
  }
  const std::vector<MBoxCall>& Calls() const { return calls_; }

  void ShowError(MControl*, const MString& text) override { Record("ShowError", text); }
  void ShowInformation(MControl*, const MString& text) override { Record("ShowInformation", text); }
  int ShowQuestion(MControl*, const MString& text) override { return Ask("ShowQuestion", text); }
  int ShowQuestionIgnore(MControl*, const MString& text) override {
    return Ask("ShowQuestionIgnore", text);
  }
  int ShowQuestionCancel(MControl*, const MString& text) override {
    return Ask("ShowQuestionCancel", text);
  }
  int ShowThreeButtons(MControl* parent, const MString& title, const MString& text,
                       const MString& button1, const MString& button2,
                       const MString& button3) override;

 private:
  void Record(const char* kind, const MString& text) { calls_.push_back({kind, text, {}, {}}); }
  // Records the question and answers it from the queue.
  int Ask(const char* kind, const MString& text);

  MBoxHost* previous_;
  std::vector<MBoxCall> calls_;
  std::deque<int> answers_;
};

}  // namespace kx
