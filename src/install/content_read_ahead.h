// ContentReadAhead: the contents of a list of library items, decompressed ahead
// on worker threads while the caller writes, and read by the caller in list order.
//
// Nothing is decompressed before the caller asks for an item: then the lanes
// take the items after it, at most kWindow ahead of the last one asked for.
// A caller that skips items (the install walk skips what is in place) leaves
// them behind: their pieces are dropped and their lanes move on. An item asked
// for that no lane has started, or one asked for again, is read on the calling
// thread. Each lane opens the library file for itself, so no two threads share a
// file position; each item holds at most kPiecesPerItem pieces of kPieceSize
// bytes that the caller has not read, so memory stays bounded whatever the sizes
// (large files stream through piece by piece). A lane's failure (a damaged
// content) reaches the caller when it reads that item: everything before it is
// written as without the read-ahead.
//
//   ContentReadAhead ahead(library, libraryPath, items);
//   std::unique_ptr<MStream> content = ahead.Open(index);   // then Read as usual
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MFunctionTask;
class MPackageFile;
class MStream;
class MTaskGroup;

class ContentReadAhead {
 public:
  static constexpr int64_t kPieceSize = 1048576;
  static constexpr int32_t kPiecesPerItem = 2;

  // `items` give `filestart` and `filesize` of each content, in the order they
  // will be asked for. Items read on the calling thread come from `library`, the
  // caller's open handle on the file at `libraryPath`. `lanes` below 1: the
  // processors, at most 4.
  ContentReadAhead(MPackageFile& library, const MString& libraryPath,
                   const MArray<std::pair<int64_t, int64_t>>& items, int32_t lanes = 0);
  // Stops the lanes and waits for them.
  ~ContentReadAhead();
  ContentReadAhead(const ContentReadAhead&) = delete;
  ContentReadAhead& operator=(const ContentReadAhead&) = delete;

  // The content of item `index`; the stream must be read (or dropped) before the
  // next Open. GetSize is the item's `filesize`.
  std::unique_ptr<MStream> Open(int32_t index);

 private:
  friend class AheadStream;
  struct Piece {
    std::unique_ptr<char[]> data;
    int64_t size = 0;
  };
  enum class SlotState : uint8_t { kWaiting, kStarted, kLeft };
  struct Slot {
    SlotState state = SlotState::kWaiting;
    std::deque<Piece> pieces;
    bool finished = false;
    bool failed = false;
    MString failure;
  };

  void RunLane();
  void Produce(MPackageFile& library, int32_t index);
  // Under mutex_: drops an item's pieces.
  void Leave(int32_t index);
  // For AheadStream: the next piece of `index` into `piece` (the old one is
  // recycled); false at the end; throws the item's failure.
  bool NextPiece(int32_t index, Piece& piece);

  MString path_;
  MArray<std::pair<int64_t, int64_t>> items_;
  int32_t lanes_ = 1;
  int32_t window_ = 2;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::unique_ptr<Slot[]> slots_;
  std::vector<Piece> free_;
  int32_t asked_ = -1;     // the last index asked for
  int32_t nextStart_ = 0;  // the next index a lane may take
  bool stopping_ = false;
  MPackageFile& library_;  // the caller's handle, for items read on its thread
  std::unique_ptr<MTaskGroup> group_;
  std::vector<std::unique_ptr<MFunctionTask>> tasks_;
};

}  // namespace kx
