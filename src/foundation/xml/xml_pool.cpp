#include "foundation/xml/xml_pool.h"

#include <new>

#include "foundation/threads/global_lock.h"
#include "foundation/containers/variant.h"
#include "foundation/xml/xml_item.h"
#include "foundation/core/never_destroyed.h"

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

constinit thread_local MThreadNodeCacheState threadNodeCaches = {};

namespace {
constexpr size_t kNodeAlignment = 16;
// The nodes of a full batch. A thread's cache is two lists: `loaded`, which
// hands out and takes back nodes, and `spare`, a full batch or nothing. Together
// with the shared stack of batches below them they form one stack, and each move
// keeps its order, so nodes come back in the reverse order of their freeing as
// from a single free list (a tree built after a clear lies as compactly as the
// old one did). Moves take no walk along a list: a list walk would wait for each
// node's memory in turn, and after a clear of a large tree that memory is cold.
constexpr int32_t kBatch = MNodePool::kBatch;

inline int32_t CachedNodes(const MNodePool::Cache& cache) { return cache.count + (cache.spare ? kBatch : 0); }

}  // namespace

// Gives a thread's cached nodes back when the thread ends. The main thread's
// thread objects end before the statics: trees freed later use the shared stack.
struct MThreadNodeCaches {
  ~MThreadNodeCaches() {
    threadNodeCaches.gone = true;
    for (MNodePool::Cache& cache : threadNodeCaches.caches) {
      if (!cache.pool) continue;
      if (cache.spare) cache.pool->GiveBack(cache.spare, kBatch);
      if (cache.loaded) cache.pool->GiveBack(cache.loaded, cache.count);
      cache.spare = cache.loaded = nullptr;
      cache.count = 0;
    }
  }
};

namespace {

void ArmThreadCaches() {
  static thread_local MThreadNodeCaches guard;
  (void)&guard;
  threadNodeCaches.armed = true;
}

}  // namespace

MNodePool::MNodePool(size_t nodeSize, int32_t nodesPerChunk, int cacheSlot)
    : nodeSize_(((nodeSize < sizeof(FreeNode) ? sizeof(FreeNode) : nodeSize) + kNodeAlignment - 1) &
                ~(kNodeAlignment - 1)),
      nodesPerChunk_(nodesPerChunk < 1 ? 1 : nodesPerChunk),
      cacheSlot_(cacheSlot >= 0 && cacheSlot < kCacheSlots ? cacheSlot : -1) {}

MNodePool::~MNodePool() {
  while (chunks_) {
    FreeNode* chunk = chunks_;
    KX_UNPOISON(chunk, kNodeAlignment + nodeSize_ * nodesPerChunk_);
    chunks_ = chunk->next;
    ::operator delete(chunk, std::align_val_t(kNodeAlignment));
  }
}

// A plain pool puts the new nodes on its free list, a cached one on its stack
// in batches; either way the first node of the chunk is the first handed out.
void MNodePool::AddChunk() {
  char* chunk = static_cast<char*>(
      ::operator new(kNodeAlignment + nodeSize_ * nodesPerChunk_, std::align_val_t(kNodeAlignment)));
  reinterpret_cast<FreeNode*>(chunk)->next = chunks_;
  chunks_ = reinterpret_cast<FreeNode*>(chunk);
  char* nodes = chunk + kNodeAlignment;
  total_ += nodesPerChunk_;
  sharedFree_ += nodesPerChunk_;
  FreeNode* list = cacheSlot_ < 0 ? free_ : nullptr;
  int32_t inList = 0;
  for (int32_t i = nodesPerChunk_ - 1; i >= 0; --i) {
    auto* node = reinterpret_cast<FreeNode*>(nodes + nodeSize_ * i);
    node->next = list;
    list = node;
    KX_POISON(reinterpret_cast<char*>(node) + sizeof(FreeNode), nodeSize_ - sizeof(FreeNode));
    if (cacheSlot_ >= 0 && (++inList == kBatch || i == 0)) {
      PushBatch(list, inList);
      list = nullptr;
      inList = 0;
    }
  }
  if (cacheSlot_ < 0) free_ = list;
}

void MNodePool::PushBatch(FreeNode* batch, int64_t count) noexcept {
  batch->nextBatch = batches_;
  batch->count = count;
  batches_ = batch;
}

void* MNodePool::AllocateShared() {
  MGlobalLock hold;
  FreeNode* node;
  if (cacheSlot_ < 0) {
    if (!free_) AddChunk();
    node = free_;
    free_ = node->next;
  } else {
    if (!batches_) AddChunk();
    node = batches_;
    batches_ = node->nextBatch;
    if (node->count > 1) PushBatch(node->next, node->count - 1);
  }
  --sharedFree_;
  KX_UNPOISON(node, nodeSize_);
  return node;
}

void MNodePool::FreeShared(FreeNode* node) noexcept {
  MGlobalLock hold;
  if (cacheSlot_ < 0) {
    node->next = free_;
    free_ = node;
  } else {
    node->next = nullptr;
    PushBatch(node, 1);
  }
  ++sharedFree_;
  KX_POISON(reinterpret_cast<char*>(node) + sizeof(FreeNode), nodeSize_ - sizeof(FreeNode));
}

// Every case under the address sanitizer, else those that Allocate does not
// take in line.
void* MNodePool::AllocateSlow() {
  if (cacheSlot_ < 0 || threadNodeCaches.gone) return AllocateShared();
  MNodePool::Cache& cache = threadNodeCaches.caches[cacheSlot_];
  FreeNode* node = cache.loaded;
  if (!node) {
    if (!cache.spare) return RefillCache();
    node = cache.spare;
    cache.spare = nullptr;
    cache.count = kBatch;
  }
  TakeLoaded(cache, node);
  KX_UNPOISON(node, nodeSize_);
  return node;
}


void MNodePool::Free(void* storage) noexcept {
  if (!storage) return;
  auto* node = static_cast<FreeNode*>(storage);
  if (cacheSlot_ < 0 || threadNodeCaches.gone) {
    FreeShared(node);
    return;
  }
  MNodePool::Cache& cache = threadNodeCaches.caches[cacheSlot_];
  if (!cache.pool) {
    // A thread that only frees must give its nodes back at its end as well.
    if (!threadNodeCaches.armed) ArmThreadCaches();
    cache.pool = this;
  }
  if (cache.count == kBatch) {
    // `loaded` is full: it becomes the spare, and a spare there was goes to the stack.
    if (cache.spare) GiveBack(cache.spare, kBatch);
    cache.spare = cache.loaded;
    cache.loaded = nullptr;
    cache.count = 0;
  }
  node->next = cache.loaded;
  cache.loaded = node;
  ++cache.count;
  KX_POISON(reinterpret_cast<char*>(node) + sizeof(FreeNode), nodeSize_ - sizeof(FreeNode));
}

// The cache is empty: the top batch of the stack becomes `loaded`, and its first
// node is the caller's.
void* MNodePool::RefillCache() {
  if (!threadNodeCaches.armed) ArmThreadCaches();
  MNodePool::Cache& cache = threadNodeCaches.caches[cacheSlot_];
  cache.pool = this;
  MGlobalLock hold;
  if (!batches_) AddChunk();
  FreeNode* node = batches_;
  batches_ = node->nextBatch;
  sharedFree_ -= node->count;
  cache.loaded = node->next;
  cache.count = static_cast<int32_t>(node->count - 1);
  cached_ += CachedNodes(cache) - cache.synced;
  cache.synced = CachedNodes(cache);
  KX_UNPOISON(node, nodeSize_);
  return node;
}

// A batch of this thread's cache goes on top of the shared stack.
void MNodePool::GiveBack(FreeNode* batch, int32_t count) noexcept {
  if (!threadNodeCaches.armed && !threadNodeCaches.gone) ArmThreadCaches();
  MNodePool::Cache& cache = threadNodeCaches.caches[cacheSlot_];
  cache.pool = this;
  MGlobalLock hold;
  PushBatch(batch, count);
  sharedFree_ += count;
  // The cache holds what it held, less this batch (called before the cache's own
  // fields change, or after they were cleared at thread end).
  int32_t now = threadNodeCaches.gone ? 0 : CachedNodes(cache) - count;
  cached_ += now - cache.synced;
  cache.synced = now;
}

int64_t MNodePool::LiveNodes() const {
  int64_t mine = 0;
  if (cacheSlot_ >= 0) {
    const MNodePool::Cache& cache = threadNodeCaches.caches[cacheSlot_];
    mine = CachedNodes(cache) - cache.synced;  // this thread's moves since its last batch
  }
  MGlobalLock hold;
  return total_ - sharedFree_ - cached_ - mine;
}

int64_t MNodePool::TotalNodes() const {
  MGlobalLock hold;
  return total_;
}

// Never destroyed: a tree in a global may be destroyed after
// any other static object.
MNodePool& XMLItemPool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MXMLItem), 256, 0);
  return pool.Get();
}

MNodePool& XMLAttributePool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MXMLAttribute), 512, 1);
  return pool.Get();
}

MNodePool& BufferRecordPool() {
  static MNeverDestroyed<MNodePool> pool(sizeof(MVariant::Buffer), 256, 2);
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

void MXMLItem::operator delete(void* node, size_t size) noexcept {
  FreeNode(XMLItemPool(), node, size);
}

void* MVariant::Buffer::operator new(size_t size) { return AllocateNode(BufferRecordPool(), size); }

void MVariant::Buffer::operator delete(void* record, size_t size) noexcept {
  FreeNode(BufferRecordPool(), record, size);
}

void MXMLAttribute::operator delete(void* node, size_t size) noexcept {
  FreeNode(XMLAttributePool(), node, size);
}

}  // namespace kx
