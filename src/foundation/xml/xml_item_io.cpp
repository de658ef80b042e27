// The text form of the tree: LoadXML and SaveXML.
#include <new>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "foundation/xml/xml_builder.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_parser.h"
#include "foundation/xml/xml_writer.h"
#include "foundation/compression/zlib_stream.h"

namespace kx {

void MXMLItem::LoadXML(MStream& stream) {
  Clear();
  name.Clear();
  bool parsed = false;
  try {
    MXMLItemBuilder builder(*this);
    MXMLParser parser(stream);
    parsed = parser.Parse(builder);
  } catch (const std::bad_alloc&) {
    // Data too large for the memory are data that could not be parsed.
    parsed = false;
  }
  if (!parsed) throw MException("Error parsing a XML file.");
  if (name.IsEmpty()) throw MException("The XML does not contain any elements.");
}

void MXMLItem::SaveXML(MStream& stream, bool compress, bool compact) const {
  if (!compress) {
    WriteXMLDocument(*this, stream, compact);
    return;
  }
  MZLIBStream zip;
  zip.Init(&stream, true, 100);
  WriteXMLDocument(*this, zip, true);
  zip.Terminate();
}

}  // namespace kx
