// MXMLItem: one element of the in-memory tree that every data file loads into;
// MXMLAttribute: one named value on it.
//
// An item owns its subitems and attributes; destroying or clearing it destroys
// the whole subtree (iteratively, so trees of any depth are safe). Items and
// attributes come from free-list pools (xml_pool.h): allocate them with `new`,
// and hand subitems to the tree, which frees them. A class derived from either
// (larger, so from the heap) is deleted as itself, never handed to a tree.
//
// The fields are public for fast reading by walkers and serialisers; change the
// lists only through the operations, which keep counts and links consistent.
//
// Names compare without regard to case (MXMLName). HasAttribute and HasSubItem
// remember what they found, so the idiom for an optional key walks the list once:
//   if (item.HasAttribute(kKey)) value = item.GetCachedAttribute().AsInt();
// The caches stay valid until the list changes; reading them after a removal is
// undefined and callers do not do it.
//
// Failures are MException: the lookups' messages, "Index out of range.",
// value buffer and parse failures (see the operations).
#pragma once

#include <cstdint>

#include "foundation/containers/variant.h"
#include "foundation/xml/xml_name.h"
#include "foundation/xml/xml_pool.h"

namespace kx {

class MStream;

class MXMLAttribute {
 public:
  MXMLAttribute* previous = nullptr;
  MXMLAttribute* next = nullptr;
  MXMLName name;
  MVariant value;

  MXMLAttribute() = default;
  explicit MXMLAttribute(const MXMLName& attributeName) : name(attributeName) {}
  MXMLAttribute(const MXMLName& attributeName, const MVariant& attributeValue)
      : name(attributeName), value(attributeValue) {}
  MXMLAttribute(const MXMLAttribute&) = delete;
  MXMLAttribute& operator=(const MXMLAttribute&) = delete;

  // Storage from the attribute pool (a larger derived object: from the heap).
  static void* operator new(size_t size);
  static void operator delete(void* node, size_t size) noexcept;
};

class MXMLItem {
 public:
  // Where GetSubItemIndexed stopped last, so that indexed loops walk the list once.
  struct IndexSlot {
    MXMLItem* item = nullptr;
    int32_t index = -1;
  };

  MXMLItem* previous = nullptr;
  MXMLItem* next = nullptr;
  MXMLItem* parent = nullptr;
  MXMLItem* firstSubItem = nullptr;
  MXMLItem* lastSubItem = nullptr;
  int32_t subItemCount = 0;
  IndexSlot indexSlot;
  MString name;
  MVariant value;
  MXMLAttribute* firstAttribute = nullptr;
  MXMLAttribute* lastAttribute = nullptr;
  int32_t attributeCount = 0;
  MXMLAttribute* attributeCache = nullptr;
  MXMLItem* subItemCache = nullptr;

  MXMLItem() = default;
  explicit MXMLItem(const MString& itemName) : name(itemName) {}
  MXMLItem(const MXMLItem&) = delete;
  MXMLItem& operator=(const MXMLItem&) = delete;
  ~MXMLItem();

  // Storage from the item pool (a larger derived object: from the heap).
  static void* operator new(size_t size);
  static void operator delete(void* node, size_t size) noexcept;

  const MString& GetName() const { return name; }
  void SetName(const MString& itemName) { name = itemName; }

  // --- attributes
  bool HasAttribute(const MXMLName& key);
  // Throws "There is no attribute in the cache. Previous call to HasAttribute
  // probably did not succeed." when the last HasAttribute found nothing.
  const MVariant& GetCachedAttribute() const;
  // Throws "Could not find required attribute ({0})." with the key.
  const MVariant& GetAttribute(const MXMLName& key) const;
  // The attribute of that name, or null; touches no cache.
  MXMLAttribute* FindAttribute(const MXMLName& key) const;
  // The attribute's value as text, a number or a flag, or `fallback` when there is
  // none; touch no cache, so readers on several threads may share a tree. A flag
  // is the integer value other than 0 ("0.5" reads as false).
  MString GetAttributeText(const MXMLName& key, const MString& fallback = MString()) const;
  int64_t GetAttributeInt(const MXMLName& key, int64_t fallback) const;
  bool GetAttributeBool(const MXMLName& key, bool fallback) const;
  // Replaces the value of an existing attribute, else appends one at the end.
  MXMLAttribute& SetAttribute(const MXMLName& key, const MVariant& attributeValue);
  // Appends without looking for an existing one (readers of files).
  MXMLAttribute& AppendAttribute(const MXMLName& key, const MVariant& attributeValue);
  // The same with an empty value, for readers that fill the value in place
  // (in line: the MBX reader calls it for every attribute).
  MXMLAttribute& AppendAttribute(const MXMLName& key) {
    auto* attribute = new MXMLAttribute(key);
    LinkAttribute(attribute);
    return *attribute;
  }
  // Unlinks and frees; false when there was none.
  bool RemoveAttribute(const MXMLName& key);
  void RemoveAllAttributes();

  // --- subitems
  bool HasSubItem(const MXMLName& key);
  // Throws "There is no subitem in the cache. Previous call to HasSubItem
  // probably did not succeed." when the last HasSubItem found nothing.
  MXMLItem& GetCachedSubItem() const;
  // Throws "Could not find required subitem ({0})." with the key.
  MXMLItem& GetSubItem(const MXMLName& key) const;
  // The first subitem of that name, or null; touches no cache.
  MXMLItem* FindSubItem(const MXMLName& key) const;
  // A new item appended last.
  MXMLItem& AddSubItem(const MString& itemName) {
    auto* item = new MXMLItem(itemName);
    LinkSubItem(item);
    return *item;
  }
  // Appends an item made with `new`; the tree owns it from now on.
  MXMLItem& AdoptSubItem(MXMLItem* item);
  // Unlinks `item` (a subitem of this one) and frees it with its subtree.
  void RemoveSubItem(MXMLItem* item);
  // Unlinks `item` without freeing it; the caller owns it afterwards.
  MXMLItem* DetachSubItem(MXMLItem* item);
  // Throws "Index out of range." outside 0 .. subItemCount - 1.
  MXMLItem& GetSubItemIndexed(int32_t index);

  // Subitems, attributes and value go; the name stays.
  void Clear();
  // This item becomes a deep copy of `other` (name included).
  void CopyFrom(const MXMLItem& other);
  // The other's attributes are set here (SetAttribute), its subitems appended as
  // deep copies. Both also work when `other` is this item or lies in its subtree
  // (or the other way round): the source is then copied first.
  void Merge(const MXMLItem& other);

  // --- value buffers
  enum class BufferMode {
    kBufferExact = 0,   // fewer bytes than `size` throw "Value doesn't have correct format."
    kBufferClear = 1,   // the rest of the block is cleared
    kBufferShort = 2,   // a shortage is accepted
  };
  using enum BufferMode;
  // Copies the value's bytes (see MVariant::WriteBuffer; inflated when `decompress`
  // and the value is compressed) into `target`; returns the bytes copied. With a
  // mode other than kBufferExact a failing read clears the block and returns 0, and an empty
  // value clears it too.
  int64_t GetValueBuffer(void* target, int64_t size, bool decompress, BufferMode mode) const;
  // Writes the value's bytes to `stream`, then rewinds the stream to 0.
  void WriteValueToStream(MStream& stream, bool decompress) const;
  // Stores `size` bytes as a buffer value, deflated at `quality` (1..100) when
  // `compress`; size 0 leaves an empty string.
  void SetValueBuffer(const void* data, int64_t size, bool compress, int quality = 100);

  // --- text form (xml_item_io.cpp)
  // Clears the tree and parses text XML into it. Throws the parser's messages,
  // "The XML does not contain any elements." for a document without elements,
  // and "Error parsing a XML file." also when the memory runs out.
  void LoadXML(MStream& stream);
  // Writes text XML (header line, pretty or compact). With `compress` a
  // quality-100 MZLIBStream stands between and the text is compact in any case.
  void SaveXML(MStream& stream, bool compress = false, bool compact = false) const;

  // --- binary form and files: defined with the MBX code (mbx_*.cpp; the limit
  // on the size of an MBX stream is in mbx_reader.h)
  void ReadMBX(MStream& stream);
  void ReadMBXAuto(MStream& stream);
  void LoadAny(MStream& stream);
  void SaveMBX(MStream& stream, bool compress = false) const;
  void LoadFile(const MString& path);
  void SaveFile(const MString& path, bool compress = false) const;

 private:
  void LinkSubItem(MXMLItem* item) {
    item->parent = this;
    item->previous = lastSubItem;
    item->next = nullptr;
    if (lastSubItem)
      lastSubItem->next = item;
    else
      firstSubItem = item;
    lastSubItem = item;
    ++subItemCount;
  }
  void UnlinkSubItem(MXMLItem* item);
  void LinkAttribute(MXMLAttribute* attribute) {
    attribute->previous = lastAttribute;
    attribute->next = nullptr;
    if (lastAttribute)
      lastAttribute->next = attribute;
    else
      firstAttribute = attribute;
    lastAttribute = attribute;
    ++attributeCount;
  }
  void FreeContent();
};

// In line, so that a reader building many nodes takes each from the thread's
// cache without a call.
inline void* MXMLItem::operator new(size_t size) {
  MNodePool& pool = XMLItemPool();
  return size <= pool.NodeSize() ? pool.Allocate() : ::operator new(size);
}

inline void* MXMLAttribute::operator new(size_t size) {
  MNodePool& pool = XMLAttributePool();
  return size <= pool.NodeSize() ? pool.Allocate() : ::operator new(size);
}

}  // namespace kx
