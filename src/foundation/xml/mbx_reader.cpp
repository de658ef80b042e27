#include "foundation/xml/mbx_reader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "foundation/core/exception.h"
#include "foundation/xml/mbx_writer.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/xml/xml_item.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {
namespace {

// The first eight bytes of a name (fewer: zero-padded), as one little-endian word.
uint64_t HeadOf(const unsigned char* bytes, int64_t length) {
  uint64_t head = 0;
  if (length >= 8) {
    std::memcpy(&head, bytes, sizeof head);
  } else {
    for (int64_t i = 0; i < length; ++i) head |= uint64_t{bytes[i]} << (8 * i);
  }
  return head;
}

[[noreturn]] void ThrowIncorrectCommand() {
  throw MException("Incorrect MBX command identifier.");
}

}  // namespace

void MMBXReader::ShortKey::Set(const unsigned char* bytes, int64_t length) {
  *this = ShortKey();
  if (length >= 16) return;
  // A mask over n bytes and the zero after them.
  auto through = [](int64_t n) { return ~uint64_t{0} >> (8 * (7 - n)); };
  if (length < 8) {
    mask0 = through(length);
    head = HeadOf(bytes, length);
    return;
  }
  mask0 = ~uint64_t{0};
  head = HeadOf(bytes, 8);
  mask1 = through(length - 8);
  tail = HeadOf(bytes + 8, length - 8);
}

MMBXReader::MMBXReader(const void* data, int64_t size)
    : data_(static_cast<const unsigned char*>(data)), size_(size) {}

void MMBXReader::Need(int64_t size) const {
  if (size < 0 || size > size_ - position_) throw MException("Data range not available.");
}

int64_t MMBXReader::LongStringLength() const {
  if (position_ < 0 || position_ >= size_) throw MException("Invalid buffer GetStringLength call.");
  // Eight bytes at a time: a word holds a zero byte when subtracting 1 from each
  // byte borrows into a high bit that the byte itself did not have; the lowest
  // such bit marks the first zero.
  const unsigned char* start = data_ + position_;
  const unsigned char* end = data_ + size_;
  const unsigned char* at = start;
  for (; end - at >= 8; at += 8) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    uint64_t zeros = (word - 0x0101010101010101ULL) & ~word & 0x8080808080808080ULL;
    if (zeros) return (at - start) + __builtin_ctzll(zeros) / 8;
  }
  for (; at < end; ++at)
    if (*at == 0) return at - start;
  throw MException("Not a terminated string for GetStringLength.");
}

void MMBXReader::KnownBytes::Remember(const unsigned char* data, int64_t at, int64_t size) {
  offset = at;
  length = size;
  head = HeadOf(data + at, size);
  key.Set(data + at, size);
}

const MString& MMBXReader::SearchItemName(MString& fresh) {
  // Long names (and any name near the end of the block) are compared here.
  for (int i = 0; i < knownItemCount_; ++i) {
    int slot = (lastKnownItem_ + i) % knownItemCount_;
    KnownItemName& known = knownItems_[slot];
    if (TakeKnown(known.offset, known.length, known.head)) {
      lastKnownItem_ = slot;
      return known.name;
    }
  }
  int64_t length = StringLength();
  MString& name = fresh;
  name.AssignBytes(reinterpret_cast<const char*>(data_ + position_), static_cast<int32_t>(length));
  KnownItemName& entry = knownItems_[nextKnownItem_];
  lastKnownItem_ = nextKnownItem_;
  nextKnownItem_ = (nextKnownItem_ + 1) % kKnownItemNames;
  if (knownItemCount_ < kKnownItemNames) ++knownItemCount_;
  entry.Remember(data_, position_, length);
  entry.name = name;
  position_ += length + 1;
  return name;
}

const MXMLName& MMBXReader::SearchAttributeName() {
  // Names come back in the same order item after item: look from the slot
  // after the last one found. A short name is one word compared.
  int slot = lastKnown_;
  for (int i = 0; i < knownCount_; ++i) {
    if (++slot == knownCount_) slot = 0;
    const KnownName& known = known_[slot];
    if (TakeKnown(known.offset, known.length, known.head)) {
      lastKnown_ = slot;
      return known.name;
    }
  }
  int64_t length = StringLength();
  int64_t offset = position_;
  const char* bytes = reinterpret_cast<const char*>(data_ + offset);
  position_ += length + 1;
  // A new name takes the next slot, the oldest once all are in use.
  lastKnown_ = nextKnown_;
  KnownName& entry = known_[nextKnown_];
  nextKnown_ = (nextKnown_ + 1) % kKnownNames;
  if (knownCount_ < kKnownNames) ++knownCount_;
  entry.Remember(data_, offset, length);
  if (std::find(bytes, bytes + length, ' ') == bytes + length) {
    entry.name.Set(MShortString::FromBytes(bytes, static_cast<int32_t>(length)));
    return entry.name;
  }
  // Old files can hold names with blanks and control characters in them: keep
  // only what is printable.
  MShortString cleaned;
  for (int64_t i = 0; i < length; ++i) {
    unsigned char unit = static_cast<unsigned char>(bytes[i]);
    if (unit >= 33) cleaned.Append(static_cast<MChar>(unit));
  }
  entry.name.Set(cleaned);
  return entry.name;
}

void MMBXReader::ReadValue(MVariant& value) {
  Need(1);
  unsigned char type = data_[position_++];
  switch (type) {
    case '1':
      value.SetInt8(ReadNumber<int8_t>());
      return;
    case '2':
      value.SetInt16(ReadNumber<int16_t>());
      return;
    case '4':
      value.SetInt32(ReadNumber<int32_t>());
      return;
    case '8':
      value.SetInt64(ReadNumber<int64_t>());
      return;
    case 'f':
      value.SetFloat(ReadNumber<float>());
      return;
    case 'd':
      value.SetDouble(ReadNumber<double>());
      return;
    case 's': {
      // Most values are short: their end lies in the next 24 bytes, and they go
      // inline in whole blocks.
      if (size_ - position_ >= 32) {
        int32_t length = ShortStringLength();
        if (length >= 0 && value.SetShortStringBytes(data_ + position_, length)) {
          position_ += length + 1;
          return;
        }
      }
      int64_t length = StringLength();
      value.SetStringBytes(reinterpret_cast<const char*>(data_ + position_), static_cast<int32_t>(length));
      position_ += length + 1;
      return;
    }
    case 'u': {
      int64_t length = ReadNumber<int32_t>();
      Need(length);
      value.SetString(MShortString::FromUTF8(std::string_view(
          reinterpret_cast<const char*>(data_ + position_), static_cast<size_t>(length))));
      position_ += length;
      return;
    }
    case 'b':
    case 'z':
    case 'B':
    case 'Z': {
      int64_t size = (type == 'b' || type == 'z') ? ReadNumber<int32_t>() : ReadNumber<int64_t>();
      Need(size);
      value.SetBuffer(data_ + position_, size, type == 'z' || type == 'Z');
      position_ += size;
      return;
    }
    default:
      throw MException("Unknown variant type.");
  }
}

void MMBXReader::ReadTree(MXMLItem& root) {
  MXMLItem* current = nullptr;
  for (;;) {
    // A valid stream ends with the root's '~'; running out before it is an
    // early end as much as a '~' in the wrong place.
    if (position_ >= size_) throw MException("Unexpected MBX end.");
    unsigned char command = data_[position_++];
    switch (command) {
      case 'X': {
        // The name is read first: a bad name adds no item.
        const MString& name = ReadItemName(itemName_);
        if (!current) {
          root.name = name;
          current = &root;
        } else {
          current = &current->AddSubItem(name);
        }
        break;
      }
      case 'A': {
        if (!current) ThrowIncorrectCommand();
        const MXMLName& name = ReadAttributeName();
        ReadValueQuick(current->AppendAttribute(name).value);
        break;
      }
      case 'V':
        if (!current) ThrowIncorrectCommand();
        ReadValueQuick(current->value);
        break;
      case '/':
        if (!current) ThrowIncorrectCommand();
        // The tree being read may itself hang in a larger tree: its own level is
        // the top, not the first item without a parent.
        if (current == &root) throw MException("Incorrect MBX ending.");
        current = current->parent;
        break;
      case '~':
        if (current != &root) throw MException("Unexpected MBX end.");
        return;
      default:
        ThrowIncorrectCommand();
    }
  }
}

// ------------------------------------------------------ the tree's MBX loads

void MXMLItem::ReadMBX(MStream& stream) {
  Clear();
  name.Clear();
  unsigned char magic[sizeof kMBXMagic];
  if (stream.Read(magic, sizeof magic) != static_cast<int64_t>(sizeof magic) ||
      std::memcmp(magic, kMBXMagic, sizeof magic) != 0)
    throw MException("Not an MBX file.");
  try {
    // A stream in memory is read where it lies; any other is copied into memory
    // first, since the command loop works on one block.
    const char* data = nullptr;
    int64_t size = 0;
    if (auto* memory = dynamic_cast<MMemoryStream*>(&stream)) {
      data = memory->Data();
      size = memory->Size();
    } else if (auto* constant = dynamic_cast<MConstMemoryStream*>(&stream)) {
      data = constant->Data();
      size = constant->Size();
    }
    if (data) {
      int64_t start = stream.GetPosition();
      stream.Seek(0, kSeekEnd);  // the whole rest belongs to the tree, as when copied
      if (size - start > kMaxMBXSize) throw MException(kMBXTooLarge);
      MMBXReader(data + start, size - start).ReadTree(*this);
      return;
    }
    MMemoryStream block;
    char beyond = 0;
    if (CopyStream(stream, block, kMaxMBXSize) == kMaxMBXSize && stream.Read(&beyond, 1) > 0)
      throw MException(kMBXTooLarge);
    MMBXReader(block.Data(), block.Size()).ReadTree(*this);
  } catch (const std::bad_alloc&) {
    // What was built stays, as with any other failure; the memory it holds is
    // the caller's to give back by clearing the tree.
    throw MException(kMBXTooLarge);
  }
}

void MXMLItem::ReadMBXAuto(MStream& stream) {
  int64_t start = 0;
  try {
    start = stream.GetPosition();
  } catch (MException&) {
    start = 0;
  }
  try {
    MZLIBStream inflater;
    inflater.Init(&stream, false);
    ReadMBX(inflater);
    inflater.Terminate();
    return;
  } catch (MException&) {
    // Not a compressed MBX: try the plain form from the same place.
  }
  stream.Seek(start, kSeekBegin);
  ReadMBX(stream);
}

}  // namespace kx
