// The string layer in one include: MString and MShortString, the containers,
// MVariant, number text, the {0} templates, character folding, the searcher,
// MDateTime, MBigInteger, and the text codecs with their buffered reader and writer.
#pragma once

#include "foundation/big_integer.h"
#include "foundation/char_folding.h"
#include "foundation/codecs.h"
#include "foundation/containers.h"
#include "foundation/date_time.h"
#include "foundation/format.h"
#include "foundation/number_text.h"
#include "foundation/text_io.h"
#include "foundation/text_searcher.h"
#include "foundation/text_string.h"
#include "foundation/variant.h"
