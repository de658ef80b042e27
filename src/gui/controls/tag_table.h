// MTagTable: a control's named attachments, 16 open-addressed slots inside the
// object. A tag is four ASCII characters as a 32-bit value; its home slot is the
// exclusive-or of the four bytes modulo 16, and probing runs on with
// wrap-around. An owned attachment is deleted with the table.
#pragma once

#include <cstdint>

namespace kx {

constexpr uint32_t MakeTag(const char (&text)[5]) {
  return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
         static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}

inline constexpr uint32_t kTagButtonModalValue = MakeTag("CCBI");
inline constexpr uint32_t kTagStyleElement = MakeTag("CCDE");
inline constexpr uint32_t kTagCaptionBar = MakeTag("CSBC");
inline constexpr uint32_t kTagCachedBitmap = MakeTag("MBCP");
inline constexpr uint32_t kTagWindowHost = MakeTag("W3WD");
inline constexpr uint32_t kTagPreviewImage = MakeTag("PIBS");

class MTagTable {
 public:
  static constexpr int kSlots = 16;
  static constexpr uint32_t kFree = 0xFFFFFFFFu;
  enum Kind : uint8_t { kValue = 0, kPointer = 1, kOwned = 2 };
  using Deleter = void (*)(void*);

  struct Slot {
    uint32_t tag = kFree;
    uint8_t kind = kValue;
    bool deleteWithControl = false;
    void* pointer = nullptr;
    int64_t value = 0;
    Deleter deleter = nullptr;
  };

  MTagTable() = default;
  MTagTable(const MTagTable&) = delete;
  MTagTable& operator=(const MTagTable&) = delete;
  ~MTagTable();

  static int HomeSlot(uint32_t tag) {
    return static_cast<int>((tag ^ (tag >> 8) ^ (tag >> 16) ^ (tag >> 24)) & 0xFF) % kSlots;
  }

  // An owned object, deleted with the table (or when replaced or removed).
  template <typename T>
  void SetOwned(uint32_t tag, T* object) {
    Put(tag, kOwned, object, 0, [](void* p) { delete static_cast<T*>(p); });
  }
  void SetPointer(uint32_t tag, void* pointer) { Put(tag, kPointer, pointer, 0, nullptr); }
  void SetValue(uint32_t tag, int64_t value) { Put(tag, kValue, nullptr, value, nullptr); }

  // Null when absent.
  const Slot* Find(uint32_t tag) const;
  void* GetPointer(uint32_t tag) const {
    const Slot* slot = Find(tag);
    return slot ? slot->pointer : nullptr;
  }
  bool Remove(uint32_t tag);
  // The slot index where `tag` lies, -1 when absent.
  int IndexOf(uint32_t tag) const;

 private:
  void Put(uint32_t tag, uint8_t kind, void* pointer, int64_t value, Deleter deleter);
  static void Release(Slot& slot);

  Slot slots_[kSlots];
};

}  // namespace kx
