// The tree of named items and its text XML form, in one include.
#pragma once

#include "foundation/xml_builder.h"
#include "foundation/xml_entities.h"
#include "foundation/xml_item.h"
#include "foundation/xml_iterator.h"
#include "foundation/xml_name.h"
#include "foundation/xml_parser.h"
#include "foundation/xml_pool.h"
#include "foundation/xml_writer.h"
