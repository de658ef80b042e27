// MSecurityInfo: the ".md5" file that travels beside a package or an add-on and
// proves each mebibyte of a transfer.
//
// Text lines, each ended by a line break (a carriage return before it is dropped):
//   1  MD5 of the whole file, hexadecimal
//   2  total size of the file in bytes, decimal
//   3  skipped on reading (written as the block size)
//   4+ MD5 of each successive block of kBlockSize bytes, the last one may be short;
//      the list ends at the first empty line or at the end of the text.
// Digest lines are trimmed of surrounding blanks and compared without case; they
// are kept as text, so a line that is no digest simply never matches. A total
// that is not a number reads as 0 (the caller treats 0 as corrupt); a negative one,
// or a text without its first three lines, throws "Security info is damaged.".
// The writer uses lower-case digits and line feeds.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MStream;

class MSecurityInfo {
 public:
  static constexpr int64_t kBlockSize = 1048576;
  // Past this a text is no security info ("Security info is damaged."): it would
  // describe a file of about two tebibytes.
  static constexpr int64_t kMaxTextSize = int64_t{64} << 20;

  MString fileDigest;            // line 1, trimmed
  int64_t totalSize = 0;         // line 2
  MArray<MString> blockDigests;  // lines 4 and on, trimmed

  // Replaces the content with what the text at the stream's position says.
  void Read(MStream& stream);
  void Load(const MString& path);
  void Write(MStream& target) const;
  // Writes the file at `path` (replaced through a new file and a rename).
  void Save(const MString& path) const;

  // Digests everything `source` gives from its position on.
  static MSecurityInfo Compute(MStream& source);
  // The security info of the file at `path`.
  static MSecurityInfo ComputeFile(const MString& path);

  // Blocks that `totalSize` calls for.
  int64_t ExpectedBlockCount() const { return (totalSize + kBlockSize - 1) / kBlockSize; }
  // The bytes of block `index` match its digest; false for an index that has none.
  bool MatchesBlock(int64_t index, const void* data, int64_t size) const;
  // Every block that `totalSize` calls for has a digest of 32 hexadecimal digits.
  bool CoversAllBlocks() const;
  // The whole file's digest (lower-case hex) matches line 1.
  bool MatchesFile(const MString& digestHex) const;
};

// MD5 of the bytes as 32 lower-case hexadecimal digits.
MString DigestHex(const void* data, int64_t size);
// 16 digest bytes as 32 lower-case hexadecimal digits.
MString DigestBytesToHex(const uint8_t* digest);
// MD5 of the whole file at `path`, read in blocks of kBlockSize, as DigestHex gives it.
MString DigestFileHex(const MString& path);

}  // namespace kx
