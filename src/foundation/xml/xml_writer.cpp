#include "foundation/xml/xml_writer.h"

#include "foundation/text/codecs.h"
#include "foundation/core/exception.h"
#include "foundation/text/text_io.h"
#include "foundation/xml/xml_entities.h"
#include "foundation/xml/xml_item.h"
#include "foundation/containers/variant.h"

namespace kx {

namespace {

constexpr char kTabs[] = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
static_assert(sizeof(kTabs) - 1 == MXMLWriter::kMaxIndent);

bool HasContent(const MXMLItem& item) { return item.firstSubItem || !item.value.IsEmpty(); }

// A string value is escaped where it lies; other types through their text.
void AppendEscapedValue(MString& line, const MVariant& value) {
  if (value.GetType() == MVariant::kString)
    AppendEscapedXMLText(line, value.Text());
  else
    AppendEscapedXMLText(line, value.AsString());
}

}  // namespace

MString& MXMLWriter::NewLine() {
  if (line_.Kind() == kShared && line_.References() == 1)
    line_.SetLength(0);
  else
    line_.Clear();
  return line_;
}

void MXMLWriter::EndLine() { writer_.Write(MString("\n")); }

void MXMLWriter::WriteIndent(int32_t depth) {
  if (compact_ || depth <= 0) return;
  writer_.Write(MString(kTabs, depth > kMaxIndent ? kMaxIndent : depth, false));
}

void MXMLWriter::WriteDocument(const MXMLItem& root) {
  writer_.Write(MString("<?xml version=\"1.0\" encoding=\"utf-8\"?>"));
  EndLine();
  WriteTree(root);
}

// Depth first over the parent links: an item is opened on the way down and
// closed when the walk leaves it, so no depth of tree costs stack.
void MXMLWriter::WriteTree(const MXMLItem& root) {
  const MXMLItem* item = &root;
  int32_t depth = 0;
  for (;;) {
    WriteOpening(*item, depth);
    if (item->firstSubItem) {
      item = item->firstSubItem;
      ++depth;
      continue;
    }
    if (HasContent(*item)) WriteClosing(*item, depth);
    for (;;) {
      if (item == &root) return;
      if (item->next) {
        item = item->next;
        break;
      }
      item = item->parent;
      --depth;
      WriteClosing(*item, depth);
    }
  }
}

void MXMLWriter::WriteOpening(const MXMLItem& item, int32_t depth) {
  if (compact_ && item.name.IsEmpty()) throw MException("XML entity cannot have empty name.");
  WriteIndent(depth);
  MString& line = NewLine();
  line.Append(u'<');
  line.Append(item.name);
  for (const MXMLAttribute* attribute = item.firstAttribute; attribute; attribute = attribute->next) {
    line.Append(u' ');
    line.Append(attribute->name.text);
    line.Append("=\"", 2);
    AppendEscapedValue(line, attribute->value);
    line.Append(u'"');
  }
  if (!HasContent(item)) {
    line.Append("/>", 2);
    writer_.Write(line);
    if (!compact_ || depth <= 1) EndLine();
    return;
  }
  line.Append(u'>');
  writer_.Write(line);
  if (!compact_) EndLine();
  if (!item.value.IsEmpty()) WriteValue(EscapeXMLText(item.value.AsString()), depth + 1);
}

void MXMLWriter::WriteClosing(const MXMLItem& item, int32_t depth) {
  WriteIndent(depth);
  MString& line = NewLine();
  line.Append("</", 2);
  line.Append(item.name);
  line.Append(u'>');
  writer_.Write(line);
  if (!compact_ || depth <= 1) EndLine();
}

// Each line takes at least kLineUnits units and is cut at the first blank after
// them, which the reader turns back into the one blank it was.
void MXMLWriter::WriteValue(const MString& text, int32_t depth) {
  if (compact_) {
    writer_.Write(text);
    return;
  }
  int32_t length = text.Length();
  int32_t start = 0;
  for (;;) {
    int32_t cut = start + kLineUnits < length ? text.FindChar(u' ', start + kLineUnits) : -1;
    WriteIndent(depth);
    if (cut < 0) {
      writer_.Write(start == 0 ? text : text.Mid(start));
      EndLine();
      return;
    }
    writer_.Write(text.Mid(start, cut - start));
    EndLine();
    start = cut + 1;
  }
}

void WriteXMLDocument(const MXMLItem& root, MStream& stream, bool compact) {
  MTextWriter writer(stream, GetCodec("utf-8"));
  MXMLWriter(writer, compact).WriteDocument(root);
  writer.Flush();
}

}  // namespace kx
