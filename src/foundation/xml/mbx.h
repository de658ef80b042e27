// The binary MBX form of the tree in one include: writer, reader, and the loads
// and saves of whole files in any form (the tree's ReadMBX, ReadMBXAuto,
// LoadAny, SaveMBX, LoadFile and SaveFile are declared in xml_item.h).
#pragma once

#include "foundation/xml/mbx_files.h"
#include "foundation/xml/mbx_reader.h"
#include "foundation/xml/mbx_writer.h"
#include "foundation/xml/xml_item.h"
