// TEMPORARY minimal implementation; the full template engine replaces it.
#include "foundation/format.h"

#include "foundation/exception.h"

namespace kx {

MFormat::MFormat(const MString& templateText) {
  for (int32_t i = 0; i < templateText.Length(); ++i) {
    MChar c = templateText[i];
    if (c == '{' && i + 1 < templateText.Length() && templateText[i + 1] != '{') {
      int index = 0;
      ++i;
      while (i < templateText.Length() && templateText[i] != '}') {
        if (templateText[i] >= '0' && templateText[i] <= '9') index = index * 10 + (templateText[i] - '0');
        ++i;
      }
      if (i >= templateText.Length())
        throw MException("Formatting string ends in an argument specification.");
      slots_[index].position = result_.Length();
      if (index + 1 > slotCount_) slotCount_ = index + 1;
      continue;
    }
    if ((c == '{' || c == '}') && i + 1 < templateText.Length()) {
      result_.Append(templateText[++i]);
      continue;
    }
    result_.Append(c);
  }
}

void MFormat::Insert(const MString& text) {
  Slot& slot = slots_[next_];
  result_.Insert(slot.position, text);
  for (int k = next_ + 1; k < slotCount_; ++k)
    if (slots_[k].position > slot.position) slots_[k].position += text.Length();
  ++next_;
}

MFormat& MFormat::Add(int64_t value) { Insert(MString::FromNumber(value)); return *this; }
MFormat& MFormat::Add(uint64_t value) { Insert(MString::FromNumber(static_cast<int64_t>(value))); return *this; }
MFormat& MFormat::Add(double value) { Insert(MString::FromNumber(static_cast<int64_t>(value))); return *this; }
MFormat& MFormat::Add(const MString& value) { Insert(value); return *this; }
MFormat& MFormat::AddChar(MChar value) { MString s; s.Append(value); Insert(s); return *this; }

}  // namespace kx
