// The whole stream family in one include: the MStream interface, its members and
// the helpers built on it.
#pragma once

#include "foundation/base64.h"
#include "foundation/buffering_stream.h"
#include "foundation/bzip2_stream.h"
#include "foundation/compressed_stream.h"
#include "foundation/console_stream.h"
#include "foundation/file_stream.h"
#include "foundation/hash_stream.h"
#include "foundation/hex_stream.h"
#include "foundation/memory_stream.h"
#include "foundation/size_stream.h"
#include "foundation/stream.h"
#include "foundation/stream_helpers.h"
#include "foundation/zlib_stream.h"
