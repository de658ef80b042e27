// MNodePool: a free-list pool of equal-sized nodes, for the tree's items,
// attributes and variant buffer records, which catalogues have by the ten
// thousand. Nodes are cut from chunks kept while the pool lives: a freed node
// goes to the front of the free list and is the next one handed out. The three
// pools of the tree live until the process ends. Allocate and Free are safe from
// any thread.
//
// A plain pool holds the global lock (global_lock.h) for every node. The three
// tree pools are built with per-thread caches instead: each thread keeps up to
// two batches of free nodes of its own and trades whole batches with the shared
// stack of batches under the lock, so building or freeing a tree of many
// thousand nodes takes the lock once in 64 nodes. No move walks a list: nodes
// come back in exactly the order one free list would give them. A thread's
// cache goes back to the shared stack when the thread ends.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define KX_POOL_POISONING 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_POOL_POISONING 1
#endif
#endif

namespace kx {

class MNodePool {
 public:
  // `cacheSlot` in 0 .. kCacheSlots - 1 gives the pool per-thread caches; only
  // pools that are never destroyed may have one, and each slot one pool.
  static constexpr int kCacheSlots = 3;
  MNodePool(size_t nodeSize, int32_t nodesPerChunk, int cacheSlot = -1);
  // Gives the chunks back; only for pools of a limited life (the three global
  // pools are never destroyed). Every node must have been freed.
  ~MNodePool();
  MNodePool(const MNodePool&) = delete;
  MNodePool& operator=(const MNodePool&) = delete;

  // Uninitialised storage of the pool's node size; throws std::bad_alloc. In
  // line for a node of the thread's cache (below).
  void* Allocate();
  void Free(void* node) noexcept;

  size_t NodeSize() const { return nodeSize_; }
  // Nodes handed out and not yet freed (nodes waiting in a thread's cache count
  // as free); nodes cut from chunks so far.
  int64_t LiveNodes() const;
  int64_t TotalNodes() const;

  // A free node; the first node of a batch also links the next batch and
  // counts its own.
  struct FreeNode {
    FreeNode* next;
    FreeNode* nextBatch;
    int64_t count;
  };
  // The nodes of a full batch.
  static constexpr int32_t kBatch = 64;
  // One thread's cache of one pool: `loaded` hands out and takes back nodes,
  // `spare` is a full batch or nothing. Plain data, so that it stays readable for
  // the whole life of the thread.
  struct Cache {
    MNodePool* pool;
    FreeNode* loaded;
    FreeNode* spare;  // a full batch, or null
    int32_t count;    // nodes on `loaded`
    int32_t synced;   // nodes of this cache as the pool last counted them
  };

 private:
  void* AllocateSlow();
  // Takes `node`, the head of `loaded`, off the cache.
  void TakeLoaded(Cache& cache, FreeNode* node) {
    cache.loaded = node->next;
    // The next node is wanted soon, and after a clear its memory is cold: fetch
    // all of it for writing while the caller fills this one. Spelt out for the
    // two tree nodes (160 and 304 bytes); a prefetch past a smaller node's end
    // does no harm.
    if (FreeNode* next = cache.loaded) {
      const char* line = reinterpret_cast<const char*>(next);
      __builtin_prefetch(line, 1);
      __builtin_prefetch(line + 64, 1);
      __builtin_prefetch(line + 128, 1);
      for (size_t at = 192; at < nodeSize_; at += 64) __builtin_prefetch(line + at, 1);
    }
    --cache.count;
  }
  void AddChunk();
  void* AllocateShared();
  void FreeShared(FreeNode* node) noexcept;
  // Batch moves between a thread's cache and the shared stack of batches.
  void* RefillCache();
  void PushBatch(FreeNode* batch, int64_t count) noexcept;
  void GiveBack(FreeNode* batch, int32_t count) noexcept;
  friend struct MThreadNodeCaches;

  size_t nodeSize_;
  int32_t nodesPerChunk_;
  int cacheSlot_;
  FreeNode* free_ = nullptr;     // a plain pool's free nodes
  FreeNode* batches_ = nullptr;  // a cached pool's free nodes, in batches
  FreeNode* chunks_ = nullptr;  // each chunk's first kNodeAlignment bytes link the chunks
  int64_t total_ = 0;
  int64_t sharedFree_ = 0;  // nodes on free_ or batches_
  int64_t cached_ = 0;      // nodes in thread caches as of their last batch move
};

// A thread's caches, one per cache slot.
struct MThreadNodeCacheState {
  MNodePool::Cache caches[MNodePool::kCacheSlots];
  bool armed;  // the guard is built and will give the caches back
  bool gone;   // given back at thread end: from now on the shared stack only
};
extern constinit thread_local MThreadNodeCacheState threadNodeCaches;

inline void* MNodePool::Allocate() {
#ifndef KX_POOL_POISONING
  if (cacheSlot_ >= 0 && !threadNodeCaches.gone) [[likely]] {
    Cache& cache = threadNodeCaches.caches[cacheSlot_];
    if (FreeNode* node = cache.loaded) [[likely]] {
      TakeLoaded(cache, node);
      return node;
    }
  }
#endif
  return AllocateSlow();
}

// The three pools of the tree (never destroyed, so trees held by globals may be
// freed at exit in any order).
MNodePool& XMLItemPool();
MNodePool& XMLAttributePool();
MNodePool& BufferRecordPool();

}  // namespace kx
