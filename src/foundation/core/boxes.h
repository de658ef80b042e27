// The boxes: the one way in which logic tells or asks the user. The text is STML.
// A host implements them: the console host until the GUI toolkit exists, a
// scripted host in tests, the toolkit's dialogs later.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MControl;  // parent window of a box; null for none

class MBoxHost {
 public:
  virtual ~MBoxHost() = default;
  virtual void ShowError(MControl* parent, const MString& text) = 0;
  virtual void ShowInformation(MControl* parent, const MString& text) = 0;
  // 1 yes, 0 no.
  virtual int ShowQuestion(MControl* parent, const MString& text) = 0;
  // 1 yes, 0 no, 2 ignore.
  virtual int ShowQuestionIgnore(MControl* parent, const MString& text) = 0;
  // 1 yes, 0 no, 2 cancel.
  virtual int ShowQuestionCancel(MControl* parent, const MString& text) = 0;
  // Free button texts; answers 1, 2 or 3 by position.
  virtual int ShowThreeButtons(MControl* parent, const MString& title, const MString& text,
                               const MString& button1, const MString& button2,
                               const MString& button3) = 0;
};

// The host in use; the console host unless one was installed. Returns the previous one.
MBoxHost* SetBoxHost(MBoxHost* host);
MBoxHost& BoxHost();

inline void ShowError(MControl* parent, const MString& text) { BoxHost().ShowError(parent, text); }
inline void ShowInformation(MControl* parent, const MString& text) {
  BoxHost().ShowInformation(parent, text);
}
inline int ShowQuestion(MControl* parent, const MString& text) {
  return BoxHost().ShowQuestion(parent, text);
}
inline int ShowQuestionIgnore(MControl* parent, const MString& text) {
  return BoxHost().ShowQuestionIgnore(parent, text);
}
inline int ShowQuestionCancel(MControl* parent, const MString& text) {
  return BoxHost().ShowQuestionCancel(parent, text);
}
inline int ShowThreeButtons(MControl* parent, const MString& title, const MString& text,
                            const MString& button1, const MString& button2,
                            const MString& button3) {
  return BoxHost().ShowThreeButtons(parent, title, text, button1, button2, button3);
}

// Plain text of an STML text: tags removed, <p> as a line break, entities decoded.
MString StripMarkup(const MString& text);

}  // namespace kx
