// The reader works on one decoded line at a time and treats the line end as one
// more blank, so no token but quoted values, comments and sections ever spans
// lines, and those few are the only places that gather across lines.
#include "foundation/xml/xml_parser.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/streams/stream.h"
#include "foundation/xml/xml_entities.h"

namespace kx {

namespace {

constexpr uint8_t kNameUnit = 0;
constexpr uint8_t kBlankUnit = 1;
constexpr uint8_t kSpecialUnit = 2;

struct MClassTable {
  uint8_t classes[256];
  constexpr MClassTable() : classes() {
    for (int i = 0; i < 256; ++i) classes[i] = i <= 32 ? kBlankUnit : kNameUnit;
    for (char c : {'<', '>', '"', '/', '!', '='}) classes[static_cast<unsigned char>(c)] = kSpecialUnit;
  }
};
constexpr MClassTable kClassTable;

// Units above 255 are name units, '?' too.
inline int ClassOf(int unit) { return unit < 256 ? kClassTable.classes[unit] : kNameUnit; }

}  // namespace

MXMLParser::MXMLParser(MStream& stream)
    : codec_(&GetCodec("utf-8")), reader_(stream, *codec_, kReaderBufferSize) {}

void MXMLParser::Fail(const MString& message) {
  throw MException(MFormat("Invalid file contents. {0}").Add(message), kErrorCode);
}

int MXMLParser::LoadLine() {
  if (ended_) return kEnd;
  if (!reader_.ReadLine(line_)) {
    ended_ = true;
    units_ = nullptr;
    length_ = -1;
    position_ = 0;
    return kEnd;
  }
  units_ = line_.c_str();
  length_ = line_.Length();
  position_ = 0;
  return Peek();
}

void MXMLParser::SkipBlanksAcrossLines() {
  for (;;) {
    while (position_ < length_ && ClassOf(units_[position_]) == kBlankUnit) ++position_;
    int unit = Peek();
    if (unit == kEnd || ClassOf(unit) != kBlankUnit) return;
    Advance();
  }
}

MString MXMLParser::ReadToken() {
  MString token;
  ReadToken(token);
  return token;
}

void MXMLParser::ReadToken(MString& token) {
  SkipBlanks();
  int unit = Peek();
  if (unit == kEnd) {
    token.Assign(nullptr, 0);
    return;
  }
  if (ClassOf(unit) == kSpecialUnit) {
    Advance();
    MChar single = static_cast<MChar>(unit);
    token.Assign(&single, 1);
    return;
  }
  // The line end is a blank, so a run of name units never leaves the line.
  int32_t start = position_;
  while (position_ < length_ && ClassOf(units_[position_]) == kNameUnit) ++position_;
  token.Assign(units_ + start, position_ - start);
}

int MXMLParser::NextSpecial() {
  SkipBlanks();
  int unit = Peek();
  if (unit == kEnd || ClassOf(unit) != kSpecialUnit) return 0;
  Advance();
  return unit;
}

MString MXMLParser::CurrentUnit() {
  int unit = Peek();
  if (unit == kEnd) return MString();
  MChar single = static_cast<MChar>(unit);
  return MString(&single, 1);
}

MString MXMLParser::FoundUnit(int special) {
  if (special == 0) return CurrentUnit();
  MChar unit = static_cast<MChar>(special);
  return MString(&unit, 1);
}

bool MXMLParser::ReadQuoted(MChar delimiter, MString& value) {
  // Usually the value closes on its own line: take it in one piece.
  bool ampersand = false;
  for (int32_t i = position_; i < length_; ++i) {
    MChar unit = units_[i];
    if (unit == delimiter) {
      value.Assign(units_ + position_, i - position_);
      position_ = i + 1;
      return ampersand;
    }
    ampersand |= unit == u'&';
  }
  scratch_.clear();
  for (;;) {
    int unit = Peek();
    if (unit == kEnd) Fail("No ending delimiter found.");
    Advance();
    if (unit == delimiter) break;
    scratch_.push_back(position_ > length_ ? u' ' : static_cast<MChar>(unit));
  }
  value.Assign(scratch_.data(), static_cast<int32_t>(scratch_.size()));
  return true;
}

MString MXMLParser::ReadUntil(const char* delimiter) {
  int32_t size = 0;
  while (delimiter[size]) ++size;
  MChar last = static_cast<MChar>(delimiter[size - 1]);
  scratch_.clear();
  for (;;) {
    int unit = Peek();
    if (unit == kEnd) Fail("No ending delimiter found.");
    Advance();
    scratch_.push_back(position_ > length_ ? u' ' : static_cast<MChar>(unit));
    if (unit != last || static_cast<int32_t>(scratch_.size()) < size) continue;
    size_t tail = scratch_.size() - size;
    int32_t k = 0;
    while (k < size && scratch_[tail + k] == static_cast<MChar>(delimiter[k])) ++k;
    if (k == size) {
      scratch_.resize(tail);
      return MString(scratch_.data(), static_cast<int32_t>(scratch_.size()));
    }
  }
}

void MXMLParser::SkipDeclaration() {
  bool quoted = false;
  for (;;) {
    int unit = Peek();
    if (unit == kEnd) Fail("No ending delimiter found.");
    Advance();
    if (unit == '"')
      quoted = !quoted;
    else if (unit == '>' && !quoted)
      return;
  }
}

bool MXMLParser::ReadText(MString& text) {
  scratch_.clear();
  for (;;) {
    int unit = Peek();
    if (unit == kEnd) {
      text = MString(scratch_.data(), static_cast<int32_t>(scratch_.size()));
      return false;
    }
    if (unit == '<') {
      Advance();
      if (!scratch_.empty()) afterWord_ = scratch_.back() != u' ';
      text = MString(scratch_.data(), static_cast<int32_t>(scratch_.size()));
      return true;
    }
    if (ClassOf(unit) == kBlankUnit) {
      // A run of blanks is one blank, and none before the first word.
      SkipBlanks();
      if (!scratch_.empty() || (keepBlankAfterWord_ && afterWord_)) scratch_.push_back(u' ');
      continue;
    }
    int32_t start = position_;
    while (position_ < length_) {
      MChar next = units_[position_];
      if (next == u'<' || ClassOf(next) == kBlankUnit) break;
      ++position_;
    }
    scratch_.append(reinterpret_cast<const char16_t*>(units_ + start), position_ - start);
  }
}

bool MXMLParser::Parse(MXMLHandler& handler) {
  MString text;
  for (;;) {
    bool more = ReadText(text);
    if (!text.IsEmpty()) {
      DecodeXMLEntities(text);
      if (!text.IsEmpty() && handler.OnText(text)) return true;
    }
    if (!more) return true;
    if (ReadMarkup(handler)) return true;
  }
}

bool MXMLParser::ReadMarkup(MXMLHandler& handler) {
  int special = NextSpecial();
  if (special == '/') {
    MString& name = name_;
    ReadToken(name);
    if (NextSpecial() != '>') Fail(MFormat("Invalid closing element syntax. '{0}'").Add(name));
    return handler.OnElement(name, nullptr, true);
  }
  if (special == '!') return ReadSection(handler);
  // '<' followed by another special: there is no name to read.
  if (special != 0) Fail(MFormat("No element name found. '{0}'").Add(FoundUnit(special)));
  return ReadElement(handler);
}

bool MXMLParser::ReadSection(MXMLHandler& handler) {
  SkipBlanks();
  int unit = Peek();
  if (unit == '[') {
    Advance();
    MString sectionName = ReadUntil("[");
    MString content = ReadUntil("]]>");
    sectionName.Trim();
    if (!sectionName.EqualsNoCase("CDATA")) return false;
    content.Trim();
    return !content.IsEmpty() && handler.OnText(content);
  }
  if (unit == '-') {
    Advance();
    ReadUntil("-->");
    return false;
  }
  SkipDeclaration();
  return false;
}

bool MXMLParser::ReadElement(MXMLHandler& handler) {
  MString& name = name_;
  ReadToken(name);
  if (name.IsEmpty()) Fail(MFormat("No element name found. '{0}'").Add(CurrentUnit()));
  attributes_.Reset();
  int terminator = 0;
  for (;;) {
    terminator = NextSpecial();
    if (terminator != 0) break;
    MXMLParsedAttribute& attribute = attributes_.Next();
    MString& attributeName = attribute.name;
    ReadToken(attributeName);
    if (attributeName.Length() == 1 && attributeName[0] == u'?') {
      attributes_.DropLast();
      int found = NextSpecial();
      if (found != '>') Fail(MFormat("Invalid special element sequence. '{0}'").Add(FoundUnit(found)));
      terminator = '?';
      break;
    }
    int found = NextSpecial();
    if (found != '=')
      Fail(MFormat("Invalid character found where attribute was expected. '{0}'").Add(FoundUnit(found)));
    SkipBlanks();
    MString& attributeValue = attribute.value;
    bool entities = true;
    if (Peek() == '"') {
      Advance();
      entities = ReadQuoted(u'"', attributeValue);
    } else {
      ReadToken(attributeValue);
    }
    if (entities) DecodeXMLEntities(attributeValue);
  }
  bool empty = false;
  if (terminator == '/') {
    int found = NextSpecial();
    if (found != '>') Fail(MFormat("Invalid element finishing sequence. '{0}'").Add(FoundUnit(found)));
    empty = true;
  } else if (terminator != '>' && terminator != '?') {
    Fail(MFormat("Special character found where attribute was expected. '{0}'").Add(FoundUnit(terminator)));
  }
  if (name[0] == u'?') {
    // A processing instruction: only its encoding matters, from the next line on.
    for (const MXMLParsedAttribute& attribute : attributes_) {
      if (attribute.name.EqualsNoCase("encoding")) {
        codec_ = &GetCodec(attribute.value);
        reader_.SetCodec(*codec_);
      }
    }
    return false;
  }
  if (handler.OnElement(name, &attributes_, false)) return true;
  return empty && handler.OnElement(name, nullptr, true);
}

}  // namespace kx
