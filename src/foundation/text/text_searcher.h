// MTextSearcher: substring search for large texts by the quick-search rule.
//
// The pattern is held as UTF-8 bytes with a 256-entry shift table: every entry
// is length + 1, then for the pattern byte at index i the entry of that byte is
// length - i. The case-insensitive form folds the pattern first (accents to the
// plain letter, then A-Z to a-z) and folds each text unit the same way.
//
// Over an MString the results equal MString::Find and MString::FindNoCase.
// Over raw UTF-8 bytes the case-insensitive form folds only the bytes A-Z of
// the text, since an accented letter there is more than one byte.
#pragma once

#include <cstdint>
#include <string>

#include "foundation/text/text_string.h"

namespace kx {

class MTextSearcher {
 public:
  explicit MTextSearcher(const MString& pattern, bool ignoreCase = false);

  bool IgnoresCase() const { return ignoreCase_; }
  // The pattern's UTF-8 bytes, folded in the case-insensitive form.
  const std::string& PatternBytes() const { return pattern_; }
  // The table entry of one byte: how far the window moves when that byte
  // follows it.
  int32_t Shift(unsigned char byte) const { return shift_[byte]; }

  // Unit index of the first match at or after `from`, or -1.
  int32_t Find(const MString& text, int32_t from = 0) const;
  // Byte offset of the first match in UTF-8 bytes at or after `from`, or -1.
  int64_t FindInBytes(const char* bytes, int64_t size, int64_t from = 0) const;

 private:
  MString original_;     // for the few patterns that bytes cannot stand for
  bool ignoreCase_;
  bool unitsOnly_;       // pattern begins with a low or ends with a high surrogate
  std::string pattern_;  // UTF-8, folded when ignoring case
  int32_t shift_[256];
  unsigned char byteFold_[256];
};

}  // namespace kx
