// The file layer: path text, MFile operations, directory listings, mapped files
// and the registry helper.
#pragma once

#include "foundation/file_list.h"
#include "foundation/file_ops.h"
#include "foundation/file_time.h"
#include "foundation/mapped_file.h"
#include "foundation/path_text.h"
#include "foundation/registry_key.h"
