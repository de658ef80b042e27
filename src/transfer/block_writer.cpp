#include "transfer/block_writer.h"

#include "foundation/core/exception.h"
#include "foundation/streams/security_info.h"

namespace kx {
namespace {

// The semaphore's system wait fails only when the system refuses it; try again.
void Take(MSemaphore& semaphore) {
  while (!semaphore.Acquire()) {
  }
}

}  // namespace

MBlockWriter::Helper::~Helper() {
  Stop();
  Wait(kWaitForever);
}

int32_t MBlockWriter::Helper::Execute() {
  for (;;) {
    Take(writer_.filled_);
    const Slot& slot = writer_.slots_[writer_.consumer_];
    writer_.consumer_ = (writer_.consumer_ + 1) % kBuffers;
    if (slot.size < 0) return 0;
    writer_.Consume(slot);
    writer_.free_.Release();
  }
}

MBlockWriter::MBlockWriter(MBlockFile& file, const MSecurityInfo& info, int64_t offset,
                           uint8_t* buffer)
    : file_(file), info_(info), fileEnd_(offset) {
  slots_[0].data = buffer;
  for (int32_t i = 1; i < kBuffers; ++i) {
    ownBuffers_[i - 1] = NewBlockBuffer(MSecurityInfo::kBlockSize);
    slots_[i].data = ownBuffers_[i - 1].get();
  }
  for (int32_t i = 0; i < kBuffers; ++i) free_.Release();
  helper_ = std::make_unique<Helper>(*this);
  helper_->Start();
}

MBlockWriter::~MBlockWriter() {
  try {
    Finish();
  } catch (const MException&) {
    // The caller is leaving by its own failure already.
  }
}

// Runs on the helper. A failure is kept for the caller; the blocks after it are
// taken but not written, so that the caller never waits for a free buffer in vain.
void MBlockWriter::Consume(const Slot& slot) {
  bool matches = true;
  if (!slot.proved) {
    if (!failed_.load(std::memory_order_relaxed)) {
      const int64_t index = fileEnd_.load(std::memory_order_relaxed) / MSecurityInfo::kBlockSize;
      matches = info_.MatchesBlock(index, slot.data, slot.size);
    }
    unproved_.fetch_sub(1, std::memory_order_acq_rel);
  }
  if (failed_.load(std::memory_order_relaxed)) return;
  const int64_t end = fileEnd_.load(std::memory_order_relaxed);
  try {
    if (!matches) throw MException(MString(kInvalidData));
    try {
      file_.Append(slot.data, slot.size);
    } catch (const MException&) {
      // A part of the block may have reached the file: cut back to the last whole
      // one, as far as the file lets us.
      try {
        file_.Truncate(end);
      } catch (const MException&) {
      }
      throw;
    }
    fileEnd_.store(end + slot.size, std::memory_order_release);
  } catch (const MException& failure) {
    failure_ = failure.message;
    failureCode_ = failure.code;
    failed_.store(true, std::memory_order_release);
  }
}

void MBlockWriter::ThrowIfFailed() {
  if (failed_.load(std::memory_order_acquire)) throw MException(failure_, failureCode_);
}

uint8_t* MBlockWriter::NextBuffer() {
  if (!holdsBuffer_) {
    Take(free_);
    holdsBuffer_ = true;
  }
  ThrowIfFailed();
  return slots_[producer_].data;
}

void MBlockWriter::Hand(int64_t size, bool proved) {
  if (!holdsBuffer_) {
    Take(free_);
    holdsBuffer_ = true;
  }
  Slot& slot = slots_[producer_];
  slot.size = size;
  slot.proved = proved;
  if (size >= 0 && !proved) unproved_.fetch_add(1, std::memory_order_acq_rel);
  producer_ = (producer_ + 1) % kBuffers;
  holdsBuffer_ = false;
  filled_.Release();
}

void MBlockWriter::Submit(int64_t size, bool proved) {
  Hand(size, proved);
  ThrowIfFailed();
}

void MBlockWriter::Finish() {
  if (finished_) return;
  finished_ = true;
  Hand(-1, false);
  helper_->Wait(kWaitForever);
  helper_.reset();
  ThrowIfFailed();
}

}  // namespace kx
