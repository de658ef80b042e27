#include "foundation/containers/big_integer.h"

#include "foundation/text/number_text.h"

namespace kx {

void MBigInteger::CheckInitialized() const {
  if (!initialized_) throw MException("Big integer object has not been initialized.");
}

void MBigInteger::Trim() {
  int32_t keep = limbs_.count;
  while (keep > 1 && limbs_.data[keep - 1] == 0) --keep;
  if (keep < limbs_.count) limbs_.Remove(keep, limbs_.count - keep);
}

void MBigInteger::Assign(uint64_t value) {
  limbs_.Clear(false);
  limbs_.Add(static_cast<uint32_t>(value));
  limbs_.Add(static_cast<uint32_t>(value >> 32));
  initialized_ = true;
  Trim();
}

int32_t MBigInteger::LimbCount() const {
  CheckInitialized();
  return limbs_.count;
}

uint32_t MBigInteger::Limb(int32_t index) const {
  CheckInitialized();
  return limbs_[index];
}

void MBigInteger::MultiplyAdd(uint32_t factor, uint32_t addend) {
  CheckInitialized();
  uint64_t carry = addend;
  for (uint32_t& limb : limbs_) {
    uint64_t product = static_cast<uint64_t>(limb) * factor + carry;
    limb = static_cast<uint32_t>(product);
    carry = product >> 32;
  }
  if (carry) limbs_.Add(static_cast<uint32_t>(carry));
  Trim();
}

void MBigInteger::Add(const MBigInteger& other) {
  CheckInitialized();
  other.CheckInitialized();
  MArray<uint32_t> addend(other.limbs_);  // `other` may be this object
  while (limbs_.count < addend.count) limbs_.Add(0);
  uint64_t carry = 0;
  for (int32_t i = 0; i < limbs_.count; ++i) {
    uint64_t sum = static_cast<uint64_t>(limbs_.data[i]) + carry + (i < addend.count ? addend.data[i] : 0);
    limbs_.data[i] = static_cast<uint32_t>(sum);
    carry = sum >> 32;
  }
  if (carry) limbs_.Add(static_cast<uint32_t>(carry));
}

int MBigInteger::Compare(const MBigInteger& other) const {
  CheckInitialized();
  other.CheckInitialized();
  if (limbs_.count != other.limbs_.count) return limbs_.count < other.limbs_.count ? -1 : 1;
  for (int32_t i = limbs_.count - 1; i >= 0; --i)
    if (limbs_.data[i] != other.limbs_.data[i]) return limbs_.data[i] < other.limbs_.data[i] ? -1 : 1;
  return 0;
}

MString MBigInteger::ToHex() const {
  CheckInitialized();
  MString text = FormatUnsigned(limbs_.data[limbs_.count - 1], 16);
  for (int32_t i = limbs_.count - 2; i >= 0; --i) text.Append(FormatUnsigned(limbs_.data[i], 16, 8, '0'));
  return text;
}

}  // namespace kx
