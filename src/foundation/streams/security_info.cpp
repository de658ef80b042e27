// Reading and writing the security info. The reader takes the text in one piece
// (it is about 33 bytes a mebibyte of content) and splits it itself, so that a
// line of any length and a missing last line break need no special paths.
#include "foundation/streams/security_info.h"

#include <memory>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/text/number_text.h"

namespace kx {

namespace {

[[noreturn]] void ThrowDamaged() { throw MException(MString("Security info is damaged.")); }

// One line of the text, trimmed; the units are the bytes as they stand (digests
// and numbers are ASCII, anything else only has to fail to match).
MString LineText(const char* start, const char* end) {
  MString line = MString::FromBytes(start, static_cast<int32_t>(end - start));
  line.Trim();
  return line;
}

MChar LowerAscii(MChar unit) { return unit >= 'A' && unit <= 'Z' ? static_cast<MChar>(unit + 32) : unit; }

// Exact, apart from the case of ASCII letters; every unit counts, zeros too.
bool SameDigest(const MString& a, const MString& b) {
  if (a.Length() != b.Length()) return false;
  for (int32_t i = 0; i < a.Length(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

}  // namespace

MString DigestBytesToHex(const uint8_t* digest) {
  char text[2 * MHashStream::kDigestSize];
  for (int i = 0; i < MHashStream::kDigestSize; ++i) {
    text[2 * i] = HexDigit(digest[i] >> 4, true);
    text[2 * i + 1] = HexDigit(digest[i], true);
  }
  return MString::FromBytes(text, static_cast<int32_t>(sizeof text));
}

MString DigestHex(const void* data, int64_t size) {
  MHashStream md5;
  md5.Reset();
  md5.Write(data, size);
  md5.Finish();
  return DigestBytesToHex(md5.Digest());
}

void MSecurityInfo::Read(MStream& stream) {
  MMemoryStream text;
  char piece[65536];
  while (int64_t got = stream.Read(piece, sizeof piece)) {
    if (text.Size() + got > MSecurityInfo::kMaxTextSize) ThrowDamaged();
    text.Write(piece, got);
  }

  fileDigest.Clear();
  totalSize = 0;
  blockDigests.Clear();

  const char* at = text.Data();
  const char* end = at + text.Size();
  int64_t lineNumber = 0;
  while (at < end) {
    const char* lineEnd = at;
    while (lineEnd < end && *lineEnd != '\n') ++lineEnd;
    const char* contentEnd = lineEnd > at && lineEnd[-1] == '\r' ? lineEnd - 1 : lineEnd;
    ++lineNumber;
    if (lineNumber == 1) {
      fileDigest = LineText(at, contentEnd);
    } else if (lineNumber == 2) {
      // The decimal number is read as far as it goes; no digit at all gives 0.
      totalSize = LineText(at, contentEnd).ToInt64();
      if (totalSize < 0) ThrowDamaged();
    } else if (lineNumber >= 4) {
      MString digest = LineText(at, contentEnd);
      if (digest.IsEmpty()) break;
      blockDigests.Add(digest);
    }
    at = lineEnd < end ? lineEnd + 1 : end;
  }
  if (lineNumber < 3) ThrowDamaged();
}

void MSecurityInfo::Load(const MString& path) {
  MFileStream file(path, MFileStream::kModeRead);
  Read(file);
}

void MSecurityInfo::Write(MStream& target) const {
  MString text = fileDigest;
  text.Append("\n").Append(MString::FromNumber(totalSize)).Append("\n");
  text.Append(MString::FromNumber(kBlockSize)).Append("\n");
  for (const MString& digest : blockDigests) text.Append(digest).Append("\n");
  target.WriteString(text);
}

void MSecurityInfo::Save(const MString& path) const {
  MMemoryStream bytes;
  Write(bytes);
  ReplaceFileContent(path, bytes.Data(), bytes.Size());
}

MSecurityInfo MSecurityInfo::Compute(MStream& source) {
  MSecurityInfo info;
  MHashStream whole;
  whole.Reset();
  std::unique_ptr<char[]> block(new char[kBlockSize]);
  for (;;) {
    // A block is whatever arrives until it is full: sources may hand out less.
    int64_t filled = 0;
    while (filled < kBlockSize) {
      int64_t got = source.Read(block.get() + filled, kBlockSize - filled);
      if (got <= 0) break;
      filled += got;
    }
    if (filled == 0) break;
    whole.Write(block.get(), filled);
    info.blockDigests.Add(DigestHex(block.get(), filled));
    info.totalSize += filled;
    if (filled < kBlockSize) break;
  }
  whole.Finish();
  info.fileDigest = DigestBytesToHex(whole.Digest());
  return info;
}

MString DigestFileHex(const MString& path) {
  MFileStream file(path, MFileStream::kModeRead);
  auto block = std::make_unique_for_overwrite<uint8_t[]>(MSecurityInfo::kBlockSize);
  MHashStream md5;
  md5.Reset();
  for (int64_t got; (got = file.Read(block.get(), MSecurityInfo::kBlockSize)) > 0;) md5.Write(block.get(), got);
  md5.Finish();
  return DigestBytesToHex(md5.Digest());
}

MSecurityInfo MSecurityInfo::ComputeFile(const MString& path) {
  MFileStream file(path, MFileStream::kModeRead);
  return Compute(file);
}

bool MSecurityInfo::MatchesBlock(int64_t index, const void* data, int64_t size) const {
  if (index < 0 || index >= blockDigests.Count()) return false;
  return SameDigest(blockDigests[static_cast<int32_t>(index)], DigestHex(data, size));
}

bool MSecurityInfo::CoversAllBlocks() const {
  if (blockDigests.Count() < ExpectedBlockCount()) return false;
  for (int64_t index = 0; index < ExpectedBlockCount(); ++index) {
    const MString& digest = blockDigests[static_cast<int32_t>(index)];
    if (digest.Length() != 2 * MHashStream::kDigestSize) return false;
    for (int32_t i = 0; i < digest.Length(); ++i) {
      MChar unit = LowerAscii(digest[i]);
      if (!((unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'f'))) return false;
    }
  }
  return true;
}

bool MSecurityInfo::MatchesFile(const MString& digestHex) const { return SameDigest(fileDigest, digestHex); }

}  // namespace kx
