// MBigInteger: a multi-word unsigned integer of 32-bit limbs, least significant
// first. A default-constructed object holds no value: using it throws
// "Big integer object has not been initialized.".
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MBigInteger {
 public:
  MBigInteger() = default;  // not initialised
  explicit MBigInteger(uint64_t value) { Assign(value); }

  bool IsInitialized() const { return initialized_; }
  void Assign(uint64_t value);

  // Limbs, least significant first; the value always has at least one.
  int32_t LimbCount() const;
  uint32_t Limb(int32_t index) const;

  // this = this * factor + addend
  void MultiplyAdd(uint32_t factor, uint32_t addend);
  void Add(const MBigInteger& other);
  // Negative, zero or positive as this is below, equal to or above other.
  int Compare(const MBigInteger& other) const;

  MString ToHex() const;  // upper case, no leading zeros; "0" for zero

 private:
  void CheckInitialized() const;
  void Trim();  // drops leading zero limbs, keeping one

  MArray<uint32_t> limbs_;
  bool initialized_ = false;
};

}  // namespace kx
