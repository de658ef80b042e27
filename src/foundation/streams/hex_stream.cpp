#include "foundation/streams/hex_stream.h"

namespace kx {

void MHexStream::Write(const void* data, int64_t size) { inner_.WriteHex(data, size); }

int64_t MHexStream::Read(void* data, int64_t size) { return inner_.ReadHex(data, size); }

void MHexStream::Flush() { inner_.Flush(); }

bool MHexStream::IsEnd() { return inner_.IsEnd(); }

}  // namespace kx
