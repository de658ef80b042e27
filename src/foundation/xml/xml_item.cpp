#include "foundation/xml/xml_item.h"

#include "foundation/containers/containers.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {

namespace {

// The attributes and value of `source` on `target`, which has none yet.
void CopyOwnContent(MXMLItem& target, const MXMLItem& source) {
  target.value = source.value;
  for (const MXMLAttribute* attribute = source.firstAttribute; attribute; attribute = attribute->next)
    target.AppendAttribute(attribute->name, attribute->value);
}

// Appends a deep copy of `root` as the last subitem of `target`. Walks by the
// parent links instead of recursing, so depth costs no stack. Each copy is linked
// before it is filled: a failure leaves a partial copy, never a leak.
void AppendCopyOf(MXMLItem& target, const MXMLItem& root) {
  const MXMLItem* source = &root;
  MXMLItem* parent = &target;
  for (;;) {
    MXMLItem& copy = parent->AddSubItem(source->name);
    CopyOwnContent(copy, *source);
    if (source->firstSubItem) {
      parent = &copy;
      source = source->firstSubItem;
      continue;
    }
    for (;;) {
      if (source == &root) return;
      if (source->next) {
        source = source->next;
        break;
      }
      source = source->parent;
      parent = parent->parent;
    }
  }
}

// True when `item` is `ancestor` or lies in its subtree.
bool IsWithin(const MXMLItem* item, const MXMLItem* ancestor) {
  for (; item; item = item->parent)
    if (item == ancestor) return true;
  return false;
}

}  // namespace

MXMLItem::~MXMLItem() { FreeContent(); }

// Frees subitems and attributes without recursion: the children of the node
// about to be deleted are spliced in front of the pending chain, so every node
// is deleted childless and its destructor never descends.
void MXMLItem::FreeContent() {
  MXMLItem* pending = firstSubItem;
  firstSubItem = lastSubItem = nullptr;
  subItemCount = 0;
  indexSlot = IndexSlot();
  subItemCache = nullptr;
  while (pending) {
    MXMLItem* node = pending;
    if (node->firstSubItem) {
      node->lastSubItem->next = node->next;
      pending = node->firstSubItem;
      node->firstSubItem = node->lastSubItem = nullptr;
      node->subItemCount = 0;
    } else {
      pending = node->next;
    }
    delete node;
  }
  RemoveAllAttributes();
}

// --- attributes

MXMLAttribute* MXMLItem::FindAttribute(const MXMLName& key) const {
  for (MXMLAttribute* attribute = firstAttribute; attribute; attribute = attribute->next)
    if (attribute->name.Matches(key)) return attribute;
  return nullptr;
}

MString MXMLItem::GetAttributeText(const MXMLName& key, const MString& fallback) const {
  const MXMLAttribute* attribute = FindAttribute(key);
  return attribute ? attribute->value.AsString() : fallback;
}

int64_t MXMLItem::GetAttributeInt(const MXMLName& key, int64_t fallback) const {
  const MXMLAttribute* attribute = FindAttribute(key);
  return attribute ? attribute->value.AsInt64() : fallback;
}

bool MXMLItem::GetAttributeBool(const MXMLName& key, bool fallback) const {
  const MXMLAttribute* attribute = FindAttribute(key);
  return attribute ? attribute->value.AsInt64() != 0 : fallback;
}

bool MXMLItem::HasAttribute(const MXMLName& key) {
  attributeCache = FindAttribute(key);
  return attributeCache != nullptr;
}

const MVariant& MXMLItem::GetCachedAttribute() const {
  if (!attributeCache)
    throw MException(
        "There is no attribute in the cache. Previous call to HasAttribute probably did not succeed.");
  return attributeCache->value;
}

const MVariant& MXMLItem::GetAttribute(const MXMLName& key) const {
  const MXMLAttribute* attribute = FindAttribute(key);
  if (!attribute) throw MException(MFormat("Could not find required attribute ({0}).").Add(key.text));
  return attribute->value;
}

MXMLAttribute& MXMLItem::AppendAttribute(const MXMLName& key, const MVariant& attributeValue) {
  auto* attribute = new MXMLAttribute(key, attributeValue);
  LinkAttribute(attribute);
  return *attribute;
}

MXMLAttribute& MXMLItem::SetAttribute(const MXMLName& key, const MVariant& attributeValue) {
  if (MXMLAttribute* attribute = FindAttribute(key)) {
    attribute->value = attributeValue;
    return *attribute;
  }
  return AppendAttribute(key, attributeValue);
}

bool MXMLItem::RemoveAttribute(const MXMLName& key) {
  MXMLAttribute* attribute = FindAttribute(key);
  if (!attribute) return false;
  if (attribute->previous)
    attribute->previous->next = attribute->next;
  else
    firstAttribute = attribute->next;
  if (attribute->next)
    attribute->next->previous = attribute->previous;
  else
    lastAttribute = attribute->previous;
  --attributeCount;
  // A stale cache would point into the pool; cheaper to forget it than to be wrong.
  if (attributeCache == attribute) attributeCache = nullptr;
  delete attribute;
  return true;
}

void MXMLItem::RemoveAllAttributes() {
  MXMLAttribute* attribute = firstAttribute;
  firstAttribute = lastAttribute = nullptr;
  attributeCount = 0;
  attributeCache = nullptr;
  while (attribute) {
    MXMLAttribute* following = attribute->next;
    delete attribute;
    attribute = following;
  }
}

// --- subitems

MXMLItem* MXMLItem::FindSubItem(const MXMLName& key) const {
  for (MXMLItem* item = firstSubItem; item; item = item->next)
    if (key.MatchesText(item->name)) return item;
  return nullptr;
}

bool MXMLItem::HasSubItem(const MXMLName& key) {
  subItemCache = FindSubItem(key);
  return subItemCache != nullptr;
}

MXMLItem& MXMLItem::GetCachedSubItem() const {
  if (!subItemCache)
    throw MException(
        "There is no subitem in the cache. Previous call to HasSubItem probably did not succeed.");
  return *subItemCache;
}

MXMLItem& MXMLItem::GetSubItem(const MXMLName& key) const {
  MXMLItem* item = FindSubItem(key);
  if (!item) throw MException(MFormat("Could not find required subitem ({0}).").Add(key.text));
  return *item;
}

void MXMLItem::UnlinkSubItem(MXMLItem* item) {
  if (item->previous)
    item->previous->next = item->next;
  else
    firstSubItem = item->next;
  if (item->next)
    item->next->previous = item->previous;
  else
    lastSubItem = item->previous;
  --subItemCount;
  item->parent = item->previous = item->next = nullptr;
  indexSlot = IndexSlot();
  if (subItemCache == item) subItemCache = nullptr;
}

MXMLItem& MXMLItem::AdoptSubItem(MXMLItem* item) {
  LinkSubItem(item);
  return *item;
}

void MXMLItem::RemoveSubItem(MXMLItem* item) { delete DetachSubItem(item); }

MXMLItem* MXMLItem::DetachSubItem(MXMLItem* item) {
  if (!item || item->parent != this) throw MException("Item is not a subitem of this item.");
  UnlinkSubItem(item);
  return item;
}

MXMLItem& MXMLItem::GetSubItemIndexed(int32_t index) {
  if (index < 0 || index >= subItemCount) ThrowIndexOutOfRange();
  // Start from the nearest of the first, the last and the remembered position.
  MXMLItem* item = firstSubItem;
  int32_t at = 0;
  int32_t distance = index;
  if (subItemCount - 1 - index < distance) {
    item = lastSubItem;
    at = subItemCount - 1;
    distance = at - index;
  }
  if (indexSlot.item) {
    int32_t fromSlot = index > indexSlot.index ? index - indexSlot.index : indexSlot.index - index;
    if (fromSlot < distance) {
      item = indexSlot.item;
      at = indexSlot.index;
    }
  }
  for (; at < index; ++at) item = item->next;
  for (; at > index; --at) item = item->previous;
  indexSlot.item = item;
  indexSlot.index = index;
  return *item;
}

// --- whole items

void MXMLItem::Clear() {
  FreeContent();
  value.Clear();
}

void MXMLItem::CopyFrom(const MXMLItem& other) {
  if (&other == this) return;
  if (IsWithin(&other, this) || IsWithin(this, &other)) {
    // `other` would go with our subtree, or grow while we copy it: copy it aside first.
    MXMLItem copy;
    copy.CopyFrom(other);
    CopyFrom(copy);
    return;
  }
  Clear();
  name = other.name;
  CopyOwnContent(*this, other);
  for (const MXMLItem* item = other.firstSubItem; item; item = item->next) AppendCopyOf(*this, *item);
}

void MXMLItem::Merge(const MXMLItem& other) {
  if (IsWithin(this, &other)) {
    // Appending to our own source would make it grow while we walk it.
    MXMLItem copy;
    copy.CopyFrom(other);
    Merge(copy);
    return;
  }
  for (const MXMLAttribute* attribute = other.firstAttribute; attribute; attribute = attribute->next)
    SetAttribute(attribute->name, attribute->value);
  for (const MXMLItem* item = other.firstSubItem; item; item = item->next) AppendCopyOf(*this, *item);
}

}  // namespace kx
