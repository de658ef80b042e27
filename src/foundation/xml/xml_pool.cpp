#include "foundation/xml/xml_pool.h"

#include <new>

#include "foundation/threads/global_lock.h"
#include "foundation/containers/variant.h"
#include "foundation/xml/xml_item.h"
#include "foundation/core/never_destroyed.h"

#if defined(__SANITIZE_ADDRESS__)
#define KX_POOL_POISONING 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_POOL_POISONING 1
#endif
#endif
#ifdef KX_POOL_POISONING
#include <sanitizer/asan_interface.h>
// A free node keeps only its link word readable, so that a use after free of a
// pooled node is still caught by the address sanitizer.
#define KX_POISON(address, size) ASAN_POISON_MEMORY_REGION(address, size)
#define KX_UNPOISON(address, size) ASAN_UNPOISON_MEMORY_REGION(address, size)
#else
#define KX_POISON(address, size) ((void)(address), (void)(size))
#define KX_UNPOISON(address, size) ((void)(address), (void)(size))
#endif

namespace kx {

namespace {
constexpr size_t kNodeAlignment = 16;
}

MNodePool::MNodePool(size_t nodeSize, int32_t nodesPerChunk)
    : nodeSize_(((nodeSize < sizeof(FreeNode) ? sizeof(FreeNode) : nodeSize) + kNodeAlignment - 1) &
                ~(kNodeAlignment - 1)),
      nodesPerChunk_(nodesPerChunk < 1 ? 1 : nodesPerChunk) {}

MNodePool::~MNodePool() {
  while (chunks_) {
    FreeNode* chunk = chunks_;
    KX_UNPOISON(chunk, kNodeAlignment + nodeSize_ * nodesPerChunk_);
    chunks_ = chunk->next;
    ::operator delete(chunk, std::align_val_t(kNodeAlignment));
  }
}

void MNodePool::AddChunk() {
  char* chunk = static_cast<char*>(
      ::operator new(kNodeAlignment + nodeSize_ * nodesPerChunk_, std::align_val_t(kNodeAlignment)));
  reinterpret_cast<FreeNode*>(chunk)->next = chunks_;
  chunks_ = reinterpret_cast<FreeNode*>(chunk);
  char* nodes = chunk + kNodeAlignment;
  for (int32_t i = nodesPerChunk_ - 1; i >= 0; --i) {
    auto* node = reinterpret_cast<FreeNode*>(nodes + nodeSize_ * i);
    node->next = free_;
    free_ = node;
    KX_POISON(reinterpret_cast<char*>(node) + sizeof(FreeNode), nodeSize_ - sizeof(FreeNode));
  }
  total_ += nodesPerChunk_;
}

void* MNodePool::Allocate() {
  MGlobalLock hold;
  if (!free_) AddChunk();
  FreeNode* node = free_;
  free_ = node->next;
  ++live_;
  KX_UNPOISON(node, nodeSize_);
  return node;
}

void MNodePool::Free(void* storage) noexcept {
  if (!storage) return;
  MGlobalLock hold;
  auto* node = static_cast<FreeNode*>(storage);
  node->next = free_;
  free_ = node;
  --live_;
  KX_POISON(reinterpret_cast<char*>(node) + sizeof(FreeNode), nodeSize_ - sizeof(FreeNode));
}

int64_t MNodePool::LiveNodes() const {
  MGlobalLock hold;
  return live_;
}

int64_t MNodePool::TotalNodes() const {
  MGlobalLock hold;
  return total_;
}

// Never destroyed: a tree in a global may be destroyed after
// any other static object.
MNodePool& XMLItemPool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MXMLItem), 256);
  return pool.Get();
}

MNodePool& XMLAttributePool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MXMLAttribute), 512);
  return pool.Get();
}

MNodePool& BufferRecordPool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MVariant::Buffer), 256);
  return pool.Get();
}

// The pools hold nodes of their class's own size. A class derived from a pooled
// one is larger: it comes from the general heap, and the sized delete sends it
// back there.
namespace {

void* AllocateNode(MNodePool& pool, size_t size) {
  return size <= pool.NodeSize() ? pool.Allocate() : ::operator new(size);
}

void FreeNode(MNodePool& pool, void* node, size_t size) noexcept {
  if (size <= pool.NodeSize()) {
    pool.Free(node);
  } else {
    ::operator delete(node);
  }
}

}  // namespace

void* MXMLItem::operator new(size_t size) { return AllocateNode(XMLItemPool(), size); }

void MXMLItem::operator delete(void* node, size_t size) noexcept {
  FreeNode(XMLItemPool(), node, size);
}

void* MVariant::Buffer::operator new(size_t size) { return AllocateNode(BufferRecordPool(), size); }

void MVariant::Buffer::operator delete(void* record, size_t size) noexcept {
  FreeNode(BufferRecordPool(), record, size);
}

void* MXMLAttribute::operator new(size_t size) { return AllocateNode(XMLAttributePool(), size); }

void MXMLAttribute::operator delete(void* node, size_t size) noexcept {
  FreeNode(XMLAttributePool(), node, size);
}

}  // namespace kx
