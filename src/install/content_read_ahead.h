// ContentReadAhead: the contents of a list of library items, decompressed ahead
// on worker threads and handed out in order, piece by piece.
//
// Each worker ("lane") opens the library file for itself, so that lanes never
// share a file position, and takes every lanes-th item of the list in turn. A
// lane holds at most kPiecesPerLane pieces of kPieceSize bytes that the caller has
// not taken yet, so memory stays bounded whatever the sizes of the files: large
// files are streamed piece by piece, never held whole, and a lane that finished
// its item waits for the caller before it runs further ahead with small ones. A failure of a lane
// (a damaged item, an unreadable file) is kept with its item and thrown to the
// caller when it reaches that item, so everything before it is written as the
// serial loop would have written it.
//
//   ContentReadAhead ahead(libraryPath, items);
//   for (int32_t i = 0; i < items.Count(); ++i)
//     while (const ContentReadAhead::Piece* piece = ahead.Next(i)) { write piece; ahead.Done(i); }
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MTaskGroup;
class MFunctionTask;

class ContentReadAhead {
 public:
  static constexpr int64_t kPieceSize = 1048576;
  static constexpr int32_t kPiecesPerLane = 3;

  struct Piece {
    std::unique_ptr<char[]> data;
    int64_t size = 0;
  };

  // `items` give `filestart` and `filesize` of the contents, in the order they
  // are wanted. `lanes` below 1: the processors, at most 4.
  ContentReadAhead(const MString& libraryPath, const MArray<std::pair<int64_t, int64_t>>& items,
                   int32_t lanes = 0);
  // Stops the lanes and waits for them.
  ~ContentReadAhead();
  ContentReadAhead(const ContentReadAhead&) = delete;
  ContentReadAhead& operator=(const ContentReadAhead&) = delete;

  // The next piece of item `index` (asked for in the list's order), or null at
  // its end. Throws the item's failure.
  const Piece* Next(int32_t index);
  // Gives the piece that Next handed out back for reuse.
  void Done(int32_t index);

 private:
  struct Slot {
    std::deque<Piece> pieces;
    bool finished = false;
    MString failure;
    bool failed = false;
  };
  void RunLane(int32_t lane);
  Piece TakeFreeBuffer();

  MString path_;
  MArray<std::pair<int64_t, int64_t>> items_;
  int32_t lanes_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::unique_ptr<Slot[]> slots_;     // one per item
  std::unique_ptr<int32_t[]> held_;  // per lane: pieces made and not yet taken
  std::vector<Piece> free_;
  Piece current_;
  bool stopping_ = false;
  std::unique_ptr<MTaskGroup> group_;
  std::vector<std::unique_ptr<MFunctionTask>> tasks_;
};

}  // namespace kx
