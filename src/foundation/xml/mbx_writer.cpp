#include "foundation/xml/mbx_writer.h"

#include <cstring>

#include "foundation/text/char_folding.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

// A string goes out as 's' when each unit is one non-zero byte. A zero unit
// would end an 's' string early and turn the rest into commands, so such a
// string takes 'u', whose explicit length carries the zero through.
bool FitsByteString(const MShortString& text) {
  if (const char* bytes = text.ExternalBytes())
    return std::memchr(bytes, 0, static_cast<size_t>(text.Length())) == nullptr;
  const MChar* units = text.UnitsOrNull();
  for (int32_t i = 0; i < text.Length(); ++i)
    if (units[i] == 0 || units[i] > 255) return false;
  return true;
}

// A name ends at its first zero unit, if it has one: the reader would take what
// follows for commands.
template <int N>
int64_t NameLength(const MStringT<N>& name) {
  for (int32_t i = 0; i < name.Length(); ++i)
    if (name[i] == 0) return i;
  return name.Length();
}

// Units below 0x80 are their own UTF-8.
bool IsPlainASCII(const MString& text) {
  if (const char* bytes = text.ExternalBytes()) {
    for (int32_t i = 0; i < text.Length(); ++i)
      if (static_cast<unsigned char>(bytes[i]) >= 0x80) return false;
    return true;
  }
  const MChar* units = text.UnitsOrNull();
  for (int32_t i = 0; i < text.Length(); ++i)
    if (units[i] >= 0x80) return false;
  return true;
}

}  // namespace

template <int N>
void MMBXWriter::PutBytesOf(const MStringT<N>& text, int64_t count) {
  if (const char* bytes = text.ExternalBytes()) {
    Put(bytes, count);
    return;
  }
  // Units go into the block one byte each, without a buffer of their own:
  // names and texts are many and short.
  const MChar* units = text.UnitsOrNull();
  for (int64_t done = 0; done < count;) {
    if (filled_ == kBlockSize) Flush();
    int64_t piece = count - done < kBlockSize - filled_ ? count - done : kBlockSize - filled_;
    unsigned char* out = block_ + filled_;
    for (int64_t i = 0; i < piece; ++i) {
      MChar unit = units[done + i];
      out[i] = unit < 256 ? static_cast<unsigned char>(unit) : NarrowUnit(unit);
    }
    filled_ += static_cast<int32_t>(piece);
    done += piece;
  }
}

MMBXWriter::MMBXWriter(MStream& target) : target_(target) {
  std::memcpy(block_, kMBXMagic, sizeof kMBXMagic);
  filled_ = sizeof kMBXMagic;
}

void MMBXWriter::Flush() {
  if (filled_ == 0) return;
  int32_t size = filled_;
  filled_ = 0;
  target_.Write(block_, size);
}

void MMBXWriter::Put(const void* data, int64_t size) {
  if (size > kBlockSize - filled_) Flush();
  if (size > kBlockSize) {
    target_.Write(data, size);
    return;
  }
  std::memcpy(block_ + filled_, data, static_cast<size_t>(size));
  filled_ += static_cast<int32_t>(size);
}

void MMBXWriter::PutInteger(int64_t value) {
  if (value >= INT8_MIN && value <= INT8_MAX) {
    PutNumber('1', static_cast<int8_t>(value));
  } else if (value >= INT16_MIN && value <= INT16_MAX) {
    PutNumber('2', static_cast<int16_t>(value));
  } else if (value >= INT32_MIN && value <= INT32_MAX) {
    PutNumber('4', static_cast<int32_t>(value));
  } else {
    PutNumber('8', value);
  }
}

void MMBXWriter::WriteValue(const MVariant& value) {
  switch (value.GetType()) {
    // Each integer type can only hold values of its own width, so the narrowest
    // fitting letter is what the per-type tests give.
    case MVariant::kInt64:
      PutInteger(value.Int64());
      return;
    case MVariant::kInt32:
      PutInteger(value.Int32());
      return;
    case MVariant::kInt16:
      PutInteger(value.Int16());
      return;
    case MVariant::kInt8:
      PutNumber('1', value.Int8());
      return;
    case MVariant::kFloat:
      PutNumber('f', value.Float());
      return;
    case MVariant::kDouble:
      PutNumber('d', value.Double());
      return;
    case MVariant::kString: {
      const MShortString& text = value.Text();
      if (FitsByteString(text)) {
        PutByte('s');
        PutBytesOf(text, text.Length());
        PutByte(0);
      } else {
        MByteBuffer bytes;
        text.ToUTF8(bytes);
        PutNumber('u', static_cast<int32_t>(bytes.Size()));
        Put(bytes.Data(), bytes.Size());
      }
      return;
    }
    case MVariant::kBuffer: {
      const MVariant::Buffer* buffer = value.GetBuffer();
      bool compressed = value.IsCompressed();
      if (buffer->size > 0x7fffffff) {
        PutNumber(compressed ? 'Z' : 'B', buffer->size);
      } else {
        PutNumber(compressed ? 'z' : 'b', static_cast<int32_t>(buffer->size));
      }
      Put(buffer->data, buffer->size);
      return;
    }
  }
  PutByte('!');  // a type this writer does not know; no reader accepts it
}

void MMBXWriter::WriteOpening(const MXMLItem& item) {
  PutByte('X');
  const MString& name = item.name;
  if (IsPlainASCII(name)) {
    PutBytesOf(name, NameLength(name));
  } else {
    MByteBuffer bytes;
    name.ToUTF8(bytes);
    const void* zero = std::memchr(bytes.Data(), 0, static_cast<size_t>(bytes.Size()));
    Put(bytes.Data(), zero ? static_cast<const char*>(zero) - bytes.Data() : bytes.Size());
  }
  PutByte(0);
  for (const MXMLAttribute* attribute = item.firstAttribute; attribute;
       attribute = attribute->next) {
    PutByte('A');
    PutBytesOf(attribute->name.text, NameLength(attribute->name.text));
    PutByte(0);
    WriteValue(attribute->value);
  }
  if (!item.value.IsEmpty()) {
    PutByte('V');
    WriteValue(item.value);
  }
}

void MMBXWriter::WriteTree(const MXMLItem& root) {
  // Depth first along the tree's own links: down to the first subitem, and after
  // an item's close on to its next sibling or up to its parent's close.
  const MXMLItem* item = &root;
  for (;;) {
    WriteOpening(*item);
    if (item->firstSubItem) {
      item = item->firstSubItem;
      continue;
    }
    for (;;) {
      if (item == &root) {
        PutByte('~');
        return;
      }
      PutByte('/');
      if (item->next) {
        item = item->next;
        break;
      }
      item = item->parent;
    }
  }
}

void WriteMBX(const MXMLItem& root, MStream& target) {
  MMBXWriter writer(target);
  writer.WriteTree(root);
  writer.Flush();
}

}  // namespace kx
