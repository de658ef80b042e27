#include "install/content_read_ahead.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <thread>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "foundation/threads/task.h"
#include "foundation/threads/task_group.h"
#include "foundation/xml/xml_item.h"
#include "install/package_file.h"

namespace kx {
namespace {

std::unique_ptr<MStream> OpenItem(MPackageFile& library, const std::pair<int64_t, int64_t>& item) {
  MXMLItem position;
  position.SetAttribute("filestart", MVariant(item.first));
  position.SetAttribute("filesize", MVariant(item.second));
  return library.OpenContent(position);
}

}  // namespace

// The pieces of one item, as a stream.
class AheadStream final : public MStream {
 public:
  AheadStream(ContentReadAhead& ahead, int32_t index, int64_t size)
      : ahead_(ahead), index_(index), size_(size) {}
  int64_t Read(void* data, int64_t size) override {
    int64_t got = 0;
    while (got < size) {
      if (offset_ == piece_.size) {
        if (ended_ || !ahead_.NextPiece(index_, piece_)) {
          ended_ = true;
          break;
        }
        offset_ = 0;
      }
      const int64_t take = std::min(size - got, piece_.size - offset_);
      std::memcpy(static_cast<char*>(data) + got, piece_.data.get() + offset_, static_cast<size_t>(take));
      offset_ += take;
      got += take;
    }
    position_ += got;
    return got;
  }
  int64_t GetPosition() override { return position_; }
  int64_t GetSize() override { return size_; }
  bool IsEnd() override { return position_ >= size_; }

 private:
  ContentReadAhead& ahead_;
  int32_t index_;
  int64_t size_;
  int64_t position_ = 0;
  ContentReadAhead::Piece piece_;
  int64_t offset_ = 0;
  bool ended_ = false;
};

ContentReadAhead::ContentReadAhead(MPackageFile& library, const MString& libraryPath,
                                   const MArray<std::pair<int64_t, int64_t>>& items, int32_t lanes)
    : path_(libraryPath), items_(items), library_(library) {
  if (lanes < 1) lanes = static_cast<int32_t>(std::clamp(std::thread::hardware_concurrency(), 1U, 4U));
  lanes_ = std::min(lanes, std::max<int32_t>(items_.Count(), 1));
  window_ = lanes_;
  slots_ = std::make_unique<Slot[]>(static_cast<size_t>(items_.Count()));
  group_ = std::make_unique<MTaskGroup>();
  group_->Start(false, lanes_);
  for (int32_t lane = 0; lane < lanes_; ++lane) {
    tasks_.push_back(std::make_unique<MFunctionTask>([this] { RunLane(); }));
    group_->Add(tasks_.back().get());
  }
}

ContentReadAhead::~ContentReadAhead() {
  {
    std::lock_guard<std::mutex> hold(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  for (const std::unique_ptr<MFunctionTask>& task : tasks_) group_->WaitFor(task.get());
  group_->Stop();
}

void ContentReadAhead::RunLane() {
  std::unique_ptr<MPackageFile> library;
  for (;;) {
    int32_t index = 0;
    {
      std::unique_lock<std::mutex> hold(mutex_);
      changed_.wait(hold, [&] {
        return stopping_ || (asked_ >= 0 && nextStart_ < items_.Count() && nextStart_ <= asked_ + window_);
      });
      if (stopping_) return;
      index = nextStart_++;
      slots_[index].state = SlotState::kStarted;
    }
    try {
      if (!library) {
        library = std::make_unique<MPackageFile>();
        library->Open(path_);
      }
      Produce(*library, index);
    } catch (const MException& failure) {
      std::lock_guard<std::mutex> hold(mutex_);
      slots_[index].failed = true;
      slots_[index].failure = failure.message;
    } catch (const std::exception& failure) {
      std::lock_guard<std::mutex> hold(mutex_);
      slots_[index].failed = true;
      slots_[index].failure = MString::FromUTF8(failure.what());
    }
    changed_.notify_all();
  }
}

void ContentReadAhead::Produce(MPackageFile& library, int32_t index) {
  Slot& slot = slots_[index];
  std::unique_ptr<MStream> content = OpenItem(library, items_[index]);
  for (;;) {
    Piece piece;
    {
      std::unique_lock<std::mutex> hold(mutex_);
      changed_.wait(hold, [&] {
        return stopping_ || slot.state == SlotState::kLeft ||
               slot.pieces.size() < static_cast<size_t>(kPiecesPerItem);
      });
      if (stopping_ || slot.state == SlotState::kLeft) return;
      if (free_.empty()) {
        piece.data = std::make_unique_for_overwrite<char[]>(kPieceSize);
      } else {
        piece = std::move(free_.back());
        free_.pop_back();
      }
    }
    piece.size = content->Read(piece.data.get(), kPieceSize);
    const bool last = piece.size < kPieceSize;
    {
      std::lock_guard<std::mutex> hold(mutex_);
      if (piece.size > 0 && slot.state != SlotState::kLeft)
        slot.pieces.push_back(std::move(piece));
      else
        free_.push_back(std::move(piece));
      slot.finished = last;
    }
    changed_.notify_all();
    if (last) return;
  }
}

void ContentReadAhead::Leave(int32_t index) {
  Slot& slot = slots_[index];
  slot.state = SlotState::kLeft;
  while (!slot.pieces.empty()) {
    free_.push_back(std::move(slot.pieces.front()));
    slot.pieces.pop_front();
  }
}

std::unique_ptr<MStream> ContentReadAhead::Open(int32_t index) {
  bool ahead = false;
  {
    std::lock_guard<std::mutex> hold(mutex_);
    // What was skipped, or read before, is not wanted any more.
    for (int32_t skipped = std::max(asked_, 0); skipped < std::min(index, nextStart_); ++skipped)
      if (slots_[skipped].state == SlotState::kStarted) Leave(skipped);
    if (index > asked_) asked_ = index;
    if (index >= nextStart_) {
      nextStart_ = index + 1;  // read here: the lanes take the ones after it
    } else {
      ahead = slots_[index].state == SlotState::kStarted;
    }
  }
  changed_.notify_all();
  if (ahead) return std::make_unique<AheadStream>(*this, index, items_[index].second);
  return OpenItem(library_, items_[index]);
}

bool ContentReadAhead::NextPiece(int32_t index, Piece& piece) {
  Slot& slot = slots_[index];
  std::unique_lock<std::mutex> hold(mutex_);
  if (piece.data) free_.push_back(std::move(piece));
  changed_.wait(hold, [&] { return !slot.pieces.empty() || slot.finished || slot.failed; });
  if (!slot.pieces.empty()) {
    piece = std::move(slot.pieces.front());
    slot.pieces.pop_front();
    hold.unlock();
    changed_.notify_all();
    return true;
  }
  if (slot.failed) throw MException(slot.failure);
  slot.state = SlotState::kLeft;  // read through: a second Open reads it here
  return false;
}

}  // namespace kx
