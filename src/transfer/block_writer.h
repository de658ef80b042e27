// MBlockWriter: proves and appends the blocks of one transfer on a helper thread,
// so that the next block is received while the last ones are hashed and written.
//
// The caller receives each block into NextBuffer(), then hands it over with
// Submit, saying whether it proved the block itself. It should prove a block
// itself when ShouldProveHere() says so, which is while the helper is still busy
// hashing an earlier one: so both processors hash, and neither waits for the
// other. The helper takes the blocks in order, proves those not yet proved
// against the security info, and appends each proved block to the file; after the
// first failure it writes nothing more. The file therefore only ever grows by
// whole proved blocks, in order.
//
// kBuffers buffers of one block each, the caller's and the writer's own, bound
// the memory; NextBuffer waits while all are in use. A failure of the helper (a
// block that does not match, a write error, after which the file is cut back to
// the last whole block) is thrown to the caller by the next NextBuffer, Submit or
// Finish: "Invalid data has been intercepted, download will resume." for a
// mismatch, the file's own message otherwise. Finish waits until the helper has
// written everything handed over, ends it, and throws its failure; the destructor
// does the same without throwing.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"
#include "foundation/threads/semaphore.h"
#include "foundation/threads/thread.h"
#include "transfer/block_file.h"

namespace kx {

class MSecurityInfo;

class MBlockWriter {
 public:
  static constexpr const char* kInvalidData =
      "Invalid data has been intercepted, download will resume.";
  static constexpr int32_t kBuffers = 4;

  // Appends to `file`, whose end is at `offset`, a multiple of the block size;
  // `buffer` is one block of the caller's, used as the first buffer.
  MBlockWriter(MBlockFile& file, const MSecurityInfo& info, int64_t offset, uint8_t* buffer);
  ~MBlockWriter();
  MBlockWriter(const MBlockWriter&) = delete;
  MBlockWriter& operator=(const MBlockWriter&) = delete;

  uint8_t* NextBuffer();
  bool ShouldProveHere() const { return unproved_.load(std::memory_order_acquire) > 0; }
  void Submit(int64_t size, bool proved);
  void Finish();
  // Bytes the file holds now.
  int64_t FileEnd() const { return fileEnd_.load(std::memory_order_acquire); }

 private:
  struct Slot {
    uint8_t* data = nullptr;
    int64_t size = 0;  // -1: the end
    bool proved = false;
  };
  class Helper : public MThread {
   public:
    explicit Helper(MBlockWriter& writer) : writer_(writer) {}
    ~Helper() override;
    int32_t Execute() override;

   private:
    MBlockWriter& writer_;
  };

  void Hand(int64_t size, bool proved);
  void Consume(const Slot& slot);
  void ThrowIfFailed();

  MBlockFile& file_;
  const MSecurityInfo& info_;
  MBlockBuffer ownBuffers_[kBuffers - 1];
  Slot slots_[kBuffers];
  int32_t producer_ = 0;  // the caller's next slot
  int32_t consumer_ = 0;  // the helper's next slot
  MSemaphore free_;
  MSemaphore filled_;
  std::atomic<int32_t> unproved_{0};  // handed over, not yet hashed by the helper
  std::atomic<int64_t> fileEnd_;
  std::atomic<bool> failed_{false};
  MString failure_;  // written by the helper before `failed_`
  uint32_t failureCode_ = 0;
  bool finished_ = false;
  bool holdsBuffer_ = false;
  std::unique_ptr<Helper> helper_;
};

}  // namespace kx
