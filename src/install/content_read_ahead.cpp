#include "install/content_read_ahead.h"

#include <algorithm>
#include <exception>
#include <thread>

#include "foundation/core/exception.h"
#include "foundation/threads/task.h"
#include "foundation/threads/task_group.h"
#include "foundation/xml/xml_item.h"
#include "install/package_file.h"

namespace kx {

ContentReadAhead::ContentReadAhead(const MString& libraryPath,
                                   const MArray<std::pair<int64_t, int64_t>>& items, int32_t lanes)
    : path_(libraryPath), items_(items) {
  if (lanes < 1) lanes = static_cast<int32_t>(std::clamp(std::thread::hardware_concurrency(), 1U, 4U));
  lanes_ = std::min(lanes, std::max<int32_t>(items_.Count(), 1));
  slots_ = std::make_unique<Slot[]>(static_cast<size_t>(items_.Count()));
  held_ = std::make_unique<int32_t[]>(static_cast<size_t>(lanes_));
  group_ = std::make_unique<MTaskGroup>();
  group_->Start(false, lanes_);
  for (int32_t lane = 0; lane < lanes_; ++lane) {
    tasks_.push_back(std::make_unique<MFunctionTask>([this, lane] { RunLane(lane); }));
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

ContentReadAhead::Piece ContentReadAhead::TakeFreeBuffer() {
  // Under mutex_.
  if (free_.empty()) return Piece{std::make_unique_for_overwrite<char[]>(kPieceSize), 0};
  Piece piece = std::move(free_.back());
  free_.pop_back();
  return piece;
}

void ContentReadAhead::RunLane(int32_t lane) {
  std::unique_ptr<MPackageFile> library;
  for (int32_t index = lane; index < items_.Count(); index += lanes_) {
    Slot& slot = slots_[index];
    try {
      if (!library) {
        library = std::make_unique<MPackageFile>();
        library->Open(path_);
      }
      MXMLItem item;
      item.SetAttribute("filestart", MVariant(items_[index].first));
      item.SetAttribute("filesize", MVariant(items_[index].second));
      std::unique_ptr<MStream> content = library->OpenContent(item);
      for (;;) {
        Piece piece;
        {
          std::unique_lock<std::mutex> hold(mutex_);
          changed_.wait(hold, [&] { return stopping_ || held_[lane] < kPiecesPerLane; });
          if (stopping_) return;
          piece = TakeFreeBuffer();
        }
        piece.size = content->Read(piece.data.get(), kPieceSize);
        const bool last = piece.size < kPieceSize;
        {
          std::lock_guard<std::mutex> hold(mutex_);
          if (piece.size > 0) {
            slot.pieces.push_back(std::move(piece));
            ++held_[lane];
          } else {
            free_.push_back(std::move(piece));
          }
          slot.finished = last;
        }
        changed_.notify_all();
        if (last) break;
      }
    } catch (const MException& failure) {
      std::lock_guard<std::mutex> hold(mutex_);
      slot.failure = failure.message;
      slot.failed = true;
    } catch (const std::exception& failure) {
      std::lock_guard<std::mutex> hold(mutex_);
      slot.failure = MString::FromUTF8(failure.what());
      slot.failed = true;
    }
    changed_.notify_all();
  }
}

const ContentReadAhead::Piece* ContentReadAhead::Next(int32_t index) {
  Slot& slot = slots_[index];
  std::unique_lock<std::mutex> hold(mutex_);
  changed_.wait(hold, [&] { return !slot.pieces.empty() || slot.finished || slot.failed; });
  if (!slot.pieces.empty()) {
    current_ = std::move(slot.pieces.front());
    slot.pieces.pop_front();
    --held_[index % lanes_];
    hold.unlock();
    changed_.notify_all();
    return &current_;
  }
  if (slot.failed) throw MException(slot.failure);
  return nullptr;
}

void ContentReadAhead::Done(int32_t index) {
  std::lock_guard<std::mutex> hold(mutex_);
  if (current_.data) free_.push_back(std::move(current_));
}

}  // namespace kx
