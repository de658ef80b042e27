// MFormat: the {0} template language in which every message and log line is
// composed; MScan: its reverse reader. Both are short-lived stack objects.
//
// Placeholder: '{' index (up to 3 digits) options '}'. Options: '+' plus sign,
// 'x' hexadecimal, '.N' decimals, ' N' blank-padded width, '0N' zero-padded width.
// "{{" is a literal '{'; '}' followed by a character yields that character (a '}'
// that ends the template stays as it is).
// Arguments are added in index order, so "{1} {0}" swaps them. Indexes run from
// 0 to 31; a higher one, a template ending inside a placeholder, or more Add calls
// than the template has slots throw MException.
//
// MScan reads text by the same template: each placeholder captures a piece of the
// input, and the extraction operators convert the captures in index order. A
// conversion that finds no digit leaves its target and all later ones untouched.
#pragma once

#include <concepts>
#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MFormat {
 public:
  static constexpr int kMaxSlots = 32;

  explicit MFormat(const MString& templateText);

  MFormat& Add(int64_t value);
  MFormat& Add(uint64_t value);
  MFormat& Add(double value);
  MFormat& Add(const MString& value);
  MFormat& Add(const char* value);
  MFormat& Add(char value) { return AddChar(static_cast<MChar>(static_cast<unsigned char>(value))); }
  MFormat& AddChar(MChar value);
  template <std::signed_integral T>
    requires(!std::same_as<T, char> && !std::same_as<T, int64_t>)
  MFormat& Add(T value) {
    return Add(static_cast<int64_t>(value));
  }
  template <std::unsigned_integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, uint64_t> && !std::same_as<T, char16_t>)
  MFormat& Add(T value) {
    return Add(static_cast<uint64_t>(value));
  }
  MFormat& Add(float value) { return Add(static_cast<double>(value)); }
  template <int N>
    requires(N != 60)
  MFormat& Add(const MStringT<N>& value) {
    return Add(MString(value));
  }

  const MString& Result() const { return result_; }
  operator MString() const { return result_; }  // NOLINT: composes into messages

 private:
  // Only the slots below slotCount_ are ever read; SetSlot sets them up.
  struct Slot {
    int32_t position = -1;
    uint8_t flags = 0;  // bit 0 hexadecimal, bit 1 plus
    uint8_t width = 0;
    MChar pad = ' ';
    uint8_t decimals = 4;
    int32_t order = 0;
  };
  template <typename Unit>
  void Parse(const Unit* text, int32_t length);
  void SetSlot(int index, const Slot& slot);
  Slot& NextSlot();
  template <typename Unit>
  void Insert(const Unit* text, int32_t length, bool plus);

  union {  // left unconstructed: clearing 32 slots cost more than a short line's whole composing
    Slot slots_[kMaxSlots];
  };
  int slotCount_ = 0;
  int next_ = 0;
  MString result_;
};

// "{0} min, {1} sec", "{0} hours, {1} min" or "{0} days, {1} hours" by size.
MString FormatDuration(int64_t seconds);

class MScan {
 public:
  static constexpr int kMaxCaptures = 32;

  MScan(const MString& templateText, const MString& input);

  MScan& operator>>(int64_t& value);
  MScan& operator>>(int32_t& value);
  MScan& operator>>(int16_t& value);
  MScan& operator>>(int8_t& value);
  MScan& operator>>(MString& value);

  // Number of captures that extraction may still convert (cut by a failed conversion).
  int Count() const { return count_; }

 private:
  template <typename Unit>
  void Walk(const Unit* text, int32_t length, const MString& input);
  bool NextInteger(int64_t& value);

  MString captures_[kMaxCaptures];
  uint8_t flags_[kMaxCaptures] = {};
  int count_ = 0;
  int next_ = 0;
};

}  // namespace kx
