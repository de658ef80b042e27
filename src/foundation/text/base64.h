// Base64 text (A-Z a-z 0-9 + /, padded with '=').
//
// Encoding turns each group of 3 bytes into 4 characters. Decoding goes through a
// 256-entry table in which every byte is a value, or one of three marks: skip
// (blanks and line breaks), end ('=' and the zero byte: decoding stops) and
// invalid, which throws "Invalid character in base64 text." (code 256). A last
// group of 2 or 3 symbols gives 1 or 2 bytes; a lone symbol gives nothing. The
// decoder reads 8-bit text or 16-bit units (a unit above 255 is invalid) and
// writes the bytes to a stream; it returns how many it wrote.
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

void WriteBase64(MStream& target, const void* data, int64_t size);
MString EncodeBase64(const void* data, int64_t size);

int64_t DecodeBase64(const char* text, int64_t length, MStream& target);
int64_t DecodeBase64(const MChar* text, int64_t length, MStream& target);
// Either form, as the string holds its text.
int64_t DecodeBase64(const MString& text, MStream& target);

}  // namespace kx
