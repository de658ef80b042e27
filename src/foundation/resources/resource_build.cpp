// Writing the large layout: the stored files, serially or compressed by tasks,
// then the definition and the trailer.
//
// Every file is a codec stream of its own, started and terminated for it alone,
// so compressing it into memory on a worker gives exactly the bytes that the
// serial path streams to the target; writing the results in tree order makes the
// two paths produce the same file.
#include <exception>
#include <vector>

#include "foundation/compression/bzip2_stream.h"
#include "foundation/resources/resource_keys.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/threads/task_group.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {

namespace {


constexpr int kQuality = 100;
constexpr int32_t kTaskPriority = 2;

std::unique_ptr<MCompressedStream> MakeCodec(bool bzip2) {
  if (bzip2) return std::make_unique<MBZIP2Stream>();
  return std::make_unique<MZLIBStream>();
}

// Passes writes on and counts them: positions relative to the start of writing,
// without asking the target (which need not know its position).
class MCountingStream final : public MStream {
 public:
  explicit MCountingStream(MStream& target) : target_(target) {}
  void Write(const void* data, int64_t size) override {
    target_.Write(data, size);
    count_ += size;
  }
  int64_t GetPosition() override { return count_; }
  void Flush() override { target_.Flush(); }

 private:
  MStream& target_;
  int64_t count_ = 0;
};

// Copies `source` through a codec of the flags into `target` and terminates it.
// Returns the bytes taken from the source.
int64_t CompressInto(MStream& source, MStream& target, uint32_t flags) {
  std::unique_ptr<MCompressedStream> codec = MakeCodec(flags & MResourceLibrary::kBZIP2);
  codec->Init(&target, true, kQuality, (flags & MResourceLibrary::kScramble) != 0);
  int64_t copied = CopyStream(source, *codec);
  codec->Terminate();
  return copied;
}

void SetPlace(MXMLItem& item, int64_t start, int64_t size) {
  item.SetAttribute(kFileStartKey, MVariant(start));
  item.SetAttribute(kFileSizeKey, MVariant(size));
}

void ForgetPlace(MXMLItem& item) {
  // Left over from an earlier build, they would point into another file.
  item.RemoveAttribute(kFileStartKey);
  item.RemoveAttribute(kFileSizeKey);
}

std::vector<MXMLItem*> FileItems(MXMLItem& tree) {
  std::vector<MXMLItem*> files;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
    if (kFileKey.MatchesText(item->name)) files.push_back(item);
  }
  return files;
}

void StoreSerially(const std::vector<MXMLItem*>& files, MCountingStream& target, uint32_t flags,
                   const MSourceOpener& opener) {
  bool compress = (flags & MResourceLibrary::kFilesCompressed) != 0;
  for (MXMLItem* item : files) {
    std::unique_ptr<MStream> source = opener(*item);
    if (!source) {
      ForgetPlace(*item);
      continue;
    }
    int64_t start = target.GetPosition();
    // The bytes copied, not the size asked beforehand: that is what a reader
    // will get out of the stored bytes, even of a file that changed meanwhile.
    int64_t size = compress ? CompressInto(*source, target, flags) : CopyStream(*source, target);
    SetPlace(*item, start, size);
  }
}

// One file compressed into memory on a worker. A failure is kept for the
// calling thread, since the worker would swallow it.
class MCompressionTask final : public MTask {
 public:
  // Memory streams do not throw on destruction: only compressors may.
  ~MCompressionTask() noexcept override {}

  void Prepare(MXMLItem* fileItem, std::unique_ptr<MStream> fileSource, uint32_t fileFlags) {
    item = fileItem;
    source = std::move(fileSource);
    flags = fileFlags;
    output.Clear();
    size = 0;
    failure = nullptr;
  }

  void Execute() override {
    try {
      size = CompressInto(*source, output, flags);
    } catch (...) {
      failure = std::current_exception();
    }
    // Closed here, so that no more files are open than tasks are in flight.
    source.reset();
  }

  MXMLItem* item = nullptr;  // null: the slot's file has no source
  std::unique_ptr<MStream> source;
  uint32_t flags = 0;
  MMemoryStream output;
  int64_t size = 0;
  std::exception_ptr failure;
};

// Tasks in a ring of kTasksInFlight slots: file i uses slot i % kTasksInFlight.
// Whatever way the build ends, no task may still run or wait in the queues when
// the slots go.
class MCompressionRing {
 public:
  explicit MCompressionRing(MTaskGroup& group) : group_(group), slots_(MResourceLibrary::kTasksInFlight) {}
  ~MCompressionRing() {
    for (MCompressionTask& task : slots_) {
      task.Cancel();
      if (!group_.Remove(&task)) group_.WaitFor(&task);
    }
    // A worker turns a task idle and wakes its waiters under the group's lock:
    // once the lock is ours, no worker touches a slot any more.
    MLock barrier(group_.lock);
  }
  MCompressionTask& Slot(size_t index) { return slots_[index % slots_.size()]; }

 private:
  MTaskGroup& group_;
  std::vector<MCompressionTask> slots_;
};

void StoreInParallel(const std::vector<MXMLItem*>& files, MCountingStream& target, uint32_t flags,
                     const MSourceOpener& opener, MTaskGroup* group) {
  std::unique_ptr<MTaskGroup> ownGroup;
  if (!group) {
    ownGroup = std::make_unique<MTaskGroup>();
    group = ownGroup.get();
  }
  if (group->WorkerCount() == 0) group->Start(false);

  MCompressionRing ring(*group);
  size_t queued = 0;
  for (size_t written = 0; written < files.size(); ++written) {
    // Sources are opened here, in tree order, on this thread: the opener may
    // rely on that; only reading them is left to the workers.
    while (queued < files.size() && queued - written < static_cast<size_t>(MResourceLibrary::kTasksInFlight)) {
      MCompressionTask& task = ring.Slot(queued);
      std::unique_ptr<MStream> source = opener(*files[queued]);
      MXMLItem* item = source ? files[queued] : nullptr;
      task.Prepare(item, std::move(source), flags);
      if (task.item) group->Add(&task, kTaskPriority);
      ++queued;
    }
    MCompressionTask& task = ring.Slot(written);
    if (!task.item) {
      ForgetPlace(*files[written]);
      continue;
    }
    group->WaitFor(&task);
    if (task.failure) std::rethrow_exception(task.failure);
    int64_t start = target.GetPosition();
    target.Write(task.output.Data(), task.output.Size());
    SetPlace(*task.item, start, task.size);
    task.output.Clear();
  }
}

}  // namespace

void MResourceLibrary::Build(MXMLItem& tree, MStream& target, uint32_t flags, const MSourceOpener& opener,
                             MTaskGroup* group) {
  MCountingStream counted(target);
  std::vector<MXMLItem*> files = FileItems(tree);
  if ((flags & kFilesCompressed) && !(flags & kCompressOnCallingThread)) {
    StoreInParallel(files, counted, flags, opener, group);
  } else {
    StoreSerially(files, counted, flags, opener);
  }

  MMemoryStream definition;
  tree.SaveMBX(definition, true);

  // Compressed first into memory, so that a definition too large for any
  // reader is refused before a byte of it is written.
  MMemoryStream stored;
  const MMemoryStream* written = &definition;
  if (flags & kDefinitionCompressed) {
    bool bzip2 = (flags & kBZIP2) != 0;
    std::unique_ptr<MCompressedStream> codec = MakeCodec(bzip2);
    codec->Init(&stored, true, kQuality, !bzip2 && (flags & kScramble));
    codec->Write(definition.Data(), definition.Size());
    codec->Terminate();
    written = &stored;
  }
  int64_t definitionSize = written->Size();
  if (definitionSize > kMaxDefinitionSize) {
    throw MException(MFormat("Invalid large resource library format (incorrect definition size {0}).")
                         .Add(definitionSize));
  }
  counted.Write(written->Data(), definitionSize);

  MHashStream md5;
  md5.Reset();
  md5.Write(definition.Data(), definition.Size());
  md5.Finish();
  counted.Write(md5.Digest(), MHashStream::kDigestSize);
  counted.Write(&definitionSize, sizeof definitionSize);
  counted.Write(&flags, sizeof flags);
  counted.Flush();
}

std::unique_ptr<MStream> MResourceLibrary::OpenSourceFile(MXMLItem& item) {
  MXMLAttribute* path = item.FindAttribute(kSourcePathKey);
  if (!path) path = item.FindAttribute(kPathKey);
  if (!path) return nullptr;
  MString name = path->value.AsString();
  if (!MFile::IsFile(name)) return nullptr;
  return std::make_unique<MFileStream>(name, MFileStream::kModeRead);
}

MSourceOpener MResourceLibrary::SourceFolderOpener(const MString& folder) {
  return [folder](MXMLItem& item) -> std::unique_ptr<MStream> {
    MXMLAttribute* path = item.FindAttribute(kSourcePathKey);
    if (!path) path = item.FindAttribute(kPathKey);
    if (!path) return nullptr;
    MString name = path->value.AsString();
    if (!name.StartsWith(MString("/"))) name = JoinPath(folder, name);
    if (!MFile::IsFile(name)) return nullptr;
    return std::make_unique<MFileStream>(name, MFileStream::kModeRead);
  };
}

}  // namespace kx
