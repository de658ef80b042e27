// Resources compiled into the program, and the library file beside it.
//
// A build that links resources in adds one generated source to the executable
// itself (a static library member that nothing refers to would be dropped):
//   static const unsigned char kBlock[] = {...};   // a small library
//   static const MCompiledInPair kPairs[] = {{"name", data, size}, ...};
//   static MCompiledInRegistration registration(kBlock, sizeof kBlock, kPairs, 2);
// The block is a small library whose root is `solution` with one entry
// `mstyle`, itself a small library (the default style).
//
// At start-up the module attaches the block (AttachCompiledInResources); when no
// block was linked in, it attaches the `mrf` file of the program's name beside
// the executable instead (AttachResourcesBesideProgram). Registration happens
// before main; afterwards the tables are only read, from any thread.
#pragma once

#include <cstdint>

#include "foundation/streams/memory_stream.h"
#include "foundation/text/text_string.h"

namespace kx {

class MResourceLibrary;

// Extensions: a library file beside the program, a style file, a library definition.
inline constexpr const char* kLibraryFileExtension = "mrf";
inline constexpr const char* kStyleFileExtension = "mstyle";
inline constexpr const char* kLibraryDefinitionExtension = "mrdef";

// One further named stream compiled in, outside the block.
struct MCompiledInPair {
  const char* name;
  const void* data;
  int64_t size;
};

// Sets what is linked in; null data (or a zero count) takes it away again.
void RegisterCompiledInBlock(const void* data, int64_t size);
void RegisterCompiledInPairs(const MCompiledInPair* pairs, int32_t count);
// A flat memory range for one further built-in stream.
void RegisterCompiledInFlatBlock(const void* data, int64_t size);

class MCompiledInRegistration {
 public:
  MCompiledInRegistration(const void* block, int64_t blockSize, const MCompiledInPair* pairs = nullptr,
                          int32_t pairCount = 0) {
    RegisterCompiledInBlock(block, blockSize);
    RegisterCompiledInPairs(pairs, pairCount);
  }
};

bool HasCompiledInResources();

// Attaches the registered block in place (AttachSmall over constant memory);
// false, leaving the library as it is, when none is registered.
bool AttachCompiledInResources(MResourceLibrary& library);

// Unless a block is registered: attaches "<directory>/<name>.mrf" of the
// executable at `modulePath` when that file exists. Answers whether it did.
// A file that is there but damaged throws the library's messages.
bool AttachResourcesBesideProgram(MResourceLibrary& library, const MString& modulePath);

// A compiled-in pair by name (compared without case), as a stream over its
// bytes; false when there is none.
bool OpenCompiledInStream(const MString& name, MConstMemoryStream& stream);
// The flat block; false when none is registered.
bool OpenCompiledInFlatBlock(MConstMemoryStream& stream);

}  // namespace kx
