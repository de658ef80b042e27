// MNodePool: a free-list pool of equal-sized nodes, for the tree's items,
// attributes and variant buffer records, which catalogues have by the ten
// thousand. Nodes are cut from chunks kept while the pool lives: a freed node
// goes to the front of the free list and is the next one handed out. The three
// pools of the tree live until the process ends. Allocate and Free are safe from
// any thread: they hold the global lock (global_lock.h).
#pragma once

#include <cstddef>
#include <cstdint>

namespace kx {

class MNodePool {
 public:
  MNodePool(size_t nodeSize, int32_t nodesPerChunk);
  // Gives the chunks back; only for pools of a limited life (the three global
  // pools are never destroyed). Every node must have been freed.
  ~MNodePool();
  MNodePool(const MNodePool&) = delete;
  MNodePool& operator=(const MNodePool&) = delete;

  // Uninitialised storage of the pool's node size; throws std::bad_alloc.
  void* Allocate();
  void Free(void* node) noexcept;

  size_t NodeSize() const { return nodeSize_; }
  // Nodes handed out and not yet freed; nodes cut from chunks so far.
  int64_t LiveNodes() const;
  int64_t TotalNodes() const;

 private:
  struct FreeNode {
    FreeNode* next;
  };
  void AddChunk();

  size_t nodeSize_;
  int32_t nodesPerChunk_;
  FreeNode* free_ = nullptr;
  FreeNode* chunks_ = nullptr;  // each chunk's first kNodeAlignment bytes link the chunks
  int64_t live_ = 0;
  int64_t total_ = 0;
};

// The three pools of the tree (never destroyed, so trees held by globals may be
// freed at exit in any order).
MNodePool& XMLItemPool();
MNodePool& XMLAttributePool();
MNodePool& BufferRecordPool();

}  // namespace kx
